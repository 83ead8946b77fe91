#include "tests/support/failing_allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>

namespace {

thread_local long to_go = 0;  // 0: none is to fail
thread_local bool for_good = false;
thread_local bool failed = false;
std::atomic<long> blocks{0};

bool fails_now() {
    if (to_go == 0) {
        return false;
    }
    if (to_go > 1) {
        --to_go;
        return false;
    }
    to_go = for_good ? 1 : 0;
    failed = true;
    return true;
}

void *counted(void *block) {
    blocks += block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

void fail_allocation(long which) {
    to_go = which;
    for_good = false;
    failed = false;
}

void fail_allocations_from(long which) {
    fail_allocation(which);
    for_good = true;
}

bool allocation_failed() { return failed; }

void allocate_again() { to_go = 0; }

long live_blocks() { return blocks; }

// In place of the C library's for all that is linked into the test program: the module's rooms and json-c.
extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
char *__real_strdup(const char *text);
void *__real_aligned_alloc(std::size_t alignment, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) { return counted(fails_now() ? nullptr : __real_malloc(size)); }

void *__wrap_calloc(std::size_t count, std::size_t size) {
    return counted(fails_now() ? nullptr : __real_calloc(count, size));
}

void *__wrap_realloc(void *block, std::size_t size) {
    if (fails_now()) {
        return nullptr;
    }
    void *moved = __real_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}

// The platform's records; the module frees them.
void *__wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
    return counted(__real_aligned_alloc(alignment, size));
}

// Never fails: json-c, up to 0.16 at least, uses a copy of a member's name without looking whether there is one.
char *__wrap_strdup(const char *text) { return static_cast<char *>(counted(__real_strdup(text))); }

void __wrap_free(void *block) {
    if (block != nullptr) {
        --blocks;
    }
    __real_free(block);
}
}
