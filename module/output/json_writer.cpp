#include "module/output/json_writer.h"

#include <cstring>

#include "module/base/json_text.h"

namespace qo1905 {
namespace {

constexpr char kTabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
constexpr std::size_t kMaxDepth = sizeof(kTabs) - 1;
// What encloses a value: up to two characters on each side.
constexpr char kEnclosures[][2][3] = {{"", ""}, {"\"", "\""}, {"[ ", " ]"}};
constexpr std::size_t kEnclosureSize = 2;
// All of a member but the key's name and the value; also what opens or closes an object.
constexpr std::size_t kAroundKey = sizeof(",\n") + sizeof(kTabs) + kMaxDigits + sizeof("\"\": ") + 2 * kEnclosureSize;

// Copies them all, which is quicker than counting, and steps over those that are wanted.
char *print_indent(char *at, std::size_t depth) {
    std::memcpy(at, kTabs, sizeof(kTabs));
    return at + (depth < kMaxDepth ? depth : kMaxDepth);
}

// Copies both characters and steps over those that are wanted.
char *print_enclosure(char *at, const char (&text)[3]) {
    std::memcpy(at, text, kEnclosureSize);
    return at + (text[0] != '\0' ? 1 : 0) + (text[1] != '\0' ? 1 : 0);
}

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
        at = print_indent(at, depth_);
        *at++ = '}';
        out_.end_at(at);
    }
    first_ = false;
}

// Prints all up to the key's last character; null without room for the whole member with `more` bytes of value.
char *JsonWriter::begin_key(Text key, std::size_t more) {
    char *at = out_.room(kAroundKey + key.size() + more);
    if (at == nullptr) {
        return nullptr;
    }
    if (!first_) {
        *at++ = ',';
        *at++ = '\n';
    }
    first_ = false;
    at = print_indent(at, depth_);
    *at++ = '"';
    return print_text(at, key);
}

// Prints all up to the value.
char *JsonWriter::begin_member(Text key, std::size_t value_size) {
    char *at = begin_key(key, value_size);
    return at != nullptr ? print_text(at, "\": "sv) : nullptr;
}

void JsonWriter::enclosed(Text key, Text value, Enclosure enclosure) {
    if (char *at = begin_member(key, value.size())) {
        const auto &[before, after] = kEnclosures[static_cast<std::size_t>(enclosure)];
        at = print_enclosure(at, before);
        at = print_text(at, value);
        out_.end_at(print_enclosure(at, after));
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

void JsonWriter::mac(Text key, const Mac &value) {
    char text[kMacTextLength];
    print_mac(value, text);
    name(key, {text, sizeof(text)});
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
