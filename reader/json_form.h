// The JSON that programs and pages get to see, docs/schema/snapshot.json and docs/schema/event.json. What is unknown is
// not there.
#pragma once

#include <nlohmann/json.hpp>

#include "reader/events.h"
#include "reader/json.h"
#include "reader/snapshot.h"

namespace reader {

inline constexpr int kSchema = 1;

nlohmann::ordered_json to_json(const Snapshot &snapshot);

// The same without devices and stations: where and when it is from, and what it lacks.
nlohmann::ordered_json heading_json(const Snapshot &snapshot);

nlohmann::ordered_json to_json(const Device &device);

// The same back, of anything: what is not there or makes no sense is unknown.
Device device_from_json(Mac al_mac, const Json &json);

nlohmann::ordered_json to_json(const Station &station);
nlohmann::ordered_json to_json(const Event &event);

}  // namespace reader
