#include "bench/host.h"

#include <cstdlib>
#include <fstream>

namespace bench {
namespace {

unsigned long allocation_count = 0;

}  // namespace

unsigned long allocations() { return allocation_count; }

void write_file(const char *path, const std::string &text) { std::ofstream(path, std::ios::binary) << text; }

std::string read_file(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace bench

extern "C" {

void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);

void *__wrap_calloc(std::size_t count, std::size_t size) {
    ++bench::allocation_count;
    return __real_calloc(count, size);
}

void *__wrap_realloc(void *block, std::size_t size) {
    ++bench::allocation_count;
    return __real_realloc(block, size);
}
}
