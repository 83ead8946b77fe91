// A snapshot as rows: devices, stations, links, and what happened between two.
#pragma once

#include <string>
#include <vector>

#include "cli/mesh.h"
#include "cli/output.h"
#include "reader/events.h"
#include "reader/snapshot.h"

namespace cli {

// What people type for a band, or for none.
inline const std::vector<std::string> kBandWords = {"2.4", "5", "wired"};

struct StationFilter {
    std::string device;  // a name, MAC or address; empty: all
    std::string band;    // one of kBandWords; empty: all
    std::string name;    // part of the name; empty: all
    bool weak = false;
    int weak_below = kWeakSignal;
};

Table devices_table(const reader::Snapshot &snapshot, const Options &options);
Table stations_table(const reader::Snapshot &snapshot, const StationFilter &filter, const Options &options);
Table links_table(const reader::Snapshot &snapshot, const Options &options);
Table events_table(const reader::Snapshot &after, const std::vector<reader::Event> &events, const Options &options);

}  // namespace cli
