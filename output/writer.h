// The layout of the JSON files, in one place: tabs, commas, line ends and quotes. A member writes the comma and the
// line end that separate it from the one before, so an object's last line stays open until something follows; that
// keeps the document valid whatever lists are empty. The document grows in memory and reaches the disk in one write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "core/mac.h"
#include "core/text.h"

namespace qo1905 {

// A growing text, up to 64 MiB. Beyond that, or without memory, it remembers so and takes nothing more.
class MemoryText {
public:
    MemoryText() = default;
    ~MemoryText();
    MemoryText(const MemoryText &) = delete;
    MemoryText &operator=(const MemoryText &) = delete;

    void put(std::string_view text) { put({text}); }
    void put(std::initializer_list<std::string_view> pieces);  // one behind the other
    void put_escaped(std::string_view text);

    bool failed() const { return failed_; }
    std::string_view view() const { return {data_, size_}; }

private:
    char *reserve(std::size_t more);

    char *data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    bool failed_ = false;
};

// Writes a finished text over the file, opened with mode "w", in one write. A file that cannot be opened is skipped
// silently; a text that is not whole is not written, so the previous file stays, and a line says so.
void write_text_file(const char *path, const MemoryText &text);

// A quoted member name, numbered where `number` is not 0: {"Interface.", 3} is "Interface.3".
struct Key {
    constexpr Key(const char *key_name) : name(key_name) {}
    constexpr Key(const char *key_name, unsigned key_number) : name(key_name), number(key_number) {}
    std::string_view name;
    unsigned number = 0;
};

// Of any number that a record holds.
class Digits {
public:
    explicit Digits(std::int64_t value);
    std::string_view view() const { return {text_ + first_, sizeof(text_) - first_}; }

private:
    char text_[20];
    std::size_t first_ = sizeof(text_);
};

// A MAC as all files have it.
class MacText {
public:
    explicit MacText(const Mac &mac) { print_mac(mac, text_); }
    std::string_view view() const { return {text_, sizeof(text_)}; }

private:
    char text_[kMacTextLength];
};

class JsonWriter {
public:
    explicit JsonWriter(MemoryText &out) : out_(out) {}

    // The document's own object. `end` leaves a line end behind it.
    void begin();
    void end();

    void open(Key key);
    void close();

    void number(Key key, std::int64_t value);
    void boolean(Key key, bool value) { word(key, value ? "true" : "false"); }
    void mac(Key key, const Mac &value);
    void name(Key key, std::string_view value);  // one of our own texts, in quotes
    void raw(Key key, std::string_view prefix, std::string_view value, std::string_view suffix);
    void word(Key key, std::string_view value) { raw(key, "", value, ""); }  // without quotes
    void list(Key key, std::string_view items) { raw(key, "[ ", items, " ]"); }

    // A text that somebody else wrote, in quotes.
    template <std::size_t N>
    void field(Key key, const char (&value)[N]) {
        text(key, field_text(value));
    }
    void text(Key key, std::string_view value);

private:
    std::string_view indent() const;

    MemoryText &out_;
    unsigned depth_ = 0;
    bool first_ = true;  // the open object has no member yet
};

// The items of a "[ ... ]" that fit into a buffer of a fixed size; those that do not are left out whole. The buffer
// keeps its text until the next list begins.
template <std::size_t N>
class ItemList {
public:
    void begin() {
        items_ = 0;
        full_ = false;
    }

    // Item number one overwrites the text of the list before.
    void add(std::string_view item) {
        if (items_++ == 0) {
            text_.clear();
        }
        if (full_) {
            return;
        }
        const std::size_t length = text_.length();
        text_.append(length == 0 ? "\"" : ", \"");
        text_.append(item);
        text_.append("\"");
        if (text_.truncated()) {
            text_.cut(length);
            full_ = true;
        }
    }

    std::string_view view() const { return text_.view(); }

private:
    BoundedText<N> text_;
    unsigned items_ = 0;
    bool full_ = false;
};

}  // namespace qo1905
