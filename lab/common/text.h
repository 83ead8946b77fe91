// Small things that the lab does to texts.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>

namespace lab {

inline std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

}  // namespace lab
