// What a scenario file says about a mesh: its devices, stations and how fast things change (docs/scenarios.md).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/common/json.h"

namespace lab {

// What a signal (dBm) and a rate (Mbit/s) may be, in a scenario and whatever becomes of it.
inline constexpr int kMinSignal = -95;
inline constexpr int kMaxSignal = -20;
inline constexpr int kMaxRate = 65535;

enum class Role { kController, kAgent };
enum class Band { k2_4GHz, k5GHz };
enum class Medium { k2_4GHz, k5GHz, kEthernet };

struct Bss {
    std::string interface;  // "ra0" to "ra3" on 2.4 GHz, "rai0" to "rai3" on 5 GHz
    int number = -1;        // at its end
    std::string bssid;
    bool backhaul = false;  // for the uplinks of other devices; stations are on the others
};

struct Radio {
    int channel = 0;
    std::vector<Bss> bss;
    Band band() const { return channel < 36 ? Band::k2_4GHz : Band::k5GHz; }

    // Of the BSS's configuration object: 1 to 4 on 2.4 GHz, 5 to 8 on 5 GHz.
    int instance(const Bss &item) const { return item.number + (band() == Band::k2_4GHz ? 1 : 5); }
};

// A link to the device one step nearer to the root of the tree.
struct Backhaul {
    std::size_t to = 0;  // place in Scenario::devices
    Medium over = Medium::kEthernet;
    int signal = 0;  // dBm, as the upper device hears it; 0 on Ethernet
    int rate = 0;    // Mbit/s
};

struct DeviceAtStart {
    std::string name;
    Role role = Role::kAgent;
    std::string al_mac;
    std::string base_mac;    // what the device names as its own; the AL MAC but on odd devices
    std::string uplink_mac;  // of the station interface that a Wi-Fi backhaul goes through
    std::string firmware_version;
    std::string host_name;
    std::string ip;        // what the device itself says
    std::string lease_ip;  // what the DHCP server gave it
    std::vector<Radio> radios;
    bool has_backhaul = false;  // the root of the tree has none
    Backhaul backhaul;
    std::vector<std::string> wired_clients;  // MACs
};

struct StationAtStart {
    std::string mac;
    std::size_t device = 0;  // where it is at first; place in Scenario::devices
    Band band = Band::k2_4GHz;
    int signal = 0;  // dBm
    int rate = 0;    // Mbit/s at that signal
    std::string host_name;
    std::string ip;
    bool stays = false;  // never leaves or roams by itself
};

// How likely a thing is for a station in one cycle, in percent; `drift`: its signal changes by so many dB at most.
struct Pace {
    int roam = 2;
    int leave = 1;
    int come_back = 20;
    int drift = 2;
};

struct Scenario {
    std::uint64_t seed = 1;
    Pace pace;
    std::vector<DeviceAtStart> devices;
    std::vector<StationAtStart> stations;

    // Throws Error with file, place and what is wrong.
    static Scenario read(const JsonValue &file);

    // The file's text, which reads back as the same scenario.
    std::string text() const;
};

// MAC, `offset` added to its last byte.
std::string mac_beside(const std::string &mac, int offset);

}  // namespace lab
