// The layout of the JSON files, in one place: tabs, commas, line ends and quotes. A member writes the comma and the
// line end that separate it from the one before, so an object's last line stays open until something follows; that
// keeps the document valid whatever lists are empty.
#pragma once

#include <cstddef>
#include <cstdint>

#include "module/base/mac.h"
#include "module/base/text.h"
#include "module/output/text_file.h"

namespace qo1905 {

class JsonWriter {
public:
    explicit JsonWriter(MemoryText &out) : out_(out) {}

    // The document's own object. `end` leaves a line end behind it.
    void begin();
    void end();

    // An object inside the open one; open_numbered("Interface.", 3) opens "Interface.3".
    void open(Text key);
    void open_numbered(Text key, std::uint32_t number);
    void close();

    void number(Text key, std::uint32_t value);
    void signed_number(Text key, std::int32_t value);
    void flag(Text key, bool value);
    void mac(Text key, const Mac &value);

    // Somebody else's text, in quotes.
    void text(Text key, Text value);
    template <std::size_t N>
    void text(Text key, const char (&field)[N]) {
        text_field(key, field, N);
    }

    // One of our own: in quotes, bare, or in brackets.
    void name(Text key, Text value);
    void word(Text key, Text value);
    void list(Text key, Text items);

    // Bytes written so far.
    std::size_t size() const { return out_.size(); }

private:
    void text_field(Text key, const char *field, std::size_t size);
    char *print_indent(char *at, std::size_t skipped) const;
    char *begin_key(Text key, std::size_t more);
    char *begin_member(Text key, std::size_t value_size);

    MemoryText &out_;
    unsigned depth_ = 0;
    bool first_ = true;  // the open object has no member yet
};

}  // namespace qo1905
