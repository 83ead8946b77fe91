// Tables of short texts, each with two or three small numbers, packed while compiling: no text takes more than its
// length, and none needs a relocation, as a pointer to it would.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "module/base/text.h"

namespace qo1905 {

struct Row {
    Text text;  // up to 255 bytes
    std::uint8_t kind;
    std::uint8_t size;
    std::uint16_t number;
};

// Of a packed row: kind, size, number (low byte first), length of the text. The text follows.
inline constexpr std::size_t kPackedHead = 5;

template <std::size_t N>
constexpr std::size_t packed_size(const Row (&rows)[N]) {
    std::size_t size = 0;
    for (const Row &row : rows) {
        size += kPackedHead + row.text.size();
    }
    return size;
}

template <std::size_t N>
constexpr bool texts_fit(const Row (&rows)[N]) {
    for (const Row &row : rows) {
        if (row.text.size() > UINT8_MAX) {
            return false;
        }
    }
    return true;
}

template <const auto &kRows>
constexpr auto pack() {
    static_assert(texts_fit(kRows));
    std::array<char, packed_size(kRows)> packed{};
    std::size_t at = 0;
    for (const Row &row : kRows) {
        const std::size_t head[kPackedHead] = {row.kind, row.size, row.number % 256U, row.number / 256U,
                                               row.text.size()};
        for (const std::size_t byte : head) {
            packed[at++] = static_cast<char>(byte);
        }
        for (const char c : row.text) {
            packed[at++] = c;
        }
    }
    return packed;
}

template <const auto &kRows>
inline constexpr auto kPacked = pack<kRows>();

// Packed rows, one after the other: a range.
class PackedRows {
public:
    constexpr PackedRows(const char *at, std::size_t size) : begin_{at}, end_{at + size} {}

    class Iterator {
    public:
        constexpr Iterator(const char *at) : at_(at) {}
        Row operator*() const {
            return {
                {at_ + kPackedHead, byte(4)}, byte(0), byte(1), static_cast<std::uint16_t>(byte(2) | byte(3) << 8U)};
        }
        Iterator &operator++() {
            at_ += kPackedHead + byte(4);
            return *this;
        }
        bool operator!=(const Iterator &other) const { return at_ != other.at_; }

    private:
        std::uint8_t byte(std::size_t i) const { return static_cast<std::uint8_t>(at_[i]); }

        const char *at_;
    };

    Iterator begin() const { return begin_; }
    Iterator end() const { return end_; }

private:
    Iterator begin_;
    Iterator end_;
};

// The rows of a constexpr array at namespace scope, of which only the packed form reaches the module.
template <const auto &kRows>
constexpr PackedRows packed_rows() {
    return {kPacked<kRows>.data(), kPacked<kRows>.size()};
}

}  // namespace qo1905
