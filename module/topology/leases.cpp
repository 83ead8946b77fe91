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
    void parse(const char *line) {
        if (!parse_plain(line)) {
            (void)std::sscanf(line, "%*u " QO1905_MAC_FORMAT " %511[^ ] %*[^ ] %*[^ ] %*[^ ]\n", &mac_[0], &mac_[1],
                              &mac_[2], &mac_[3], &mac_[4], &mac_[5], address_);
        }
    }

    const Mac &mac() const { return mac_; }
    const char *address() const { return address_; }

private:
    // As dnsmasq writes it: a number, the MAC and the address with single blanks between and behind them. Nearly all
    // lines are such, and sscanf is slow.
    bool parse_plain(const char *line) {
        const char *at = line;
        while (*at >= '0' && *at <= '9') {
            ++at;
        }
        if (at == line || *at != ' ' || !parse_plain_mac(at + 1, mac_, ' ')) {
            return false;
        }
        const char *address = at + 1 + kMacTextLength + 1;
        const std::size_t length = plain_length(address);
        if (length == 0 || address[length] != ' ') {
            return false;
        }
        std::memcpy(address_, address, length);
        address_[length] = '\0';
        return true;
    }

    // Up to the first character that ends it for the C library.
    static std::size_t plain_length(const char *text) {
        std::size_t length = 0;
        while (static_cast<unsigned char>(text[length]) > ' ') {
            ++length;
        }
        return length;
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

    // Null at the end of the file, without one, or where it cannot be read on.
    const char *next() {
        if (unread() < kLineSize && !at_end_) {
            fill();
        }
        const std::size_t most = unread() < kLineSize - 1 ? unread() : kLineSize - 1;
        if (most == 0) {
            return nullptr;
        }
        const char *start = block_ + start_;
        const auto *line_end = static_cast<const char *>(std::memchr(start, '\n', most));
        const std::size_t length = line_end != nullptr ? static_cast<std::size_t>(line_end - start) + 1 : most;
        std::memcpy(line_, start, length);
        line_[length] = '\0';
        start_ += length;
        return line_;
    }

private:
    std::size_t unread() const { return end_ - start_; }

    void fill() {
        std::memmove(block_, block_ + start_, unread());
        end_ -= start_;
        start_ = 0;
        const ssize_t count = read(fd_, block_ + end_, sizeof(block_) - end_);
        end_ += count > 0 ? static_cast<std::size_t>(count) : 0;
        at_end_ = end_ < sizeof(block_);  // less than was asked for
    }

    int fd_;
    bool at_end_;
    std::size_t start_ = 0;
    std::size_t end_ = 0;
    char block_[4096];
    char line_[kLineSize];
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
    while (const char *line = lines.next()) {
        values.parse(line);
        give_lease(index, values);
    }
    return true;
}

}  // namespace qo1905
