// A snapshot drawn for people: the tree, the way of somebody to the gateway, the card of one.
#pragma once

#include <string>

#include "cli/mesh.h"

namespace cli {

// With a bar for each signal if `bars`.
std::string tree_text(const reader::Snapshot &snapshot, const Options &options, bool with_stations, bool bars);
std::string path_text(const reader::Snapshot &snapshot, const reader::Station &station, const Options &options,
                      bool bars);
std::string path_text(const reader::Snapshot &snapshot, const reader::Device &device, const Options &options,
                      bool bars);
std::string show_text(const reader::Snapshot &snapshot, const Found &found, const Options &options);

}  // namespace cli
