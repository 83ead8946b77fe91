// Bounded text: fixed fields of records and buffers of commands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace qo1905 {

using namespace std::string_view_literals;

// A view of somebody else's text, which has to live longer.
using Text = std::string_view;

// Copies into a record's field and fills the rest with zero bytes. A text as long as the field, or longer, fills it
// WITHOUT a zero byte at the end; readers use field_text. A null text empties the field.
void fill_field(char *field, std::size_t size, const char *text);
template <std::size_t N>
void fill_field(char (&field)[N], const char *text) {
    fill_field(field, N, text);
}

bool contains(Text text, Text part);

// These print at a place with enough room and return where they end.
inline char *print_text(char *at, Text text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
}
inline constexpr std::size_t kMaxDigits = 11;
char *print_number(char *at, std::uint32_t value);
char *print_signed(char *at, std::int32_t value);

// A record's field as text, never beyond its end.
inline Text field_text(const char *field, std::size_t size) { return {field, strnlen(field, size)}; }
template <std::size_t N>
Text field_text(const char (&field)[N]) {
    return field_text(field, N);
}

// What the C library's atoi gives; beyond its range, where that is undefined, the same on every CPU: the low 32 bits of
// what a 64-bit one would hold.
inline int text_number(const char *text) { return static_cast<int>(std::strtoll(text, nullptr, 10)); }

template <std::size_t N>
bool field_is(const char (&field)[N], const char *text) {
    return std::strncmp(field, text, N) == 0;
}

// Precision and pointer for a "%.*s" that stays inside a field.
#define QO1905_FIELD_ARGS(field) static_cast<int>(sizeof(field)), (field)

// A zero-terminated text in a fixed buffer, which BoundedText below owns. What does not fit is cut off, and `truncated`
// remembers that.
class TextBuffer {
public:
    // Appends as much as fits.
    void append(Text text);
    void append(char c);
    void append_number(std::uint32_t value);

    void clear() { cut(0); }

    // Back to an earlier length, to take a piece back that did not fit whole.
    void cut(std::size_t length);

    bool truncated() const { return truncated_; }
    std::size_t length() const { return length_; }
    const char *c_str() const { return buffer_; }
    Text view() const { return {buffer_, length_}; }

protected:
    TextBuffer(char *buffer, std::size_t size) : buffer_(buffer), capacity_(size - 1) { *buffer = '\0'; }

private:
    char *buffer_;
    std::size_t capacity_;
    std::size_t length_ = 0;
    bool truncated_ = false;
};

template <std::size_t N>
class BoundedText : public TextBuffer {
public:
    BoundedText() : TextBuffer(storage_, N) {}
    BoundedText(const BoundedText &) = delete;
    BoundedText &operator=(const BoundedText &) = delete;

private:
    char storage_[N];
};

}  // namespace qo1905
