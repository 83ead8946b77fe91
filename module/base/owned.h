// Owners of what the C library hands out. Records are owned by the head of their list or by their table (model/list.h);
// every other raw pointer is borrowed.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace qo1905 {

struct HeapRelease {
    void operator()(void *block) const { std::free(block); }
};
template <class T>
using HeapPtr = std::unique_ptr<T, HeapRelease>;

struct PipeClose {
    void operator()(std::FILE *pipe) const { (void)pclose(pipe); }
};
using Pipe = std::unique_ptr<std::FILE, PipeClose>;

// A zero-filled record, owned by the caller; null without memory.
template <class T>
T *record_new() {
    return static_cast<T *>(std::calloc(1, sizeof(T)));
}

}  // namespace qo1905
