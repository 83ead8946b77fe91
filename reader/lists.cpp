#include "reader/lists.h"

#include <string_view>
#include <vector>

#include "reader/json.h"

namespace reader {
namespace {

constexpr std::string_view kBlanks = " \t\r";

// The first words of a line, at most so many.
std::vector<std::string_view> words_of(std::string_view line, std::size_t most) {
    std::vector<std::string_view> words;
    while (words.size() < most) {
        const std::size_t begin = line.find_first_not_of(kBlanks);
        if (begin == std::string_view::npos) {
            break;
        }
        line.remove_prefix(begin);
        const std::size_t end = line.find_first_of(kBlanks);
        words.push_back(line.substr(0, end));
        line.remove_prefix(end == std::string_view::npos ? line.size() : end);
    }
    return words;
}

// The whole ones: a last line without an end was being written, and is perhaps cut within a name.
template <class Take>
void each_line(std::string_view text, Take take) {
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
        take(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
}

}  // namespace

// EXPIRY MAC ADDRESS NAME CLIENT-ID; a name that the client did not give is "*".
Leases parse_leases(const std::string &text) {
    Leases leases;
    each_line(text, [&leases](std::string_view line) {
        const auto words = words_of(line, 4);
        const auto mac = words.size() == 4 ? Mac::parse(words[1]) : std::nullopt;
        if (mac) {
            const bool named = words[3] != "*";
            leases.emplace(*mac, Lease{valid_utf8(std::string(words[2])),
                                       named ? std::optional(valid_utf8(std::string(words[3]))) : std::nullopt});
        }
    });
    return leases;
}

// MAC RATE SIGNAL 0 0 INTERFACE ...
void parse_list(const std::string &text, InterfaceNames &names) {
    constexpr std::size_t kInterface = 5;
    each_line(text, [&names](std::string_view line) {
        const auto words = words_of(line, kInterface + 1);
        const auto mac = words.size() > kInterface ? Mac::parse(words[0]) : std::nullopt;
        if (mac) {
            names.emplace(*mac, valid_utf8(std::string(words[kInterface])));
        }
    });
}

}  // namespace reader
