// Small things that the lab does to texts.
#pragma once

#include <string>

namespace lab {

std::string lower_case(std::string text);

// Six bytes in hexadecimal with colons.
bool is_mac(const std::string &text);

// For messages: control characters become question marks.
std::string one_line(std::string text);

// "1 device", "3 devices".
std::string plural(long count, const std::string &noun);

// Three digits of a small one, "0.333"; all of a large one.
std::string short_number(double value);

}  // namespace lab
