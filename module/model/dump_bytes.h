// How many bytes of the topology dump each device of the table was built from, at least: what a device may take of the
// files is in proportion to it. Timer thread only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qo1905.h"

namespace qo1905 {

// Of a device that the host put in by itself.
inline constexpr std::size_t kUnknownBytes = SIZE_MAX;

// Forgets all and makes room for so many devices; false without memory.
[[nodiscard]] bool begin_dump_bytes(std::size_t devices);

// To be called in the order of the device list, at most as often as there is room for.
void add_dump_bytes(const qo1905_device &device, std::size_t bytes);

void forget_dump_bytes();

// Asked for one device after the other, in the order of the list; a host may have put others between.
class DumpBytes {
public:
    std::size_t of(const qo1905_device &device);

private:
    std::size_t next_ = 0;
};

}  // namespace qo1905
