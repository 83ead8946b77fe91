#include "module/model/update_lock.h"

#include "qo1905.h"

extern "C" {

// A lock from the start: a host may look at it before it calls qo1905_init, which makes it a fresh one.
pthread_mutex_t update_info_lock = PTHREAD_MUTEX_INITIALIZER;
}

namespace qo1905 {

UpdateInfoLock update_lock;

bool UpdateInfoLock::try_acquire(int limit, int &failures) {
    for (failures = 0; failures <= limit; ++failures) {
        if (pthread_mutex_trylock(&update_info_lock) == 0) {
            return true;
        }
    }
    return false;
}

void UpdateInfoLock::release() { pthread_mutex_unlock(&update_info_lock); }

}  // namespace qo1905
