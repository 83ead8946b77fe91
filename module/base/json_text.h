// Text that strangers wrote, made fit for a JSON string.
#pragma once

#include <cstddef>

#include "module/base/text.h"

namespace qo1905 {

// What stands in a JSON string for the next character of a text.
struct JsonPiece {
    char text[7];          // not terminated
    std::size_t length;    // bytes of `text`
    std::size_t consumed;  // bytes of the input that it stands for
};

// The first character of a non-empty text: itself, an escape for a double quote, a backslash or a control character,
// or U+FFFD for a byte that begins no valid UTF-8 sequence.
JsonPiece json_piece(Text text);

// True when the text can stand in a JSON string as it is.
bool is_plain_json_text(Text text);

// Hands the text to `sink` (called with a Text) the way it stands inside a JSON string, character by character.
template <class Sink>
void escape_json(Text text, Sink &&sink) {
    while (!text.empty()) {
        const JsonPiece piece = json_piece(text);
        sink(Text(piece.text, piece.length));
        text.remove_prefix(piece.consumed);
    }
}

}  // namespace qo1905
