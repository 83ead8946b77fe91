// What /tmp/dump.txt, the multi-AP daemon's topology, says (docs/topology-dump.md), as far as it adds to the model.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reader/snapshot.h"

namespace reader {

// A backhaul link as the device at this end of it tells.
struct DumpLink {
    Mac neighbour;  // AL MAC
    std::optional<Medium> medium;
    std::optional<int> signal;
    std::optional<int> rate;
};

struct DumpDevice {
    Mac al_mac;
    std::optional<Role> role;
    std::optional<std::string> name;
    std::optional<Mac> upstream;  // AL MAC of the device nearer to the gateway
    std::vector<Interface> interfaces;
    std::vector<DumpLink> links;
    std::vector<Station> stations;
};

struct DumpFile {
    std::vector<DumpDevice> devices;  // the first is the one that wrote it
};

std::optional<DumpFile> parse_dump(const std::string &text, std::string &reason);

}  // namespace reader
