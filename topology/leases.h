// The DHCP leases of the local dnsmasq server, read once per cycle. Timer thread.
#pragma once

#include "core/mac.h"
#include "model/mac_index.h"

namespace qo1905 {

inline constexpr int kLeaseAddressSize = 128;

// What a line of the lease file says, or what is left of the lines before where it does not parse.
struct Lease {
    Lease *next;
    Mac mac;
    char address[kLeaseAddressSize];  // may fill the field without a zero byte
};

class Leases {
public:
    // Reads the lease file; without one there are no leases. A line that there is no memory for is left out.
    Leases();
    ~Leases();
    Leases(const Leases &) = delete;
    Leases &operator=(const Leases &) = delete;

    // The first line for this MAC; null when there is none.
    const Lease *find(const Mac &mac) const;

private:
    Lease *first_ = nullptr;
    IndexedList<Lease, &Lease::mac> by_mac_;
};

}  // namespace qo1905
