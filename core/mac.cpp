#include "core/mac.h"

#include <cstdio>

namespace qo1905 {
namespace {

int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

}  // namespace

// Nearly all there is, and sscanf is slow.
bool parse_plain_mac(const char *text, Mac &mac) {
    Mac parsed;
    for (int i = 0; i < 6; ++i) {
        const int high = hex_digit(text[0]);
        const int low = high < 0 ? -1 : hex_digit(text[1]);
        if (low < 0 || text[2] != (i < 5 ? ':' : '\0')) {
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
    (void)std::sscanf(text, QO1905_MAC_SHORT_FORMAT, &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]);
}

void print_mac(const Mac &mac, char *text) {
    constexpr char kHexDigits[] = "0123456789abcdef";
    for (int i = 0; i < 6; ++i) {
        if (i > 0) {
            *text++ = ':';
        }
        *text++ = kHexDigits[mac[i] >> 4];
        *text++ = kHexDigits[mac[i] & 15];
    }
}

}  // namespace qo1905
