// Texts that somebody might choose as a name to make a program do something: every byte but zero in the middle of a
// text, what shells and terminals have been broken with, and long ones.
#pragma once

#include <string>
#include <vector>

// About 370, for shells.
std::vector<std::string> attempts();

// For terminals: sequences that they obey, in ECMA-48's and in Unicode's ways.
std::vector<std::string> terminal_attempts();
