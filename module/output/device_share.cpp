#include "module/output/device_share.h"

#include <algorithm>
#include <cstdint>

#include "module/model/dump_bytes.h"

namespace qo1905 {
namespace {

constexpr std::size_t kTextPerByte = 8;
constexpr std::size_t kFree = 4096;
constexpr std::size_t kLargestObject = 512;  // that a dump can bring about

}  // namespace

DeviceShare::DeviceShare(const JsonWriter &json, std::size_t dump_bytes, std::size_t &pool)
    : json_(json),
      pool_(pool),
      start_(json.size()),
      own_(dump_bytes < (SIZE_MAX - kFree) / kTextPerByte - pool ? kFree + kTextPerByte * dump_bytes : SIZE_MAX - pool),
      limit_(own_ + pool / 2) {}

DeviceShare::~DeviceShare() {
    const std::size_t used = json_.size() - start_;
    const std::size_t beyond = used > own_ ? used - own_ : 0;
    pool_ -= std::min(pool_, beyond);
}

bool DeviceShare::allows_object() {
    is_cut_ = is_cut_ || json_.size() - start_ + kLargestObject > limit_;
    return !is_cut_;
}

}  // namespace qo1905
