// Meshes of any size as the multi-AP daemon, the Agents and dnsmasq would tell them; the same for the same size.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

struct Mesh {
    std::size_t devices;   // the Controller included
    std::size_t stations;  // of the Agents
    std::string dump;
    std::vector<std::string> reports;  // payloads, one per Agent, with all its stations
    std::string leases;                // of all Agents and stations
};

Mesh make_mesh(std::size_t devices, std::size_t stations);

// A report of so many stations.
std::string make_report(std::size_t stations);

}  // namespace bench
