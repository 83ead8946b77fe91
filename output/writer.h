// The layout of the JSON files, in one place: tabs, commas, line ends and quotes. A member writes the comma and the
// line end that separate it from the one before, so an object's last line stays open until something follows; that
// keeps the document valid whatever lists are empty. The document grows in memory and reaches the disk in one write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/mac.h"
#include "core/packed_rows.h"
#include "core/text.h"

namespace qo1905 {

// A growing text, up to 64 MiB. Beyond that, or without memory, it remembers so and takes nothing more.
class MemoryText {
public:
    MemoryText() = default;
    ~MemoryText();
    MemoryText(const MemoryText &) = delete;
    MemoryText &operator=(const MemoryText &) = delete;

    void put(std::string_view text);

    // Room for so many bytes at the end, null when there is none. What is printed there counts once `end_at` is told
    // where it ends.
    char *room(std::size_t bytes);
    void end_at(const char *end) { size_ = static_cast<std::size_t>(end - data_); }

    bool failed() const { return failed_; }
    std::string_view view() const { return {data_, size_}; }

private:
    bool grow(std::size_t bytes);

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
    constexpr Key(std::string_view key_name, unsigned key_number = 0) : name(key_name), number(key_number) {}
    template <std::size_t N>
    constexpr Key(const char (&key_name)[N], unsigned key_number = 0) : Key({key_name, N - 1}, key_number) {}
    std::string_view name;
    unsigned number;
};

class JsonWriter {
public:
    explicit JsonWriter(MemoryText &out) : out_(out) {}

    // The document's own object. `end` leaves a line end behind it.
    void begin();
    void end();

    void open(const Key &key);
    void close();

    // The members of a record that the rows name, one after the other.
    void members(PackedRows rows, const void *record);

    void number(const Key &key, std::int64_t value);
    void mac(const Key &key, const Mac &value);
    void name(const Key &key, std::string_view value);  // one of our own texts, in quotes
    void text(const Key &key, std::string_view value);  // somebody else's, in quotes
    void word(const Key &key, std::string_view value) { raw(key, ""sv, value, ""sv); }  // without quotes
    void list(const Key &key, std::string_view items) { raw(key, "[ "sv, items, " ]"sv); }

private:
    char *begin_member(const Key &key, std::size_t value_size);
    void raw(const Key &key, std::string_view before, std::string_view value, std::string_view after);
    void member(const Row &row, const char *at);
    void fixed(std::string_view key_and_value);

    MemoryText &out_;
    unsigned depth_ = 0;
    bool first_ = true;  // the open object has no member yet
};

// The items of a "[ ... ]" that fit into a buffer of a fixed size; those that do not are left out whole. The buffer
// keeps its text until the next list begins.
class ItemBuffer {
public:
    explicit ItemBuffer(TextBuffer &text) : text_(text) {}

    void begin() {
        items_ = 0;
        full_ = false;
    }

    // Item number one overwrites the text of the list before.
    void add(std::string_view item);

    std::string_view view() const { return text_.view(); }

private:
    TextBuffer &text_;
    unsigned items_ = 0;
    bool full_ = false;
};

template <std::size_t N>
class ItemList : public ItemBuffer {
public:
    ItemList() : ItemBuffer(storage_) {}

private:
    BoundedText<N> storage_;
};

}  // namespace qo1905
