#include "cli/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <utility>

namespace cli {
namespace {

struct Character {
    std::uint32_t code;
    std::size_t size;  // in bytes
};

// Of a text that is UTF-8, as all that comes from a reader is; other bytes, of what was typed, stand for themselves.
Character character_at(const std::string &text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t size = first < 0xc0 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (size == 1 || at + size > text.size()) {
        return {first, 1};
    }
    std::uint32_t code = first & (0xffU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xc0U) != 0x80) {
            return {first, 1};
        }
        code = code << 6U | (next & 0x3fU);
    }
    return {code, size};
}

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// What is not seen and does something: C0 and C1 controls, marks of direction, joiners, line and paragraph separators,
// tags.
constexpr std::array<Range, 10> kHidden = {{{0x00, 0x1f},
                                            {0x7f, 0x9f},
                                            {0xad, 0xad},
                                            {0x061c, 0x061c},
                                            {0x200b, 0x200f},
                                            {0x2028, 0x202e},
                                            {0x2060, 0x206f},
                                            {0xfeff, 0xfeff},
                                            {0xfff9, 0xfffb},
                                            {0xe0000, 0xe007f}}};

bool is_hidden(std::uint32_t code) {
    for (const Range &range : kHidden) {
        if (code >= range.first && code <= range.last) {
            return true;
        }
    }
    return false;
}

std::string spelt_out(std::uint32_t code) {
    constexpr char kDigits[] = "0123456789abcdef";
    const bool is_byte = code < 0x80;
    std::string text = is_byte ? "\\x" : "\\u";
    for (unsigned shift = is_byte ? 4 : code > 0xffff ? 16 : 12;; shift -= 4) {
        text += kDigits[code >> shift & 0xfU];
        if (shift == 0) {
            return text;
        }
    }
}

std::size_t columns_of(std::uint32_t code) {
    const int columns = ::wcwidth(static_cast<wchar_t>(code));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

}  // namespace

std::string visible(const std::string &text) {
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const Character character = character_at(text, i);
        shown += is_hidden(character.code) ? spelt_out(character.code) : text.substr(i, character.size);
        i += character.size;
    }
    return shown;
}

std::string visible_json(const std::string &text) {
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const Character character = character_at(text, i);
        const bool is_layout = text[i] == '\n';
        if (!is_hidden(character.code) || is_layout) {
            shown.append(text, i, character.size);
        } else if (character.code > 0xffff) {
            const std::uint32_t rest = character.code - 0x10000;
            shown += spelt_out(0xd800 + (rest >> 10U)) + spelt_out(0xdc00 + (rest & 0x3ffU));
        } else {
            shown += "\\u" + spelt_out(character.code | 0x10000U).substr(3);
        }
        i += character.size;
    }
    return shown;
}

std::string in_ascii(std::string text) {
    const std::pair<const char *, const char *> drawn[] = {{"\xe2\x94\x94\xe2\x94\x80", "`-"},
                                                           {"\xe2\x94\x9c\xe2\x94\x80", "|-"},
                                                           {"\xe2\x94\x94", "`"},
                                                           {"\xe2\x94\x9c", "|"},
                                                           {"\xe2\x94\x82", "|"},
                                                           {"\xe2\x80\xa6", "~"}};
    for (const auto &[from, to] : drawn) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos;) {
            text.replace(at, std::strlen(from), to);
        }
    }
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const Character character = character_at(text, i);
        shown += character.code < 0x80 ? std::string(1, text[i]) : spelt_out(character.code);
        i += character.size;
    }
    return shown;
}

namespace {

// What stands at one place of a text: a character, or a colour, which takes no room.
struct Step {
    std::size_t size;     // in bytes
    std::size_t columns;  // of a terminal
};

Step step_at(const std::string &text, std::size_t at) {
    if (text.compare(at, 2, "\x1b[") == 0) {
        return {std::min(text.find('m', at), text.size() - 1) + 1 - at, 0};
    }
    const Character character = character_at(text, at);
    return {character.size, columns_of(character.code)};
}

}  // namespace

std::size_t width(const std::string &text) {
    std::size_t columns = 0;
    for (std::size_t i = 0; i < text.size();) {
        const Step step = step_at(text, i);
        columns += step.columns;
        i += step.size;
    }
    return columns;
}

std::string cut(const std::string &text, std::size_t columns) {
    std::size_t taken = 0;
    std::size_t last_whole = 0;  // where an ellipsis still fits
    for (std::size_t i = 0; i < text.size();) {
        const Step step = step_at(text, i);
        taken += step.columns;
        if (taken > columns) {
            return text.substr(0, last_whole) + "\xe2\x80\xa6";
        }
        i += step.size;
        last_whole = taken < columns ? i : last_whole;
    }
    return text;
}

std::string counted(std::size_t count, const std::string &noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string pad(const std::string &text, std::size_t columns, bool right_aligned) {
    const std::size_t taken = width(text);
    const std::string blanks(taken < columns ? columns - taken : 0, ' ');
    return right_aligned ? blanks + text : text + blanks;
}

}  // namespace cli
