// The line files beside the model: dnsmasq's leases and the association lists (docs/association-lists.md).
#pragma once

#include <optional>
#include <string>
#include <unordered_map>

#include "reader/mac.h"

namespace reader {

struct Lease {
    std::string address;
    std::optional<std::string> name;  // as the client calls itself
};
using Leases = std::unordered_map<Mac, Lease, MacHash>;

// By MAC, the first line of each. Lines of another form (DHCPv6) are passed over.
Leases parse_leases(const std::string &text);

// Names of interfaces, "rai0", by the MAC of the station on them; what is in `names` already stays.
using InterfaceNames = std::unordered_map<Mac, std::string, MacHash>;
void parse_list(const std::string &text, InterfaceNames &names);

}  // namespace reader
