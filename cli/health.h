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

// `is_well` tells programs what the screen tells people.
struct Health {
    std::size_t devices = 0, stations = 0, wired = 0, on_2_4ghz = 0, on_5ghz = 0;
    std::vector<const reader::Device *> unreachable;  // no way to the root is known
    std::vector<const reader::Device *> weak_links;
    std::vector<const reader::Station *> weak_stations;
    std::optional<reader::Time> since;   // when the earlier moment was, if there is one
    std::vector<reader::Event> changes;  // since then
    bool is_well() const { return unreachable.empty() && weak_links.empty(); }
};
Health health_of(const Moment &moment, int weak_below);
std::string status_text(const reader::Snapshot &snapshot, const Health &health, const Options &options);
nlohmann::ordered_json to_json(const reader::Snapshot &snapshot, const Health &health);

}  // namespace cli
