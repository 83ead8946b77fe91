#include "module/base/json_text.h"

#include <cstdint>
#include <cstring>

namespace qo1905 {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// A character and the two that stand for it.
constexpr char kShortEscapes[][4] = {"\"\\\"", "\\\\\\", "\n\\n", "\r\\r", "\t\\t"};

struct Utf8Lead {
    std::uint8_t first, last;                // lead bytes
    std::uint8_t length;                     // of the whole sequence
    std::uint8_t second_first, second_last;  // what may follow the lead byte
};

// The well-formed sequences of the Unicode standard: no overlong forms, no surrogates, nothing above U+10FFFF.
constexpr Utf8Lead kUtf8Leads[] = {
    {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF}, {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF}, {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

std::uint8_t byte_at(Text text, std::size_t i) { return static_cast<std::uint8_t>(text[i]); }

// Bytes of the UTF-8 sequence at the start of the text, 0 when it is not one.
std::size_t utf8_length(Text text) {
    const std::uint8_t lead = byte_at(text, 0);
    if (lead < 0x80) {
        return 1;
    }
    for (const Utf8Lead &row : kUtf8Leads) {
        if (lead < row.first || lead > row.last) {
            continue;
        }
        if (text.size() < row.length || byte_at(text, 1) < row.second_first || byte_at(text, 1) > row.second_last) {
            return 0;
        }
        for (std::size_t i = 2; i < row.length; ++i) {
            if ((byte_at(text, i) & 0xC0) != 0x80) {
                return 0;
            }
        }
        return row.length;
    }
    return 0;
}

JsonPiece piece_of(Text text, std::size_t consumed) {
    JsonPiece piece{};
    std::memcpy(piece.text, text.data(), text.size());
    piece.length = text.size();
    piece.consumed = consumed;
    return piece;
}

// 0x7f is not escaped: JSON lets it stand.
bool stands_as_it_is(std::uint8_t c) { return c >= 0x20 && c < 0x80 && c != '"' && c != '\\'; }

JsonPiece control_escape(std::uint8_t c) {
    constexpr char kDigits[] = "0123456789abcdef";
    const char text[] = {'\\', 'u', '0', '0', kDigits[c >> 4], kDigits[c & 15]};
    return piece_of({text, sizeof(text)}, 1);
}

}  // namespace

JsonPiece json_piece(Text text) {
    const std::uint8_t c = byte_at(text, 0);
    for (const auto &escape : kShortEscapes) {
        if (c == static_cast<std::uint8_t>(escape[0])) {
            return piece_of({escape + 1, 2}, 1);
        }
    }
    if (c < 0x20) {
        return control_escape(c);
    }
    const std::size_t length = utf8_length(text);
    if (length == 0) {
        return piece_of({kReplacement, sizeof(kReplacement) - 1}, 1);
    }
    return piece_of({text.data(), length}, length);
}

bool is_plain_json_text(Text text) {
    std::size_t i = 0;
    while (i < text.size()) {
        if (stands_as_it_is(byte_at(text, i))) {
            ++i;
            continue;
        }
        if (byte_at(text, i) < 0x80) {
            return false;
        }
        const std::size_t length = utf8_length({text.data() + i, text.size() - i});
        if (length == 0) {
            return false;
        }
        i += length;
    }
    return true;
}

}  // namespace qo1905
