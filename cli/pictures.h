// A snapshot drawn for people: the tree, the way of somebody to the gateway, the card of one.
#pragma once

#include <string>

#include "cli/mesh.h"

namespace cli {

std::string tree_text(const reader::Snapshot &snapshot, const Options &options, bool with_stations);
std::string path_text(const reader::Snapshot &snapshot, const reader::Station &station, const Options &options);
std::string path_text(const reader::Snapshot &snapshot, const reader::Device &device, const Options &options);
std::string show_text(const reader::Snapshot &snapshot, const Found &found, const Options &options);

}  // namespace cli
