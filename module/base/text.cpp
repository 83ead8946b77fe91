#include "module/base/text.h"

#include <algorithm>

namespace qo1905 {

void fill_field(char *field, std::size_t size, const char *text) {
    // strncpy is what such fields were made for: it stops at the end and fills with zero bytes.
    std::strncpy(field, text != nullptr ? text : "", size);
}

bool contains(Text text, Text part) { return memmem(text.data(), text.size(), part.data(), part.size()) != nullptr; }

char *print_number(char *at, std::uint32_t value) {
    char *end = at + 1;
    for (std::uint32_t rest = value; rest >= 10; rest /= 10) {
        ++end;
    }
    for (at = end; value >= 10; value /= 10) {
        *--at = static_cast<char>('0' + value % 10);
    }
    *--at = static_cast<char>('0' + value);
    return end;
}

char *print_signed(char *at, std::int32_t value) {
    if (value >= 0) {
        return print_number(at, static_cast<std::uint32_t>(value));
    }
    *at++ = '-';
    return print_number(at, 0 - static_cast<std::uint32_t>(value));
}

void TextBuffer::append(Text text) {
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
