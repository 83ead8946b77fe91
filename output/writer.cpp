#include "output/writer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/json_text.h"
#include "core/owned.h"
#include "output/members.h"

namespace qo1905 {
namespace {

constexpr std::size_t kFirstCapacity = 16384;
// Twice what a thousand devices with 64,000 stations take. A hostile dump makes a model that grows with its square.
constexpr std::size_t kMaxSize = std::size_t{64} * 1024 * 1024;

constexpr char kTabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
constexpr std::size_t kMaxDepth = sizeof(kTabs) - 1;
// All of a member but the key's name and the value; also what closes an object.
constexpr std::size_t kAroundKey = sizeof(",\n") + sizeof(kTabs) + sizeof("\"\": ") + kMaxDigits;

// Copies them all, which is quicker than counting, and steps over those that are wanted.
char *print_indent(char *at, std::size_t depth) {
    std::memcpy(at, kTabs, sizeof(kTabs));
    return at + (depth < kMaxDepth ? depth : kMaxDepth);
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
int read_text_number(std::string_view text) {
    char copy[UINT8_MAX + 1] = {};
    std::memcpy(copy, text.data(), text.size());
    return text_number(copy);
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

void MemoryText::put(std::string_view text) {
    if (char *at = room(text.size())) {
        end_at(print_text(at, text));
    }
}

void write_text_file(const char *path, const MemoryText &text) {
    if (text.failed()) {
        std::printf("%s: too large or no memory, %s stays as it was\n", "write_text_file", path);
        return;
    }
    const File file(std::fopen(path, "w"));
    if (file == nullptr) {
        return;
    }
    if (text.view().empty()) {
        return;
    }
    // Unbuffered: the whole text goes to the kernel in one call.
    (void)std::setvbuf(file.get(), nullptr, _IONBF, 0);
    (void)std::fwrite(text.view().data(), 1, text.view().size(), file.get());
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

void JsonWriter::open(const Key &key) {
    raw(key, "{\n"sv, ""sv, ""sv);
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
char *JsonWriter::begin_member(const Key &key, std::size_t value_size) {
    char *at = out_.room(kAroundKey + key.name.size() + value_size);
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
    at = print_text(at, key.name);
    if (key.number != 0) {
        at = print_number(at, key.number);
    }
    return print_text(at, "\": "sv);
}

void JsonWriter::raw(const Key &key, std::string_view before, std::string_view value, std::string_view after) {
    if (char *at = begin_member(key, before.size() + value.size() + after.size())) {
        out_.end_at(print_text(print_text(print_text(at, before), value), after));
    }
}

void JsonWriter::name(const Key &key, std::string_view value) {
    if (char *at = begin_member(key, value.size() + 2)) {
        *at++ = '"';
        at = print_text(at, value);
        *at++ = '"';
        out_.end_at(at);
    }
}

void JsonWriter::number(const Key &key, std::int64_t value) {
    if (char *at = begin_member(key, kMaxDigits)) {
        out_.end_at(print_number(at, value));
    }
}

void JsonWriter::mac(const Key &key, const Mac &value) {
    if (char *at = begin_member(key, kMacTextLength + 2)) {
        *at++ = '"';
        print_mac(value, at);
        at += kMacTextLength;
        *at++ = '"';
        out_.end_at(at);
    }
}

void JsonWriter::text(const Key &key, std::string_view value) {
    if (is_plain_json_text(value)) {
        return name(key, value);
    }
    raw(key, "\""sv, ""sv, ""sv);
    escape_json(value, [this](std::string_view piece) { out_.put(piece); });
    out_.put("\""sv);
}

void JsonWriter::fixed(std::string_view key_and_value) {
    const auto *between = static_cast<const char *>(std::memchr(key_and_value.data(), '=', key_and_value.size()));
    const auto key_size = static_cast<std::size_t>(between - key_and_value.data());
    name(std::string_view(key_and_value.data(), key_size), {between + 1, key_and_value.size() - key_size - 1});
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
            return number(key, read<std::int16_t>(at));
        case Form::kFlag:
            return word(key, read_unsigned(at, row.size) == 1 ? "true"sv : "false"sv);
        case Form::kReplaceable:
            return text(key, field_text(at[row.size] != '\0' ? at + row.size : at, row.size));
        case Form::kText:
            return text(key, field_text(at, row.size));
        case Form::kTextNumber:
            return number(key, read_text_number(field_text(at, row.size)));
        case Form::kMac:
            return mac(key, *reinterpret_cast<const Mac *>(at));
        case Form::kFixed:
            return fixed(row.text);
        case Form::kCode:
            break;
    }
    const auto table = static_cast<CodeTable>(row.kind - static_cast<int>(Form::kCode));
    name(key, code_name(table, read_unsigned(at, row.size)));
}

void ItemBuffer::add(std::string_view item) {
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
