// A MAC address (EUI-48) as a value: what everything a reader knows is found by.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace reader {

class Mac {
public:
    // Six bytes in hexadecimal, of either case, with colons between; nothing else is one. All zeros is nobody's.
    static std::optional<Mac> parse(std::string_view text);

    // In lower case.
    std::string text() const;

    // Chosen by the station itself, to be harder to follow: locally administered (IEEE 802c).
    bool is_random() const { return (bytes_ >> 41U & 1U) != 0; }

    bool operator==(const Mac &other) const { return bytes_ == other.bytes_; }
    bool operator!=(const Mac &other) const { return bytes_ != other.bytes_; }
    bool operator<(const Mac &other) const { return bytes_ < other.bytes_; }

    // Of this run of the program: who chooses MACs cannot know which fall together.
    std::size_t hash() const;

private:
    explicit Mac(std::uint64_t bytes) : bytes_(bytes) {}

    std::uint64_t bytes_;  // the first byte is the highest of 48 bits
};

struct MacHash {
    std::size_t operator()(const Mac &mac) const { return mac.hash(); }
};

}  // namespace reader
