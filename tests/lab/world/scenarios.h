// The lab's own scenarios, and what tests look for in them.
#pragma once

#include <string>

#include "lab/common/json.h"
#include "lab/world/scenario.h"
#include "lab/world/world.h"

inline lab::Scenario own_scenario(const std::string &name) {
    return lab::Scenario::read(lab::JsonValue::read_file(QO1905_SOURCE_DIR "/lab/scenarios/" + name + ".json"));
}

inline lab::Scenario home() { return own_scenario("home"); }

inline lab::Scenario scenario_from(const std::string &text) {
    return lab::Scenario::read(lab::JsonValue::parse(text, "scenario.json"));
}

inline std::size_t device(const lab::World &world, const std::string &name) { return world.find_device(name).value(); }

// One of home's, by the last byte of its MAC.
inline std::size_t station(const lab::World &world, const std::string &last) {
    return world.find_stations("02:57:00:00:00:" + last).at(0);
}
