// The host of a benchmark: the platform's answers from memory, no pause before the build, a shell that runs nothing,
// and what the module takes from the heap.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

struct Host {
    const char *role = "1";
    std::size_t stations = 0;  // on every Wi-Fi interface
    unsigned long commands = 0;
};
extern Host host;

// Allocations that the module's own code made so far; json-c's are not among them.
unsigned long allocations();

void write_file(const char *path, const std::string &text);
std::string read_file(const char *path);

}  // namespace bench
