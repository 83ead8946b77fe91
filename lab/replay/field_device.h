// The device that wrote a dump, as far as the dump tells: what a host needs to stand in for it.
#pragma once

#include <nlohmann/json.hpp>

#include "lab/replay/dump_file.h"

namespace lab {

// A device description (docs/lab.md). Element 0 is the device itself: its role, AL MAC, radios and stations are taken
// from there; interfaces get the names that a gateway gives them, in their order. What a dump does not tell is empty:
// the firmware version, the address, the Ethernet links. A device without radios has one of those all the same, with
// its AL MAC: the module makes no model of a device without interfaces.
nlohmann::ordered_json field_device(const DumpFile &dump);

}  // namespace lab
