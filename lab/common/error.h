// What goes wrong for a reason the user can mend: one line, said by main, which ends with status 2.
#pragma once

#include <stdexcept>

namespace lab {

class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr int kUserError = 2;

}  // namespace lab
