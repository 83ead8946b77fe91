#include "module/topology/leases.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "module/base/mac.h"
#include "module/base/paths.h"
#include "module/base/text.h"
#include "module/model/list.h"
#include "module/model/mac_index.h"

namespace qo1905 {
namespace {

constexpr std::size_t kLineSize = 512;  // with a zero byte at the end

// The buffers that the lines are parsed into. They live across lines: what a line does not set keeps its value.
class LineValues {
public:
    // Expiry time, MAC, address, then what nobody needs. The address takes a line end along when nothing follows it.
    void parse(Text line) {
        if (!parse_plain(line)) {
            char text[kLineSize];
            std::memcpy(text, line.data(), line.size());
            text[line.size()] = '\0';
            (void)std::sscanf(text, "%*u " QO1905_MAC_FORMAT " %511[^ ] %*[^ ] %*[^ ] %*[^ ]\n", &mac_[0], &mac_[1],
                              &mac_[2], &mac_[3], &mac_[4], &mac_[5], address_);
        }
    }

    const Mac &mac() const { return mac_; }
    const char *address() const { return address_; }

private:
    // As dnsmasq writes it: a number, the MAC and the address with single blanks between and behind them. sscanf takes
    // a quarter of what json-c takes for a station's whole part of the dump (docs/performance.md).
    bool parse_plain(Text line) {
        const char *at = line.data();
        while (*at >= '0' && *at <= '9') {
            ++at;
        }
        Mac mac;
        if (at == line.data() || *at != ' ' || !parse_plain_mac(at + 1, mac, ' ')) {
            return false;
        }
        const char *address = at + 1 + kMacTextLength + 1;
        const char *end = address;
        while (static_cast<unsigned char>(*end) > ' ') {
            ++end;
        }
        // A line that was cut goes on behind its end: nothing of that belongs to it.
        if (end == address || *end != ' ' || end >= line.data() + line.size()) {
            return false;
        }
        copy_mac(mac_, mac);
        *print_text(address_, {address, static_cast<std::size_t>(end - address)}) = '\0';
        return true;
    }

    Mac mac_ = {};
    char address_[kLineSize] = {};
};

// The lines of the lease file, as the C library's fgets cuts them: one that does not fit goes on as the next.
class LeaseLines {
public:
    // Non-blocking, so that a FIFO left at this path cannot hold up the timer thread.
    LeaseLines() : fd_(open(kLeaseFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC)), at_end_(fd_ < 0) {}
    ~LeaseLines() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    LeaseLines(const LeaseLines &) = delete;
    LeaseLines &operator=(const LeaseLines &) = delete;

    // With its line end; empty at the end of the file, without one, or where it cannot be read on. Up to the next call.
    // Behind it there is always a character that is no printable one, here or further on.
    Text next() {
        if (unread() < kLineSize && !at_end_) {
            fill();
        }
        const std::size_t most = unread() < kLineSize - 1 ? unread() : kLineSize - 1;
        const char *start = block_ + start_;
        const auto *line_end = static_cast<const char *>(std::memchr(start, '\n', most));
        const std::size_t length = line_end != nullptr ? static_cast<std::size_t>(line_end - start) + 1 : most;
        start_ += length;
        return {start, length};
    }

private:
    static constexpr std::size_t kBlockSize = 4096;

    std::size_t unread() const { return end_ - start_; }

    void fill() {
        std::memmove(block_, block_ + start_, unread());
        end_ -= start_;
        start_ = 0;
        const ssize_t count = read(fd_, block_ + end_, kBlockSize - end_);
        end_ += count > 0 ? static_cast<std::size_t>(count) : 0;
        block_[end_] = '\0';
        at_end_ = end_ < kBlockSize;  // less than was asked for
    }

    int fd_;
    bool at_end_;
    std::size_t start_ = 0;
    std::size_t end_ = 0;
    char block_[kBlockSize + 1] = {};
};

// Gives a lease to all devices with its MAC. Only the first line for a MAC counts: its entry has no record any more.
void give_lease(MacIndex &devices, const LineValues &line) {
    MacIndex::Entry *first = devices.find(mac_key(line.mac()));
    if (first == nullptr || first->record == nullptr) {
        return;
    }
    for (const MacIndex::Entry *entry = first; entry != nullptr; entry = devices.next(entry)) {
        auto *device =
            const_cast<qo1905_device *>(static_cast<const qo1905_device *>(entry->record));  // as it was added
        fill_field(device->Info.DeviceIP, line.address());
    }
    first->record = nullptr;
}

}  // namespace

bool merge_leases(qo1905_device *devices) {
    MacIndex index;
    for (qo1905_device &device : ListNodes(devices)) {
        if (!index.add(mac_key(device.IEEE1905Id), &device)) {
            return false;
        }
    }
    if (index.begin() == index.end()) {
        return true;
    }
    index.sort();
    LeaseLines lines;
    LineValues values;
    for (Text line = lines.next(); !line.empty(); line = lines.next()) {
        values.parse(line);
        give_lease(index, values);
    }
    return true;
}

}  // namespace qo1905
