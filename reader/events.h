// What happened between two moments of a mesh.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reader/snapshot.h"

namespace reader {

enum class EventKind {
    kJoin,   // a station is there that was not
    kLeave,  // it is gone
    kRoam,   // it is at another device, or on another band
    kUp,     // a device is there that was not
    kDown,   // it is gone
    kParent,
    kMedium,  // of the link to its parent
    kRole,
    kFirmware,
    kName,
    kAddress,
};

// Where a station was or is.
struct Whereabouts {
    Mac device;  // AL MAC
    std::optional<std::string> device_name;
    std::optional<Band> band;
    std::optional<int> signal;  // dBm
    bool is_wired = false;
};

struct Event {
    EventKind kind;
    Time time;  // of the later moment
    Mac mac;    // of the station, or the AL MAC of the device
    bool is_station = false;
    std::optional<std::string> name;       // as it is now, or was last
    std::optional<Whereabouts> from, to;   // of a station: kLeave has no `to`, kJoin no `from`
    std::optional<std::string> old_value;  // of what has changed, in words: "2.4.1", "5 GHz", an AL MAC
    std::optional<std::string> new_value;
};

// In a fixed order: devices before stations, each by MAC. What is unknown at one of the two moments has not changed;
// stations of the device that writes the files are compared only if both moments know them. Linear.
std::vector<Event> events(const Snapshot &before, const Snapshot &after);

// With the stations of the local device as they were before, when only the dump that tells of them is away: they have
// neither left nor joined.
Snapshot with_local_stations(Snapshot snapshot, const Snapshot &before);

}  // namespace reader
