// update_info_lock, which the receiver thread and the timer thread share. It is only ever tried, never waited for:
// neither thread may hold up the other.
#pragma once

#include "module/base/annotations.h"

namespace qo1905 {

class QO1905_CAPABILITY("mutex") UpdateInfoLock {
public:
    // Tries again at once until it holds the lock or `failures` is above the limit: limit + 1 attempts at most.
    // `failures` is the number of attempts that failed.
    bool try_acquire(int limit, int &failures) QO1905_TRY_ACQUIRE(true);
    void release() QO1905_RELEASE();
};

extern UpdateInfoLock update_lock;

}  // namespace qo1905
