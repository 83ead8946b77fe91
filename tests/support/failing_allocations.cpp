#include "tests/support/failing_allocations.h"

#include <cstddef>

namespace {

long to_go = 0;  // 0: none is to fail
bool for_good = false;
bool failed = false;

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

extern "C" {

void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);

void *__wrap_calloc(std::size_t count, std::size_t size) { return fails_now() ? nullptr : __real_calloc(count, size); }

void *__wrap_realloc(void *block, std::size_t size) { return fails_now() ? nullptr : __real_realloc(block, size); }
}
