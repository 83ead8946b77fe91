// What happened between two moments, as a support person would say it.
#pragma once

#include <string>
#include <vector>

#include "cli/mesh.h"
#include "cli/output.h"
#include "reader/events.h"

namespace cli {

// "phone-anna (02:57:00:00:00:24) roamed from attic, 5 GHz -60 dBm, to living-room, 5 GHz -55 dBm".
std::string event_text(const reader::Snapshot &after, const reader::Event &event, const Options &options);

// A signal that is another by far: no event, because it changes all the time, but what people ask about.
struct SignalChange {
    reader::Mac mac;  // of the station, or the AL MAC of the device whose link to its parent it is
    bool is_station;
    std::optional<std::string> name;
    int before, after;  // dBm
};
inline constexpr int kFar = 10;  // dB: what ten times less power is

// Of whoever is at the same place in both moments; devices before stations, each by MAC.
std::vector<SignalChange> signal_changes(const reader::Snapshot &before, const reader::Snapshot &after);

// "attic (02:0b:00:00:00:01) is heard with -89 dBm, was -70".
std::string signal_text(const SignalChange &change, const Options &options);
nlohmann::ordered_json to_json(const SignalChange &change);

// "2 stations joined, 1 roamed, 1 device is down"; "nothing has changed".
std::string summary_text(const std::vector<reader::Event> &events);

// As sentences, or in the format that was chosen, where JSON has `whole` around them.
std::string print_events(const reader::Snapshot &after, const std::vector<reader::Event> &events,
                         const Options &options, const nlohmann::ordered_json &whole);

}  // namespace cli
