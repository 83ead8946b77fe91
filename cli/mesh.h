// What everything the command says of a mesh is put together from: order, names, ways, counts and links in words.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "cli/output.h"
#include "cli/tone.h"
#include "reader/snapshot.h"
#include "reader/words.h"

namespace cli {

// The devices as people would list them: from the gateway outwards.
std::vector<const reader::Device *> ordered_devices(const reader::Snapshot &snapshot);

// Stations by the AL MAC of their device, ordered by MAC.
using StationsByDevice = std::map<reader::Mac, std::vector<const reader::Station *>>;
StationsByDevice by_device(const reader::Snapshot &snapshot);

// What goes by this name, whatever its case, MAC or address; several may.
struct Found {
    std::vector<const reader::Device *> devices;
    std::vector<const reader::Station *> stations;
};
Found find(const reader::Snapshot &snapshot, const std::string &text);

// Names with this in them, whatever its case.
std::vector<std::string> names_like(const reader::Snapshot &snapshot, const std::string &text);

// The devices that a device speaks through, from itself to the root.
std::vector<const reader::Device *> way_of(const reader::Snapshot &snapshot, reader::Mac al_mac);

// A name if there is one and names are wanted, else the MAC.
std::string label(const reader::Device &device, const Options &options);
std::string label(const reader::Station &station, const Options &options);
std::string label(const reader::Snapshot &snapshot, std::optional<reader::Mac> al_mac, const Options &options);

// On Wi-Fi, and by cable.
struct Count {
    std::size_t stations = 0;
    std::size_t wired = 0;
};
Count count_of(const StationsByDevice &stations, reader::Mac al_mac);

// "6 stations, 2 wired".
std::string count_text(const Count &count);

// The word of a value; empty when it is unknown.
template <class Word>
std::string in_words(const std::optional<Word> &value) {
    return value ? reader::word(*value) : "";
}

// "2.4 GHz", "5 GHz" or "wired".
std::string band_of(const reader::Station &station);

// "5 GHz -46 dBm 1300 Mbit/s", as far as it is known; with a bar and colour for the signal if the options say so.
std::string link_text(const std::string &medium, const std::optional<int> &signal, const std::optional<int> &rate,
                      const Options &options);

std::string lower_case(std::string text);

}  // namespace cli
