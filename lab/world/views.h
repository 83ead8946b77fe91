// What one device gets to see of the world, in the formats of those who tell it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "lab/world/world.h"

namespace lab {

// The topology dump as the multi-AP daemon of this device writes it: itself first, then everyone it reaches.
std::string topology_dump(const World &world, std::size_t device);

// The device itself, in the format of the host's device description (docs/lab.md).
nlohmann::ordered_json device_description(const World &world, std::size_t device);

// dnsmasq's lease file: the devices and the stations that are in the mesh.
std::string leases(const World &world);

// What the device's module reports to the Controller now, if no value of it needs escaping.
std::string agent_report(const World &world, std::size_t device);

// The Agents whose reports are longer than the air carries.
std::vector<std::size_t> devices_with_long_reports(const World &world);

// The world itself, for people and tests.
nlohmann::ordered_json world_state(const World &world);

}  // namespace lab
