// Is the mesh all right? What status and check answer.
#pragma once

#include <string>
#include <vector>

#include "cli/answer.h"
#include "cli/output.h"
#include "reader/events.h"
#include "reader/snapshot.h"

namespace cli {

inline constexpr double kFresh = 120;  // seconds: six cycles of the module

inline constexpr int kSlowLink = 100;  // Mbit/s, below which a link between devices holds all behind it back

struct Health {
    std::size_t devices = 0, stations = 0, wired = 0, on_2_4ghz = 0, on_5ghz = 0;
    std::vector<const reader::Device *> unreachable;  // no way to the root is known
    std::vector<const reader::Device *> weak_links;   // or slow ones
    std::vector<const reader::Station *> weak_stations;
    std::optional<reader::Time> since;   // when the earlier moment was, if there is one
    std::vector<reader::Event> changes;  // since then
    bool links_are_well() const { return unreachable.empty() && weak_links.empty(); }
    bool is_well() const { return links_are_well() && weak_stations.empty(); }
};
Health health_of(const Moment &moment, int weak_below);
std::string status_text(const reader::Snapshot &snapshot, const Health &health, const Options &options);
nlohmann::ordered_json to_json(const reader::Snapshot &snapshot, const Health &health);

}  // namespace cli
