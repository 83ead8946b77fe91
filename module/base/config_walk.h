// Walks over the platform's configuration objects.
#pragma once

#include <cstdint>

#include "module/base/owned.h"
#include "module/platform/mcfg.h"

namespace qo1905 {

// The instances of one object kind, in the provider's order:
//     ConfigWalk<mcfg_wifi_ssid> walk(MCFG_WIFI_SSID);
//     while (auto ssid = walk.next()) ...
template <class T>
class ConfigWalk {
public:
    explicit ConfigWalk(std::uint32_t object_id) : object_id_(object_id) {}

    // The next instance, owned by the caller; null when there are no more.
    HeapPtr<T> next() {
        void *object = nullptr;
        if (mcfgFeObjStructGetNext(object_id_, &place_, &object) != MCFG_SUCCESS) {
            return nullptr;
        }
        return HeapPtr<T>(static_cast<T *>(object));
    }

    // Number of the instance last returned.
    int instance() const { return place_.index[0]; }

private:
    std::uint32_t object_id_;
    mcfg_instance place_ = {};
};

}  // namespace qo1905
