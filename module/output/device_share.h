// How much of the model's text a device may take. A neighbour is written once per station of its MAC, so a dump of some
// kilobytes can be made to fill a router's memory. Therefore each device may write 4 KiB, which all that is in every
// device fits into, and eight bytes for every byte that it took in the dump. Beyond that it draws on a pool that all
// devices share, and gets at most half of what is left in it: a hostile device is cut, those before and behind it are
// whole.
#pragma once

#include <cstddef>

#include "module/output/json_writer.h"

namespace qo1905 {

// Bytes of the text that nobody has to pay for, in the whole model.
inline constexpr std::size_t kTextPool = std::size_t{1} << 20U;

class DeviceShare {
public:
    // The device's object begins here. What the host put in by itself (kUnknownBytes) is never cut.
    DeviceShare(const JsonWriter &json, std::size_t dump_bytes, std::size_t &pool);

    // What it took beyond its own is no longer in the pool.
    ~DeviceShare();
    DeviceShare(const DeviceShare &) = delete;
    DeviceShare &operator=(const DeviceShare &) = delete;

    // May one more object be written? Once one may not, none may.
    bool allows_object();
    bool is_cut() const { return is_cut_; }

private:
    const JsonWriter &json_;
    std::size_t &pool_;
    std::size_t start_;
    std::size_t own_;
    std::size_t limit_;
    bool is_cut_ = false;
};

}  // namespace qo1905
