// Text on its way out: names are strangers' free text, and a terminal obeys what it is sent.
#pragma once

#include <cstddef>
#include <string>

namespace cli {

// Every control character, also those of Unicode that turn text round or hide it, spelt out: "\x1b", "\u202e".
// Printable text stays as it is. What comes out is one line, without tabs.
std::string visible(const std::string &text);

// A JSON text in which every such character is escaped: the same to programs, and harmless to a terminal.
std::string visible_json(const std::string &text);

// What this program itself draws with, in other signs, and all else spelt out, for places that know nothing but ASCII.
std::string in_ascii(std::string text);

// How many columns of a terminal a visible text takes; our own colours take none.
std::size_t width(const std::string &text);

// Cut to that many columns, the last of them an ellipsis.
std::string cut(const std::string &text, std::size_t columns);

// Filled with blanks to that many columns, on the right or on the left.
std::string pad(const std::string &text, std::size_t columns, bool right_aligned = false);

// "1 device", "3 devices".
std::string counted(std::size_t count, const std::string &noun);

}  // namespace cli
