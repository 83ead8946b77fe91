#include "topology/leases.h"

#include <cstdio>

#include "core/owned.h"
#include "core/paths.h"
#include "core/text.h"
#include "model/list.h"

namespace qo1905 {
namespace {

constexpr int kLineSize = 512;

// The buffers that the lines are parsed into. They live across lines: what a line does not set keeps its value.
struct LineValues {
    Mac mac = {};
    char address[kLineSize] = {};

    // Expiry time, MAC, address, then what nobody needs. The address takes a line end along when nothing follows it.
    void parse(const char *line) {
        (void)std::sscanf(line, "%*u " QO1905_MAC_SHORT_FORMAT " %511[^ ] %*[^ ] %*[^ ] %*[^ ]\n", &mac[0], &mac[1],
                          &mac[2], &mac[3], &mac[4], &mac[5], address);
    }
};

}  // namespace

Leases::Leases() {
    const File file(std::fopen(kLeaseFile, "r"));
    if (file == nullptr) {
        return;
    }
    ListTail<Lease> tail(first_);
    LineValues values;
    char line[kLineSize];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        values.parse(line);
        auto *lease = record_new<Lease>();
        if (lease == nullptr) {
            return;
        }
        copy_mac(lease->mac, values.mac);
        fill_field(lease->address, values.address);
        tail.append(lease);
    }
}

Leases::~Leases() { free_list(first_); }

const Lease *Leases::find(const Mac &mac) const {
    for (const Lease &lease : ListNodes(first_)) {
        if (same_mac(lease.mac, mac)) {
            return &lease;
        }
    }
    return nullptr;
}

}  // namespace qo1905
