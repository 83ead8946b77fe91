// MAC addresses: six raw bytes in every record, text everywhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// For scanf.
#define QO1905_MAC_FORMAT "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx"

namespace qo1905 {

using Mac = std::uint8_t[6];

// Reads what the C library's "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx" reads: bytes that do not parse stay as they were. A null
// text changes nothing.
void parse_mac(const char *text, Mac &mac);

// Reads the plain form: twelve digits in pairs with colons between, and `after` behind them; false when it is another.
bool parse_plain_mac(const char *text, Mac &mac, char after = '\0');

// What parse_mac reads, from a field that may be full to its end.
template <std::size_t N>
void parse_mac_field(const char (&field)[N], Mac &mac) {
    char text[N + 1];
    std::memcpy(text, field, N);
    text[N] = '\0';
    parse_mac(text, mac);
}

// Six pairs of lower-case digits with colons between, as in all files; no zero byte behind them.
inline constexpr std::size_t kMacTextLength = 17;
void print_mac(const Mac &mac, char *text);

// A terminated text for printf: as above, or without leading zeros, as in most traces and in messages.
enum class MacForm { kFull, kShort };
class MacText {
public:
    MacText(const Mac &mac, MacForm form);
    const char *c_str() const { return text_; }

private:
    char text_[kMacTextLength + 1];
};

inline void copy_mac(Mac &to, const Mac &from) { std::memcpy(to, from, sizeof(Mac)); }

}  // namespace qo1905
