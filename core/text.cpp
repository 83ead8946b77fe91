#include "core/text.h"

#include <algorithm>

namespace qo1905 {

void fill_field(char *field, std::size_t size, const char *text) {
    // strncpy is what such fields were made for: it stops at the end and fills with zero bytes.
    std::strncpy(field, text != nullptr ? text : "", size);
}

bool contains(std::string_view text, std::string_view part) {
    return memmem(text.data(), text.size(), part.data(), part.size()) != nullptr;
}

char *print_number(char *at, std::int64_t value) {
    if (value < 0) {
        *at++ = '-';
    }
    // A 32-bit division does for all that is printed.
    auto magnitude = static_cast<std::uint32_t>(value < 0 ? -value : value);
    char digits[kMaxDigits];
    char *first = digits + sizeof(digits);
    do {
        *--first = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    while (first != digits + sizeof(digits)) {
        *at++ = *first++;
    }
    return at;
}

void TextBuffer::append(std::string_view text) {
    const std::size_t fitting = std::min(text.size(), capacity_ - length_);
    truncated_ = truncated_ || fitting != text.size();
    if (fitting != 0) {
        std::memcpy(buffer_ + length_, text.data(), fitting);
    }
    length_ += fitting;
    buffer_[length_] = '\0';
}

void TextBuffer::append(char c) { append({&c, 1}); }

void TextBuffer::append_number(std::uint32_t value) {
    char digits[kMaxDigits];
    append({digits, static_cast<std::size_t>(print_number(digits, value) - digits)});
}

void TextBuffer::cut(std::size_t length) {
    length_ = length;
    truncated_ = false;
    buffer_[length] = '\0';
}

}  // namespace qo1905
