// One moment of a mesh, as its gateway's files tell it. Unknown is absent, never 0 or "".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reader/input.h"
#include "reader/mac.h"

namespace reader {

enum class Role { kController, kAgent };
enum class Band { k2_4GHz, k5GHz };
enum class Medium { k2_4GHz, k5GHz, kEthernet };

// An interface of a device (TR-181 Device.IEEE1905.AL.Interface, IEEE 1905.1 Table 6-12 media types).
struct Interface {
    enum class Use { kBss, kUplink, kOther };
    Mac mac;
    std::string media_type;  // as the model prints it; empty where only the dump tells of the interface
    std::optional<Band> band;
    Use use = Use::kOther;  // kBss: the MAC is the BSSID of stations; kUplink: the station side of a Wi-Fi backhaul
};

// Another device that a device hears or has a cable to (TR-181 ...IEEE1905Neighbor, IEEE 1905.1 Table 6-15), its parent
// and children among them.
struct Neighbour {
    Mac al_mac;
    std::optional<Medium> medium;
    std::optional<int> signal;  // dBm
    std::optional<int> rate;    // Mbit/s
};

// A device of the mesh (TR-181 Device.IEEE1905.AL.NetworkTopology.IEEE1905Device), the writing one included.
struct Device {
    Mac al_mac;
    bool is_local = false;  // the one that wrote the files
    std::optional<std::string> name;
    std::optional<Role> role;
    std::optional<std::string> address;   // IPv4 or IPv6
    std::optional<std::string> firmware;  // its version
    std::optional<Mac> parent;            // AL MAC of the device one step nearer to the gateway; the root has none
    std::optional<unsigned> hops;         // to the root, whose own are 0; absent when no way to it is known
    std::optional<Medium> medium;         // of the link to its parent
    std::optional<int> signal;            // dBm, of that link
    std::optional<int> rate;              // Mbit/s, of that link
    std::vector<Interface> interfaces;    // ordered by MAC
    std::vector<Neighbour> neighbours;    // ordered by AL MAC, each there once; as this device tells
};

// Whatever is connected to a device and is none itself.
struct Station {
    Mac mac;
    Mac device;                       // AL MAC
    std::optional<std::string> name;  // from its DHCP lease: free text of a stranger
    std::optional<std::string> address;
    std::optional<Mac> interface;               // of the device: the BSSID, or the Ethernet port
    std::optional<std::string> interface_name;  // "rai0"
    std::optional<Band> band;
    std::optional<int> signal;  // dBm, as the device hears it
    std::optional<int> rate;    // Mbit/s, PHY
    bool is_wired = false;
};

// A file of the gateway that could not be had, and why; the snapshot lacks what is in it.
struct Missing {
    enum class Part { kModel, kDump, kLeases, kList };
    Part part;
    Problem problem;
};

struct Snapshot {
    std::string source;
    std::string
        anonymous;  // names the table that tells who is who (reader/anonymise.h); empty: these are the real names
    Time time;      // when the model was written
    Time read_at;
    std::vector<Device> devices;    // ordered by AL MAC, each there once
    std::vector<Station> stations;  // ordered by MAC, each there once
    std::vector<Missing> missing;
    bool knows_local_stations = false;  // of the device that wrote the files; only the dump tells of them

    const Device *find_device(Mac al_mac) const;
    const Station *find_station(Mac mac) const;
    const Problem *problem_with(Missing::Part part) const;  // null when it is there
    const Device *root() const;                             // the one with 0 hops; null in a mesh without devices

    // Seconds since the model was written; not negative.
    double age() const;
};

// What the files tell together. Takes any bytes; what is wrong with a file is told in `missing`. Time and memory grow
// in proportion to the input.
Snapshot make_snapshot(const Inputs &inputs);

}  // namespace reader
