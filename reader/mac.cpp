#include "reader/mac.h"

#include <random>

namespace reader {
namespace {

constexpr std::size_t kTextSize = 17;
constexpr std::uint64_t kNoDigit = 16;

std::uint64_t digit(char c) {
    const auto between = [c](char first, char last) { return c >= first && c <= last; };
    return between('0', '9')   ? static_cast<std::uint64_t>(c - '0')
           : between('a', 'f') ? static_cast<std::uint64_t>(c - 'a' + 10)
           : between('A', 'F') ? static_cast<std::uint64_t>(c - 'A' + 10)
                               : kNoDigit;
}

}  // namespace

std::optional<Mac> Mac::parse(std::string_view text) {
    if (text.size() != kTextSize) {
        return std::nullopt;
    }
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < kTextSize; i += 3) {
        const std::uint64_t high = digit(text[i]);
        const std::uint64_t low = digit(text[i + 1]);
        if (high == kNoDigit || low == kNoDigit || (i + 2 < kTextSize && text[i + 2] != ':')) {
            return std::nullopt;
        }
        bytes = bytes << 8U | high << 4U | low;
    }
    return bytes != 0 ? std::optional<Mac>(Mac(bytes)) : std::nullopt;
}

std::string Mac::text() const {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned shift = 48; shift > 0; shift -= 8) {
        const auto byte = static_cast<unsigned>(bytes_ >> (shift - 8)) & 0xffU;
        text += text.empty() ? "" : ":";
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xfU];
    }
    return text;
}

std::size_t Mac::hash() const {
    static const std::uint64_t seed = [] {
        std::random_device random;
        return std::uint64_t{random()} << 32U | random();
    }();
    // The mixing steps of SplitMix64.
    std::uint64_t mixed = bytes_ ^ seed;
    mixed = (mixed ^ mixed >> 30U) * 0xbf58476d1ce4e5b9U;
    mixed = (mixed ^ mixed >> 27U) * 0x94d049bb133111ebU;
    return static_cast<std::size_t>(mixed ^ mixed >> 31U);
}

}  // namespace reader
