#include "topology/leases.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/mac.h"
#include "core/owned.h"
#include "core/paths.h"
#include "core/text.h"
#include "model/list.h"
#include "model/mac_index.h"

namespace qo1905 {
namespace {

constexpr int kLineSize = 512;

// The buffers that the lines are parsed into. They live across lines: what a line does not set keeps its value.
class LineValues {
public:
    // Expiry time, MAC, address, then what nobody needs. The address takes a line end along when nothing follows it.
    void parse(const char *line) {
        if (!parse_plain(line)) {
            (void)std::sscanf(line, "%*u " QO1905_MAC_SHORT_FORMAT " %511[^ ] %*[^ ] %*[^ ] %*[^ ]\n", &mac_[0],
                              &mac_[1], &mac_[2], &mac_[3], &mac_[4], &mac_[5], address_);
        }
    }

    const Mac &mac() const { return mac_; }
    const char *address() const { return address_; }

private:
    // As dnsmasq writes it: a number, the MAC and the address with single blanks between and behind them. Nearly all
    // lines are such, and sscanf is slow.
    bool parse_plain(const char *line) {
        const std::size_t digits = std::strspn(line, "0123456789");
        const char *mac = line + digits + 1;
        if (digits == 0 || line[digits] != ' ' || strnlen(mac, kMacTextLength) != kMacTextLength ||
            mac[kMacTextLength] != ' ') {
            return false;
        }
        char mac_text[kMacTextLength + 1] = {};
        std::memcpy(mac_text, mac, kMacTextLength);
        const char *address = mac + kMacTextLength + 1;
        const std::size_t length = std::strcspn(address, " \t\n\v\f\r");
        if (length == 0 || address[length] != ' ' || !parse_plain_mac(mac_text, mac_)) {
            return false;
        }
        std::memcpy(address_, address, length);
        address_[length] = '\0';
        return true;
    }

    Mac mac_ = {};
    char address_[kLineSize] = {};
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

// The devices by AL MAC, and which of them a line was for.
class LeaseTakers {
public:
    // False without memory.
    bool enter(qo1905_device *devices) {
        std::size_t count = 0;
        for (const qo1905_device &device : ListNodes(devices)) {
            (void)device;
            ++count;
        }
        takers_.reset(static_cast<Taker *>(std::calloc(count, sizeof(Taker))));
        if (takers_ == nullptr || !index_.begin(count)) {
            return false;
        }
        count = 0;
        for (qo1905_device &device : ListNodes(devices)) {
            Taker &taker = takers_.get()[count];
            taker.device = &device;
            index_.add(device.IEEE1905Id, &taker, count++);
        }
        index_.sort();
        return true;
    }

    // Only the first line for a device counts.
    void give(const LineValues &line) {
        for (const MacIndex::Entry *entry = index_.find(line.mac()); entry != nullptr; entry = index_.next(entry)) {
            Taker &taker = takers_.get()[entry->order];
            if (!taker.has_lease) {
                fill_field(taker.device->Info.DeviceIP, line.address());
                taker.has_lease = true;
            }
        }
    }

private:
    struct Taker {
        qo1905_device *device;
        bool has_lease;
    };

    HeapPtr<Taker> takers_;
    MacIndex index_;
};

}  // namespace

void merge_leases(qo1905_device *devices) {
    const File file = open_lease_file();
    if (file == nullptr) {
        return;
    }
    LeaseTakers takers;
    if (devices == nullptr || !takers.enter(devices)) {
        return;
    }
    LineValues values;
    char line[kLineSize];
    while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
        values.parse(line);
        takers.give(values);
    }
}

}  // namespace qo1905
