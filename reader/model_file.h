// What /tmp/qo1905.json says (docs/data-model.md), record by record; nothing is concluded here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reader/snapshot.h"

namespace reader {

// An entry of a device's list of neighbours of its own kind. Lists hold parents and children alike, with repetitions.
struct ModelNeighbour {
    Mac mac;  // of the neighbour's interface, or its AL MAC
    std::optional<Medium> medium;
    std::optional<int> signal;
    std::optional<int> rate;
};

struct ModelDevice {
    Mac al_mac;
    std::optional<std::string> name;
    std::optional<std::string> address;
    std::optional<std::string> firmware;
    std::vector<Interface> interfaces;
    std::vector<ModelNeighbour> neighbours;
    std::vector<Station> stations;
};

struct ModelFile {
    std::optional<Mac> al_mac;  // of the device that wrote it
    std::vector<Interface> interfaces;
    std::vector<ModelDevice> devices;  // all others
};

// None when the text is no model; `reason` says why.
std::optional<ModelFile> parse_model(const std::string &text, std::string &reason);

}  // namespace reader
