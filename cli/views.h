// A snapshot seen from several sides: as tables, as a tree, as the way of one station, as one screen.
#pragma once

#include <string>
#include <vector>

#include "cli/output.h"
#include "reader/events.h"
#include "reader/snapshot.h"

namespace cli {

inline constexpr int kWeakSignal = -75;  // dBm, below which people notice
inline constexpr double kFresh = 120;    // seconds: six cycles of the module

// The devices as people would list them: from the gateway outwards.
std::vector<const reader::Device *> ordered_devices(const reader::Snapshot &snapshot);

// A name if it has one and names are wanted, else its MAC.
std::string label(const reader::Device &device, const Options &options);
std::string label(const reader::Station &station, const Options &options);

struct StationFilter {
    std::string device;  // a name, MAC or address; empty: all
    std::string band;    // "2.4", "5", "wired"; empty: all
    std::string name;    // part of the name; empty: all
    bool weak = false;
    int weak_below = kWeakSignal;
};

Table devices_table(const reader::Snapshot &snapshot, const Options &options);
Table stations_table(const reader::Snapshot &snapshot, const StationFilter &filter, const Options &options);
Table links_table(const reader::Snapshot &snapshot, const Options &options);
Table events_table(const reader::Snapshot &after, const std::vector<reader::Event> &events, const Options &options);

// What goes by this name, MAC or address; several may.
struct Found {
    std::vector<const reader::Device *> devices;
    std::vector<const reader::Station *> stations;
};
Found find(const reader::Snapshot &snapshot, const std::string &text);

// The devices a station or a device speaks through, from itself to the root.
std::vector<const reader::Device *> way_of(const reader::Snapshot &snapshot, reader::Mac al_mac);

// With a bar for each signal if `bars`.
std::string tree_text(const reader::Snapshot &snapshot, const Options &options, bool with_stations, bool bars);
std::string path_text(const reader::Snapshot &snapshot, const reader::Station &station, const Options &options,
                      bool bars);
std::string path_text(const reader::Snapshot &snapshot, const reader::Device &device, const Options &options,
                      bool bars);
std::string show_text(const reader::Snapshot &snapshot, const Found &found, const Options &options);

// One screen: is the mesh all right? `is_well` tells the same to programs.
struct Health {
    std::size_t devices = 0, stations = 0, wired = 0, on_2_4ghz = 0, on_5ghz = 0;
    std::vector<const reader::Device *> unreachable;  // no way to the root is known
    std::vector<const reader::Device *> weak_links;
    std::vector<const reader::Station *> weak_stations;
    bool is_well() const { return unreachable.empty() && weak_links.empty(); }
};
Health health_of(const reader::Snapshot &snapshot, int weak_below);
std::string status_text(const reader::Snapshot &snapshot, const Health &health, const Options &options);
nlohmann::ordered_json to_json(const reader::Snapshot &snapshot, const Health &health);

}  // namespace cli
