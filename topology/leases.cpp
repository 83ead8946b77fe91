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
    LeaseLines() : fd_(open(kLeaseFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~LeaseLines() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    LeaseLines(const LeaseLines &) = delete;
    LeaseLines &operator=(const LeaseLines &) = delete;

    bool is_open() const { return fd_ >= 0; }

    // Null at the end of the file, or where it cannot be read on.
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
    bool at_end_ = false;
    std::size_t start_ = 0;
    std::size_t end_ = 0;
    char block_[4096];
    char line_[kLineSize];
};

// The devices by AL MAC, and which of them a line was for.
class LeaseTakers {
public:
    // False without memory or devices.
    bool enter(qo1905_device *devices) {
        std::size_t count = 0;
        for (const qo1905_device &device : ListNodes(devices)) {
            index_.add(device.IEEE1905Id, &device, count++);
        }
        if (count == 0) {
            return false;
        }
        index_.sort();
        takers_.reset(static_cast<Taker *>(std::calloc(count, sizeof(Taker))));
        if (takers_ == nullptr || !index_.complete()) {
            return false;
        }
        Taker *taker = takers_.get();
        for (qo1905_device &device : ListNodes(devices)) {
            taker++->device = &device;
        }
        return true;
    }

    // Only the first line for a device counts.
    void give(const LineValues &line) {
        for (MacMatch match(index_.find(line.mac())); match.node() != nullptr; match.advance()) {
            Taker &taker = takers_.get()[match.place()];
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
    LeaseLines lines;
    LeaseTakers takers;
    if (!lines.is_open() || !takers.enter(devices)) {
        return;
    }
    LineValues values;
    while (const char *line = lines.next()) {
        values.parse(line);
        takers.give(values);
    }
}

}  // namespace qo1905
