#include "topology/leases.h"

#include <fcntl.h>
#include <unistd.h>

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

// Non-blocking, so that a FIFO left at this path cannot hold up the timer thread.
File open_lease_file() {
    const int fd = open(kLeaseFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    File file(fdopen(fd, "r"));
    if (file == nullptr) {
        close(fd);
    }
    return file;
}

}  // namespace

Leases::Leases() {
    const File file = open_lease_file();
    if (file == nullptr) {
        return;
    }
    ListTail<Lease> tail(first_);
    LineValues values;
    Mac last_kept = {};
    char line[kLineSize];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        values.parse(line);
        // A line for the MAC of the line before can never be the first for it.
        if (first_ != nullptr && same_mac(values.mac, last_kept)) {
            continue;
        }
        if (auto *lease = record_new<Lease>()) {
            copy_mac(lease->mac, values.mac);
            fill_field(lease->address, values.address);
            tail.append(lease);
            copy_mac(last_kept, values.mac);
        }
    }
    by_mac_.enter(first_);
}

Leases::~Leases() { free_list(first_); }

const Lease *Leases::find(const Mac &mac) const { return by_mac_.find_first(mac); }

}  // namespace qo1905
