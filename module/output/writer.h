// The layout of the JSON files, in one place: tabs, commas, line ends and quotes. A member writes the comma and the
// line end that separate it from the one before, so an object's last line stays open until something follows; that
// keeps the document valid whatever lists are empty. The document grows in memory and reaches the disk in one write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "module/base/mac.h"
#include "module/base/text.h"
#include "module/output/packed_rows.h"

namespace qo1905 {

// A growing text, up to 64 MiB. Beyond that, or without memory, it remembers so and takes nothing more.
class MemoryText {
public:
    MemoryText() = default;
    ~MemoryText();
    MemoryText(const MemoryText &) = delete;
    MemoryText &operator=(const MemoryText &) = delete;

    void put(Text text);

    // Room for so many bytes at the end, null when there is none. What is printed there counts once `end_at` is told
    // where it ends.
    char *room(std::size_t bytes);
    void end_at(const char *end) { size_ = static_cast<std::size_t>(end - data_); }

    bool failed() const { return failed_; }
    Text view() const { return {data_, size_}; }

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

// A quoted member name of up to 255 bytes, numbered where `number` is not 0: {"Interface.", 3} is "Interface.3". Two
// words, as Text; the number's 24 bits on 32-bit machines are more than the records that fit into them.
class alignas(8) Key {
public:
    constexpr Key(Text name, std::size_t number = 0)
        : name_(name.data()), number_and_size_(number << kSizeBits | name.size()) {}
    template <std::size_t N>
    constexpr Key(const char (&name)[N], std::size_t number = 0) : Key(literal(name), number) {}

    Text name() const { return {name_, number_and_size_ % (std::size_t{1} << kSizeBits)}; }
    std::size_t number() const { return number_and_size_ >> kSizeBits; }

private:
    static constexpr unsigned kSizeBits = 8;

    const char *name_;
    std::size_t number_and_size_;
};

class JsonWriter {
public:
    explicit JsonWriter(MemoryText &out) : out_(out) {}

    // The document's own object. `end` leaves a line end behind it.
    void begin();
    void end();

    void open(Key key);
    void close();

    // The members of a record that the rows name, one after the other.
    void members(PackedRows rows, const void *record);

    void number(Key key, std::uint32_t value);
    void mac(Key key, const Mac &value);
    void text(Key key, Text value);                                               // somebody else's, in quotes
    void name(Key key, Text value) { enclosed(key, value, Enclosure::kQuotes); }  // one of our own, in quotes
    void word(Key key, Text value) { enclosed(key, value, Enclosure::kNone); }
    void list(Key key, Text items) { enclosed(key, items, Enclosure::kBrackets); }

private:
    // What stands before a value and behind it.
    enum class Enclosure : std::uint8_t { kNone, kQuotes, kBrackets };

    char *begin_member(Key key, std::size_t value_size);
    void enclosed(Key key, Text value, Enclosure enclosure);
    void signed_number(Key key, std::int32_t value);
    void member(const Row &row, const char *at);

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
    void add(Text item);

    Text view() const { return text_.view(); }

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
