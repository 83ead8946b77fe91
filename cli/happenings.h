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

// "2 stations joined, 1 roamed, 1 device is down"; "nothing has changed".
std::string summary_text(const std::vector<reader::Event> &events);

// As sentences, or in the format that was chosen, where JSON has `whole` around them.
std::string print_events(const reader::Snapshot &after, const std::vector<reader::Event> &events,
                         const Options &options, const nlohmann::ordered_json &whole);

}  // namespace cli
