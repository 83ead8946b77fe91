// Is the mesh all right? What status and check answer.
#pragma once

#include <string>
#include <vector>

#include "cli/output.h"
#include "reader/snapshot.h"

namespace cli {

inline constexpr double kFresh = 120;  // seconds: six cycles of the module

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
