#include "output/writer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/json_text.h"
#include "core/owned.h"

namespace qo1905 {
namespace {

constexpr std::size_t kFirstCapacity = 16384;
// Twice what a thousand devices with 64,000 stations take. A hostile dump makes a model that grows with its square.
constexpr std::size_t kMaxSize = std::size_t{64} * 1024 * 1024;

}  // namespace

MemoryText::~MemoryText() { std::free(data_); }

// Room for that many bytes at the end, which then count as written; null without memory.
char *MemoryText::reserve(std::size_t more) {
    if (failed_) {
        return nullptr;
    }
    if (size_ + more > kMaxSize) {
        failed_ = true;
        return nullptr;
    }
    if (capacity_ - size_ < more) {
        std::size_t wanted = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
        while (wanted - size_ < more) {
            wanted *= 2;
        }
        auto *grown = static_cast<char *>(std::realloc(data_, wanted));
        if (grown == nullptr) {
            failed_ = true;
            return nullptr;
        }
        data_ = grown;
        capacity_ = wanted;
    }
    char *room = data_ + size_;
    size_ += more;
    return room;
}

void MemoryText::put(std::initializer_list<std::string_view> pieces) {
    std::size_t size = 0;
    for (const std::string_view piece : pieces) {
        size += piece.size();
    }
    char *room = reserve(size);
    if (room == nullptr) {
        return;
    }
    for (const std::string_view piece : pieces) {
        if (!piece.empty()) {
            std::memcpy(room, piece.data(), piece.size());
            room += piece.size();
        }
    }
}

void MemoryText::put_escaped(std::string_view text) {
    escape_json(text, [this](std::string_view piece) { put(piece); });
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

Digits::Digits(std::int64_t value) {
    // All numbers of the files fit in 33 bits; a 32-bit division does for those beyond the sign.
    auto magnitude = static_cast<std::uint32_t>(value < 0 ? -value : value);
    do {
        text_[--first_] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) {
        text_[--first_] = '-';
    }
}

std::string_view JsonWriter::indent() const {
    static constexpr char kTabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t";
    return {kTabs, depth_ < sizeof(kTabs) ? depth_ : sizeof(kTabs) - 1};
}

void JsonWriter::begin() {
    out_.put("{\n");
    depth_ = 1;
    first_ = true;
}

void JsonWriter::end() {
    close();
    out_.put("\n");
}

void JsonWriter::open(Key key) {
    raw(key, "{\n", "", "");
    ++depth_;
    first_ = true;
}

void JsonWriter::close() {
    --depth_;
    out_.put({"\n", indent(), "}"});
    first_ = false;
}

void JsonWriter::number(Key key, std::int64_t value) { raw(key, "", Digits(value).view(), ""); }

void JsonWriter::mac(Key key, const Mac &value) { raw(key, "\"", MacText(value).view(), "\""); }

void JsonWriter::name(Key key, std::string_view value) { raw(key, "\"", value, "\""); }

void JsonWriter::raw(Key key, std::string_view prefix, std::string_view value, std::string_view suffix) {
    const Digits number(key.number);
    out_.put({first_ ? "" : ",\n", indent(), "\"", key.name, key.number != 0 ? number.view() : "", "\": ", prefix,
              value, suffix});
    first_ = false;
}

void JsonWriter::text(Key key, std::string_view value) {
    if (is_plain_json_text(value)) {
        name(key, value);
        return;
    }
    raw(key, "\"", "", "");
    out_.put_escaped(value);
    out_.put("\"");
}

}  // namespace qo1905
