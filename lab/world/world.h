// The mesh as it is now: who is where, what is on, and how it changes from cycle to cycle. Knows no sockets, files or
// clocks: the same scenario, the same number of cycles and the same orders give the same world.
#pragma once

#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lab/world/scenario.h"

namespace lab {

inline constexpr std::size_t kMaxMessage = 1000;  // bytes that the air carries at once

struct DeviceNow {
    Role role;
    bool up = true;
    std::set<std::string> disabled;  // interface names of the BSSs that are switched off
    std::set<std::string> blocked;   // MACs of stations that it lets in on no BSS
};

struct StationNow {
    std::size_t device;  // where it is, or wants to be
    int signal;
    bool away = false;  // left by itself
};

// Which BSS of a device.
struct BssPlace {
    std::size_t radio;
    std::size_t bss;
};

// What happened by itself in a cycle; places of stations.
struct Changes {
    std::vector<std::size_t> roamed, left, came_back;
};

class World {
public:
    explicit World(Scenario scenario);

    // --- how it is ---

    const Scenario &scenario() const { return scenario_; }
    unsigned cycle() const { return cycle_; }
    std::size_t size() const { return devices_.size(); }
    const DeviceAtStart &at_start(std::size_t device) const { return scenario_.devices[device]; }
    const DeviceNow &now(std::size_t device) const { return devices_[device]; }
    const StationAtStart &station(std::size_t station) const { return scenario_.stations[station]; }
    const StationNow &station_now(std::size_t station) const { return stations_[station]; }

    std::optional<std::size_t> find_device(std::string_view name) const;
    std::optional<std::size_t> find_al_mac(std::string_view mac) const;
    std::vector<std::size_t> find_stations(const std::string &name) const;  // or with this MAC
    std::optional<std::size_t> controller() const;

    // What people call a station: its host name, or its MAC where it has none. `name_of` takes a MAC, of anything.
    std::string station_name(std::size_t station) const;
    std::string name_of(const std::string &mac) const;

    // The BSS that the station is on; none when it is away, blocked, or its device or BSS is off.
    std::optional<BssPlace> bss_of(std::size_t station) const;

    // The BSS of the upper device that the device's Wi-Fi backhaul goes through; none without one, or when that BSS or
    // either device is off.
    std::optional<BssPlace> uplink_bss(std::size_t device) const;

    // The link to the upper device works.
    bool is_linked(std::size_t device) const;

    // Messages get from one to the other.
    bool reaches(std::size_t from, std::size_t to) const;

    // Steps to the root of the tree.
    unsigned depth(std::size_t device) const;

    // What its device measures now: Mbit/s, falling with the signal.
    int rate(std::size_t station) const;

    bool is_on(std::size_t device, BssPlace place) const;
    const Bss &bss(std::size_t device, BssPlace place) const;

    // --- how it changes ---

    // A cycle passes: stations drift, roam, leave and come back. Uses up the same random numbers whatever was ordered.
    Changes step();

    // Nothing changes by itself any more.
    void stand_still() { still_ = true; }

    void move(std::size_t station, std::size_t device);  // also brings back one that is away
    void set_role(std::size_t device, Role role);        // a new Controller makes the old one an Agent
    void set_up(std::size_t device, bool up);
    void set_enabled(std::size_t device, const std::string &interface, bool enabled);
    void block(std::size_t device, const std::string &mac, bool blocked);

private:
    std::optional<BssPlace> first_bss(std::size_t device, Band band, bool backhaul) const;
    bool is_blocked(std::size_t station) const;
    void drift(std::size_t station, unsigned draw);
    bool roam(std::size_t station, unsigned draw);
    void live(std::size_t station, Changes &changes);

    Scenario scenario_;
    std::vector<DeviceNow> devices_;
    std::vector<StationNow> stations_;
    std::mt19937_64 random_;
    unsigned cycle_ = 0;
    bool still_ = false;
};

}  // namespace lab
