// What the benchmarks share beside the stub of the platform: files, and what the module takes from the heap.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

// Allocations that the module's own code made so far; json-c's are not among them.
unsigned long allocations();

void write_file(const char *path, const std::string &text);
std::string read_file(const char *path);

}  // namespace bench
