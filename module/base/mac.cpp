#include "module/base/mac.h"

#include <array>
#include <cstdio>

namespace qo1905 {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

constexpr std::uint8_t kNoDigit = 0xff;

// What each character stands for as a hexadecimal digit.
constexpr std::array<std::uint8_t, 256> hex_values() {
    std::array<std::uint8_t, 256> values{};
    for (std::uint8_t &value : values) {
        value = kNoDigit;
    }
    for (std::uint8_t digit = 0; digit < 16; ++digit) {
        const auto character = static_cast<std::uint8_t>(kHexDigits[digit]);
        values[character] = digit;
        if (digit >= 10) {
            values[character - 'a' + 'A'] = digit;
        }
    }
    return values;
}
constexpr std::array<std::uint8_t, 256> kHexValues = hex_values();

std::uint8_t hex_value(char c) { return kHexValues[static_cast<std::uint8_t>(c)]; }

}  // namespace

// sscanf takes 25 times the instructions (docs/performance.md).
bool parse_plain_mac(const char *text, Mac &mac, char after) {
    Mac parsed;
    for (int i = 0; i < 6; ++i) {
        const std::uint8_t high = hex_value(text[0]);
        const std::uint8_t low = high != kNoDigit ? hex_value(text[1]) : kNoDigit;
        if (low == kNoDigit || text[2] != (i < 5 ? ':' : after)) {
            return false;
        }
        parsed[i] = static_cast<std::uint8_t>(high * 16 + low);
        text += 3;
    }
    copy_mac(mac, parsed);
    return true;
}

void parse_mac(const char *text, Mac &mac) {
    if (text == nullptr || parse_plain_mac(text, mac)) {
        return;
    }
    // The count does not matter: what did not parse keeps its value.
    (void)std::sscanf(text, QO1905_MAC_FORMAT, &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]);
}

void print_mac(const Mac &mac, char *text) {
    for (int i = 0; i < 6; ++i) {
        text[0] = kHexDigits[mac[i] / 16];
        text[1] = kHexDigits[mac[i] % 16];
        if (i < 5) {
            text[2] = ':';
        }
        text += 3;
    }
}

MacText::MacText(const Mac &mac, MacForm form) {
    char *at = text_;
    for (const std::uint8_t byte : mac) {
        if (byte >= 16 || form == MacForm::kFull) {
            *at++ = kHexDigits[byte / 16];
        }
        *at++ = kHexDigits[byte % 16];
        *at++ = ':';
    }
    at[-1] = '\0';
}

}  // namespace qo1905
