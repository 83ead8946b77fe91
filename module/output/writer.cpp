#include "module/output/writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "module/base/json_text.h"
#include "module/output/members.h"

namespace qo1905 {
namespace {

constexpr mode_t kFileMode = 0666;  // less the host's umask
constexpr std::size_t kFirstCapacity = 16384;
// Twice what a thousand devices with 64,000 stations take. A hostile dump makes a model that grows with its square.
constexpr std::size_t kMaxSize = std::size_t{64} * 1024 * 1024;

constexpr char kTabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
constexpr std::size_t kMaxDepth = sizeof(kTabs) - 1;
// What encloses a value: up to two characters on each side.
constexpr char kEnclosures[][2][3] = {{"", ""}, {"\"", "\""}, {"[ ", " ]"}};
constexpr std::size_t kEnclosureSize = 2;
// All of a member but the key's name and the value; also what closes an object.
constexpr std::size_t kAroundKey = sizeof(",\n") + sizeof(kTabs) + sizeof("\"\": ") + kMaxDigits + 2 * kEnclosureSize;

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

template <class T>
T read(const char *at) {
    T value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

std::uint32_t read_unsigned(const char *at, std::size_t size) {
    switch (size) {
        case 1:
            return read<std::uint8_t>(at);
        case 2:
            return read<std::uint16_t>(at);
        default:
            return read<std::uint32_t>(at);
    }
}

// The number that a text begins with, 0 when it begins with none.
int read_text_number(Text text) {
    char copy[UINT8_MAX + 1] = {};
    std::memcpy(copy, text.data(), text.size());
    return text_number(copy);
}

// One write, but where the disk is full: then as much as there is room for.
void write_all(int fd, Text text) {
    while (!text.empty()) {
        const ssize_t count = write(fd, text.data(), text.size());
        if (count <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

MemoryText::~MemoryText() { std::free(data_); }

char *MemoryText::room(std::size_t bytes) {
    if (capacity_ - size_ < bytes && !grow(bytes)) {
        return nullptr;
    }
    return data_ + size_;
}

bool MemoryText::grow(std::size_t bytes) {
    const std::size_t least = size_ + bytes;
    const std::size_t wanted = std::min(std::max({least, kFirstCapacity, capacity_ + capacity_ / 2}), kMaxSize);
    auto *grown = failed_ || least > kMaxSize ? nullptr : static_cast<char *>(std::realloc(data_, wanted));
    if (grown == nullptr) {
        failed_ = true;
        capacity_ = size_;
        return false;
    }
    data_ = grown;
    capacity_ = wanted;
    return true;
}

void MemoryText::put(Text text) {
    if (char *at = room(text.size())) {
        end_at(print_text(at, text));
    }
}

void write_text_file(const char *path, const MemoryText &text) {
    if (text.failed()) {
        std::printf("%s: too large or no memory, %s stays as it was\n", "write_text_file", path);
        return;
    }
    // As mode "w" does it; and a FIFO left at this path cannot hold up the timer thread.
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, kFileMode);
    if (fd < 0) {
        return;
    }
    write_all(fd, text.view());
    close(fd);
}

void JsonWriter::begin() {
    out_.put("{\n"sv);
    depth_ = 1;
    first_ = true;
}

void JsonWriter::end() {
    close();
    out_.put("\n"sv);
}

void JsonWriter::open(Key key) {
    if (char *at = begin_member(key, 0)) {
        out_.end_at(print_text(at, "{\n"sv));
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

// Prints all up to the value; null without room for all of it.
char *JsonWriter::begin_member(Key key, std::size_t value_size) {
    char *at = out_.room(kAroundKey + key.name().size() + value_size);
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
    at = print_text(at, key.name());
    if (key.number() != 0) {
        at = print_number(at, static_cast<std::uint32_t>(key.number()));
    }
    return print_text(at, "\": "sv);
}

void JsonWriter::enclosed(Key key, Text value, Enclosure enclosure) {
    if (char *at = begin_member(key, value.size())) {
        const auto &[before, after] = kEnclosures[static_cast<std::size_t>(enclosure)];
        at = print_enclosure(at, before);
        at = print_text(at, value);
        out_.end_at(print_enclosure(at, after));
    }
}

void JsonWriter::number(Key key, std::uint32_t value) {
    if (char *at = begin_member(key, kMaxDigits)) {
        out_.end_at(print_number(at, value));
    }
}

void JsonWriter::signed_number(Key key, std::int32_t value) {
    if (char *at = begin_member(key, kMaxDigits)) {
        out_.end_at(print_signed(at, value));
    }
}

void JsonWriter::mac(Key key, const Mac &value) {
    char text[kMacTextLength];
    print_mac(value, text);
    name(key, {text, sizeof(text)});
}

void JsonWriter::text(Key key, Text value) {
    if (is_plain_json_text(value)) {
        return name(key, value);
    }
    if (char *at = begin_member(key, 1)) {
        out_.end_at(print_text(at, "\""sv));
    }
    escape_json(value, [this](Text piece) { out_.put(piece); });
    out_.put("\""sv);
}

void JsonWriter::members(PackedRows rows, const void *record) {
    for (const Row row : rows) {
        member(row, static_cast<const char *>(record) + row.number);
    }
}

void JsonWriter::member(const Row &row, const char *at) {
    const Key key(row.text);
    switch (static_cast<Form>(row.kind)) {
        case Form::kNumber:
            return number(key, read_unsigned(at, row.size));
        case Form::kSigned:
            return signed_number(key, read<std::int16_t>(at));
        case Form::kFlag:
            return word(key, read_unsigned(at, row.size) == 1 ? "true"sv : "false"sv);
        case Form::kReplaceable:
            return text(key, field_text(at[row.size] != '\0' ? at + row.size : at, row.size));
        case Form::kText:
            return text(key, field_text(at, row.size));
        case Form::kTextNumber:
            return signed_number(key, read_text_number(field_text(at, row.size)));
        case Form::kMac:
            return mac(key, *reinterpret_cast<const Mac *>(at));
        case Form::kFixed:
            return name(Text{row.text.data(), row.size},
                        Text{row.text.data() + row.size + 1, row.text.size() - row.size - 1});
        case Form::kCode:
            break;
    }
    const auto table = static_cast<CodeTable>(row.kind - static_cast<int>(Form::kCode));
    name(key, code_name(table, read_unsigned(at, row.size)));
}

void ItemBuffer::add(Text item) {
    if (items_++ == 0) {
        text_.clear();
    }
    if (full_) {
        return;
    }
    const std::size_t length = text_.length();
    text_.append(length == 0 ? "\""sv : ", \""sv);
    text_.append(item);
    text_.append('"');
    if (text_.truncated()) {
        text_.cut(length);
        full_ = true;
    }
}

}  // namespace qo1905
