#include "module/model/dump_bytes.h"

#include <cstdlib>

namespace qo1905 {
namespace {

struct BytesOfDevice {
    const qo1905_device *device;  // to be compared only
    std::size_t bytes;
};

BytesOfDevice *known = nullptr;
std::size_t known_count = 0;

}  // namespace

bool begin_dump_bytes(std::size_t devices) {
    forget_dump_bytes();
    known = static_cast<BytesOfDevice *>(std::calloc(devices, sizeof(BytesOfDevice)));
    return known != nullptr;
}

void add_dump_bytes(const qo1905_device &device, std::size_t bytes) { known[known_count++] = {&device, bytes}; }

void forget_dump_bytes() {
    std::free(known);
    known = nullptr;
    known_count = 0;
}

std::size_t DumpBytes::of(const qo1905_device &device) {
    if (next_ < known_count && known[next_].device == &device) {
        return known[next_++].bytes;
    }
    return kUnknownBytes;
}

}  // namespace qo1905
