#include "module/output/device_share.h"

#include <algorithm>

namespace qo1905 {

DeviceShare::~DeviceShare() {
    const std::size_t used = json_.size() - start_;
    const std::size_t beyond = used > own_ ? used - own_ : 0;
    pool_ -= std::min(pool_, beyond);
}

void DeviceShare::earn(const LeastBytes &least, const Mac &mac) {
    earn(mac[5] != 0 ? least.with_mac : least.without_mac);
}

bool DeviceShare::allows_object() {
    constexpr std::size_t kLargestObject = 512;  // that a dump can bring about
    is_cut_ = is_cut_ || json_.size() - start_ + kLargestObject > own_ + extra_;
    return !is_cut_;
}

}  // namespace qo1905
