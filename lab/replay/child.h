// A program that is run to its end, heard line by line.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lab {

struct ChildEnd {
    int status;  // as a shell tells it: 128 and the signal that ended it
    int signal;  // that asked this process to end meanwhile; 0 for none
};

// `on_line` gets every line of its output and errors. A signal that asks this process to end is handed on and the end
// of the child waited for. Throws Error when it cannot be started.
ChildEnd run_child(const std::vector<std::string> &command, const std::function<void(const std::string &)> &on_line);

}  // namespace lab
