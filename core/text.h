// Bounded text: fixed fields of records and buffers of commands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace qo1905 {

// Copies into a record's field and fills the rest with zero bytes. A text as long as the field, or longer, fills it
// WITHOUT a zero byte at the end; readers use field_text. A null text empties the field.
template <std::size_t N>
void fill_field(char (&field)[N], const char *text) {
    const std::size_t length = text != nullptr ? strnlen(text, N) : 0;
    if (length != 0) {
        std::memcpy(field, text, length);
    }
    std::memset(field + length, 0, N - length);
}

// A record's field as text, never beyond its end.
inline std::string_view field_text(const char *field, std::size_t size) { return {field, strnlen(field, size)}; }
template <std::size_t N>
std::string_view field_text(const char (&field)[N]) {
    return field_text(field, N);
}

// What the C library's atoi gives, also beyond the range where that is undefined.
inline int text_number(const char *text) { return static_cast<int>(std::strtol(text, nullptr, 10)); }

// Precision and pointer for a "%.*s" that stays inside a field.
#define QO1905_FIELD_ARGS(field) static_cast<int>(strnlen((field), sizeof(field))), (field)

// A zero-terminated text in a fixed buffer. What does not fit is left out, and `truncated` remembers that; appends are
// whole or cut, as the caller chooses.
template <std::size_t N>
class BoundedText {
public:
    // Appends as much as fits.
    void append(std::string_view text) {
        std::size_t room = N - 1 - length_;
        if (text.size() > room) {
            truncated_ = true;
        } else {
            room = text.size();
        }
        if (room != 0) {
            std::memcpy(buffer_ + length_, text.data(), room);
        }
        length_ += room;
        buffer_[length_] = '\0';
    }

    void append_number(std::uint32_t value) {
        char digits[10];
        std::size_t first = sizeof(digits);
        do {
            digits[--first] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        append({digits + first, sizeof(digits) - first});
    }

    void clear() {
        length_ = 0;
        truncated_ = false;
        buffer_[0] = '\0';
    }

    // Back to an earlier length, to take a piece back that did not fit whole.
    void cut(std::size_t length) {
        length_ = length;
        truncated_ = false;
        buffer_[length_] = '\0';
    }

    bool truncated() const { return truncated_; }
    std::size_t length() const { return length_; }
    const char *c_str() const { return buffer_; }
    std::string_view view() const { return {buffer_, length_}; }
    static constexpr std::size_t capacity() { return N - 1; }

private:
    char buffer_[N] = {};
    std::size_t length_ = 0;
    bool truncated_ = false;
};

}  // namespace qo1905
