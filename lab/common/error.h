// What goes wrong for a reason the user can mend: one line, said by main, which ends with the status below.
#pragma once

#include <stdexcept>

namespace lab {

// A wrong file or argument, or something that is not there.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// An order that was understood and cannot be carried out.
class Refusal : public Error {
public:
    using Error::Error;
};

inline constexpr int kUserError = 2;
inline constexpr int kRefused = 1;

}  // namespace lab
