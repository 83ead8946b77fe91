#include "module/base/mac.h"

#include <cstdio>

namespace qo1905 {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// What a hexadecimal digit stands for, without a branch on which it is: digits and letters come as they like.
unsigned hex_value(char c) {
    return (static_cast<unsigned char>(c) % 16U + static_cast<unsigned char>(c) / 64U * 9U) % 16U;
}

// True when the value is that of this character, which then is a digit. The second half tells digits from the control
// characters that share their low bits.
bool is_hex_value(unsigned value, char c) { return kHexDigits[value] == (c | 0x20) && (c & 0x60) != 0; }

}  // namespace

// Nearly all there is, and sscanf is slow.
bool parse_plain_mac(const char *text, Mac &mac, char after) {
    Mac parsed;
    for (int i = 0; i < 6; ++i) {
        const unsigned high = hex_value(text[0]);
        if (!is_hex_value(high, text[0])) {
            return false;
        }
        const unsigned low = hex_value(text[1]);
        if (!is_hex_value(low, text[1]) || text[2] != (i < 5 ? ':' : after)) {
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
        if (i > 0) {
            *text++ = ':';
        }
        *text++ = kHexDigits[mac[i] >> 4];
        *text++ = kHexDigits[mac[i] & 15];
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
