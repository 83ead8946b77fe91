// Files that people name on a command line.
#pragma once

#include <string>

namespace lab {

// What messages call it: the path, "standard input" for "-".
std::string input_name(const std::string &path);

// All of it; "-" is standard input, and a pipe is as good as a file. Throws Error when it cannot be read.
std::string read_input(const std::string &path);

}  // namespace lab
