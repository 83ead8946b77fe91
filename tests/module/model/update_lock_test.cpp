// The lock is tried so many times and never waited for.
#include "module/model/update_lock.h"

#include <gtest/gtest.h>

#include "qo1905.h"
#include "tests/support/fake_host.h"

using namespace qo1905;

namespace {

TEST(UpdateLock, IsHadAtTheFirstTryWhenItIsFree) {
    int failures = -1;
    if (!update_lock.try_acquire(10, failures)) {
        FAIL();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_NE(pthread_mutex_trylock(&update_info_lock), 0);  // the host's own name for the same lock
    update_lock.release();
}

TEST(UpdateLock, IsGivenUpAfterOneTryMoreThanTheLimit) {
    for (const int limit : {0, 1, 10}) {
        fake::host.lock_failures = limit;  // won with the last try
        int failures = -1;
        if (!update_lock.try_acquire(limit, failures)) {
            FAIL() << limit;
        }
        EXPECT_EQ(failures, limit);
        update_lock.release();
        fake::host.lock_failures = limit + 1;
        if (update_lock.try_acquire(limit, failures)) {
            update_lock.release();
            FAIL() << limit;
        }
        EXPECT_EQ(failures, limit + 1);
        EXPECT_EQ(fake::host.lock_failures, 0);
    }
}

}  // namespace
