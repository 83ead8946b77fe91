#include "lab/common/text.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>

namespace lab {

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool is_mac(const std::string &text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool fits = i % 3 == 2 ? text[i] == ':' : std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (!fits) {
            return false;
        }
    }
    return text.size() == 17;
}

std::string one_line(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return text;
}

std::string plural(long count, const std::string &noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string short_number(double value) {
    constexpr double kLarge = 100;
    std::ostringstream text;
    text << std::setprecision(value < kLarge ? 3 : 9) << value;
    return text.str();
}

}  // namespace lab
