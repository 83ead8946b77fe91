// What numbers may be.
#pragma once

#include <CLI/CLI.hpp>

namespace cli {

inline CLI::Range signal_range() { return {-150, 0}; }  // dBm
inline CLI::Range count_range() { return {0, 1000000}; }

}  // namespace cli
