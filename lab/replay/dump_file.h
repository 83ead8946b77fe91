// A topology dump from the field, looked at before the module sees it: what is in it, what is odd about it, and why it
// makes no model if it does not. The module alone decides what it takes; this finds the words.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace lab {

struct DumpFile {
    nlohmann::json entries = nlohmann::json::array();  // "topology information"; empty when there is none
    std::string obstacle;               // why these bytes make no model, and what helps; empty: nothing is known to
    std::vector<std::string> oddities;  // what the module does not read as it stands there, a line each
};

DumpFile look_at_dump(const std::string &bytes);

// The text of a member of an entry; empty when it is not there or no text.
std::string dump_text(const nlohmann::json &object, const char *key);

// Whether the module counts this entry as an Agent: "02", or what that is cut to.
bool is_dump_agent(const nlohmann::json &entry);

// "3 devices, 2 Agents, 11 stations" of a dump.
std::string dump_contents(const DumpFile &dump);

}  // namespace lab
