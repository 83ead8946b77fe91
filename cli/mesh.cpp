#include "cli/mesh.h"

#include <algorithm>

#include "cli/text.h"

namespace cli {

using reader::Device;
using reader::Mac;
using reader::Snapshot;
using reader::Station;

namespace {

std::size_t hops_of(const Device &device) { return device.hops ? *device.hops : SIZE_MAX; }

// Four steps from -80 dBm on.
std::string bar(int signal) {
    constexpr const char *kBars[] = {"\xe2\x96\x81\xc2\xb7\xc2\xb7\xc2\xb7", "\xe2\x96\x81\xe2\x96\x83\xc2\xb7\xc2\xb7",
                                     "\xe2\x96\x81\xe2\x96\x83\xe2\x96\x85\xc2\xb7",
                                     "\xe2\x96\x81\xe2\x96\x83\xe2\x96\x85\xe2\x96\x87"};
    return std::string(kBars[std::clamp((signal + 90) / 10, 0, 3)]) + ' ';
}

}  // namespace

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

std::vector<const Device *> ordered_devices(const Snapshot &snapshot) {
    std::vector<const Device *> devices;
    devices.reserve(snapshot.devices.size());
    for (const Device &device : snapshot.devices) {
        devices.push_back(&device);
    }
    std::stable_sort(devices.begin(), devices.end(),
                     [](const Device *a, const Device *b) { return hops_of(*a) < hops_of(*b); });
    return devices;
}

StationsByDevice by_device(const Snapshot &snapshot) {
    StationsByDevice stations;
    for (const Station &station : snapshot.stations) {
        stations[station.device].push_back(&station);
    }
    return stations;
}

namespace {

// As people type them: with hyphens, too.
std::optional<Mac> typed_mac(std::string text) {
    std::replace(text.begin(), text.end(), '-', ':');
    return Mac::parse(text);
}

}  // namespace

Found find(const Snapshot &snapshot, const std::string &text) {
    const auto mac = typed_mac(text);
    const auto is_named = [wanted = lower_case(text)](const auto &item) {
        return (item.name && lower_case(*item.name) == wanted) || item.address == wanted;
    };
    Found found;
    for (const Device &device : snapshot.devices) {
        if (device.al_mac == mac || is_named(device) ||
            std::any_of(device.interfaces.begin(), device.interfaces.end(),
                        [&](const reader::Interface &interface) { return interface.mac == mac; })) {
            found.devices.push_back(&device);
        }
    }
    for (const Station &station : snapshot.stations) {
        if (station.mac == mac || is_named(station)) {
            found.stations.push_back(&station);
        }
    }
    return found;
}

std::vector<std::string> names_like(const Snapshot &snapshot, const std::string &text) {
    std::vector<std::string> names;
    const auto take = [&, wanted = lower_case(text)](const auto &item) {
        if (item.name && lower_case(*item.name).find(wanted) != std::string::npos) {
            names.push_back(*item.name);
        }
    };
    std::for_each(snapshot.devices.begin(), snapshot.devices.end(), take);
    std::for_each(snapshot.stations.begin(), snapshot.stations.end(), take);
    return names;
}

std::vector<const Device *> way_of(const Snapshot &snapshot, Mac al_mac) {
    std::vector<const Device *> way;
    for (const Device *device = snapshot.find_device(al_mac); device != nullptr && way.size() < snapshot.devices.size();
         device = device->parent ? snapshot.find_device(*device->parent) : nullptr) {
        way.push_back(device);
    }
    return way;
}

std::string label(const Device &device, const Options &options) {
    return options.names && device.name ? *device.name : device.al_mac.text();
}

std::string label(const Station &station, const Options &options) {
    return options.names && station.name ? *station.name : station.mac.text();
}

std::string label(const Snapshot &snapshot, std::optional<Mac> al_mac, const Options &options) {
    const Device *device = al_mac ? snapshot.find_device(*al_mac) : nullptr;
    return device != nullptr ? label(*device, options) : al_mac ? al_mac->text() : "";
}

Count count_of(const StationsByDevice &stations, Mac al_mac) {
    Count count;
    const auto here = stations.find(al_mac);
    if (here != stations.end()) {
        count.wired = static_cast<std::size_t>(std::count_if(here->second.begin(), here->second.end(),
                                                             [](const Station *station) { return station->is_wired; }));
        count.stations = here->second.size() - count.wired;
    }
    return count;
}

std::string count_text(const Count &count) {
    return counted(count.stations, "station") + (count.wired != 0 ? ", " + std::to_string(count.wired) + " wired" : "");
}

std::string band_of(const Station &station) { return station.is_wired ? "wired" : in_words(station.band); }

std::string link_text(const std::string &medium, const std::optional<int> &signal, const std::optional<int> &rate,
                      const Options &options) {
    std::string text = medium;
    const auto add = [&text](const std::string &part) { text += (text.empty() ? "" : " ") + part; };
    if (signal) {
        add(paint((options.bars ? bar(*signal) : "") + std::to_string(*signal) + " dBm", tone_of(*signal), options));
    }
    if (rate) {
        add(std::to_string(*rate) + " Mbit/s");
    }
    return text.empty() ? "unknown" : text;
}

}  // namespace cli
