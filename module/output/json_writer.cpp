#include "module/output/json_writer.h"

#include <algorithm>
#include <cstring>

#include "module/base/json_text.h"

namespace qo1905 {
namespace {

// What stands between a member and the one before it. Two tabs more than are shown, for a line that begins without its
// separator.
constexpr char kLineStart[] = ",\n\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
constexpr std::size_t kSeparator = 2;
constexpr std::size_t kMaxDepth = sizeof(kLineStart) - 1 - 2 * kSeparator;
// All of a member but the key and the value; also what opens or closes an object.
constexpr std::size_t kAroundKey = sizeof(kLineStart) + kMaxDigits + sizeof(R"("": [  ])");

}  // namespace

void JsonWriter::begin() {
    out_.put("{\n"sv);
    depth_ = 1;
    first_ = true;
}

void JsonWriter::end() {
    close();
    out_.put("\n"sv);
}

void JsonWriter::open(Text key) {
    if (char *at = begin_member(key, 0)) {
        out_.end_at(print_text(at, "{\n"sv));
    }
    ++depth_;
    first_ = true;
}

void JsonWriter::open_numbered(Text key, std::uint32_t number) {
    if (char *at = begin_key(key, 0)) {
        at = print_number(at, number);
        out_.end_at(print_text(at, "\": {\n"sv));
    }
    ++depth_;
    first_ = true;
}

void JsonWriter::close() {
    --depth_;
    if (char *at = out_.room(kAroundKey)) {
        *at++ = '\n';
        at = print_indent(at, kSeparator);
        *at++ = '}';
        out_.end_at(at);
    }
    first_ = false;
}

// The start of a line, without so many of its characters. Copies all there are, which is quicker than counting.
char *JsonWriter::print_indent(char *at, std::size_t skipped) const {
    std::memcpy(at, kLineStart + skipped, kSeparator + kMaxDepth);
    return at + kSeparator - skipped + std::min<std::size_t>(depth_, kMaxDepth);
}

// Prints all up to the key's last character; null without room for the whole member with `more` bytes of value.
char *JsonWriter::begin_key(Text key, std::size_t more) {
    char *at = out_.room(kAroundKey + key.size() + more);
    if (at == nullptr) {
        return nullptr;
    }
    at = print_indent(at, first_ ? kSeparator : 0);
    first_ = false;
    *at++ = '"';
    return print_text(at, key);
}

// Prints all up to the value.
char *JsonWriter::begin_member(Text key, std::size_t value_size) {
    char *at = begin_key(key, value_size);
    return at != nullptr ? print_text(at, "\": "sv) : nullptr;
}

void JsonWriter::name(Text key, Text value) {
    if (char *at = begin_member(key, value.size())) {
        *at++ = '"';
        at = print_text(at, value);
        *at++ = '"';
        out_.end_at(at);
    }
}

void JsonWriter::word(Text key, Text value) {
    if (char *at = begin_member(key, value.size())) {
        out_.end_at(print_text(at, value));
    }
}

void JsonWriter::list(Text key, Text items) {
    if (char *at = begin_member(key, items.size())) {
        at = print_text(at, "[ "sv);
        at = print_text(at, items);
        out_.end_at(print_text(at, " ]"sv));
    }
}

void JsonWriter::mac(Text key, const Mac &value) {
    if (char *at = begin_member(key, kMacTextLength)) {
        *at++ = '"';
        print_mac(value, at);
        at += kMacTextLength;
        *at++ = '"';
        out_.end_at(at);
    }
}

void JsonWriter::number(Text key, std::uint32_t value) {
    if (char *at = begin_member(key, kMaxDigits)) {
        out_.end_at(print_number(at, value));
    }
}

void JsonWriter::signed_number(Text key, std::int32_t value) {
    if (char *at = begin_member(key, kMaxDigits)) {
        out_.end_at(print_signed(at, value));
    }
}

void JsonWriter::flag(Text key, bool value) { word(key, value ? "true"sv : "false"sv); }

void JsonWriter::text_field(Text key, const char *field, std::size_t size) {
    if (*field == '\0') {
        return name(key, ""sv);  // as most are
    }
    text(key, field_text(field, size));
}

void JsonWriter::text(Text key, Text value) {
    if (is_plain_json_text(value)) {
        return name(key, value);
    }
    if (char *at = begin_member(key, 1)) {
        out_.end_at(print_text(at, "\""sv));
    }
    escape_json(value, [this](Text piece) { out_.put(piece); });
    out_.put("\""sv);
}

}  // namespace qo1905
