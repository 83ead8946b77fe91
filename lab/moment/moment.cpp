#include "lab/moment/moment.h"

#include <algorithm>

namespace lab {
namespace {

using reader::Mac;

reader::Band band_of(Band band) { return band == Band::k5GHz ? reader::Band::k5GHz : reader::Band::k2_4GHz; }

reader::Medium medium_of(Medium medium) {
    constexpr reader::Medium kMedia[] = {reader::Medium::k2_4GHz, reader::Medium::k5GHz, reader::Medium::kEthernet};
    return kMedia[static_cast<int>(medium)];
}

// Scenarios are checked when they are read.
Mac mac_of(const std::string &text) { return Mac::parse(text).value(); }

std::optional<std::string> text_of(const std::string &text) {
    return text.empty() || text == "*" ? std::nullopt : std::optional(text);
}

std::vector<reader::Interface> interfaces_of(const DeviceAtStart &device) {
    std::vector<reader::Interface> interfaces;
    for (const Radio &radio : device.radios) {
        for (const Bss &bss : radio.bss) {
            interfaces.push_back({mac_of(bss.bssid), "", band_of(radio.band()), reader::Interface::Use::kBss});
        }
    }
    if (const auto uplink = Mac::parse(device.uplink_mac)) {
        interfaces.push_back({*uplink, "", {}, reader::Interface::Use::kUplink});
    }
    std::sort(interfaces.begin(), interfaces.end(),
              [](const reader::Interface &a, const reader::Interface &b) { return a.mac < b.mac; });
    return interfaces;
}

reader::Device device_of(const World &world, std::size_t place, bool is_local) {
    const DeviceAtStart &start = world.at_start(place);
    reader::Device device{mac_of(start.al_mac), is_local, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    device.name = text_of(start.host_name);
    device.role = world.now(place).role == Role::kController ? reader::Role::kController : reader::Role::kAgent;
    device.address = text_of(start.lease_ip.empty() ? start.ip : start.lease_ip);
    device.firmware = text_of(start.firmware_version);
    device.hops = world.depth(place);
    if (start.has_backhaul) {
        device.parent = mac_of(world.at_start(start.backhaul.to).al_mac);
        device.medium = medium_of(start.backhaul.over);
        if (start.backhaul.over != Medium::kEthernet) {
            device.signal = start.backhaul.signal;
            device.rate = start.backhaul.rate;
        }
    }
    device.interfaces = interfaces_of(start);
    return device;
}

reader::Station station_of(const World &world, std::size_t place, BssPlace bss) {
    const StationAtStart &start = world.station(place);
    const StationNow &now = world.station_now(place);
    const Bss &at = world.bss(now.device, bss);
    return {mac_of(start.mac),        mac_of(world.at_start(now.device).al_mac),
            text_of(start.host_name), text_of(start.ip),
            mac_of(at.bssid),         at.interface,
            band_of(start.band),      now.signal,
            world.rate(place),        false};
}

reader::Station wired_station(const std::string &mac, Mac device) {
    return {mac_of(mac), device, {}, {}, {}, {}, {}, {}, {}, true};
}

void add_stations(const World &world, const std::vector<bool> &is_there, reader::Snapshot &snapshot) {
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        const auto bss = world.bss_of(i);
        if (bss && is_there[world.station_now(i).device]) {
            snapshot.stations.push_back(station_of(world, i, *bss));
        }
    }
    const auto by_mac = [](const reader::Station &a, const reader::Station &b) { return a.mac < b.mac; };
    std::sort(snapshot.stations.begin(), snapshot.stations.end(), by_mac);
}

}  // namespace

reader::Snapshot moment_of(const World &world, reader::Time time) {
    reader::Snapshot snapshot;
    snapshot.source = "world";
    snapshot.time = snapshot.read_at = time;
    snapshot.knows_local_stations = true;
    const std::size_t local = world.controller().value_or(0);
    std::vector<bool> is_there(world.size());
    for (std::size_t i = 0; i < world.size(); ++i) {
        is_there[i] = world.reaches(local, i);
        if (is_there[i]) {
            snapshot.devices.push_back(device_of(world, i, i == local));
            for (const std::string &mac : world.at_start(i).wired_clients) {
                snapshot.stations.push_back(wired_station(mac, snapshot.devices.back().al_mac));
            }
        }
    }
    const auto by_al_mac = [](const reader::Device &a, const reader::Device &b) { return a.al_mac < b.al_mac; };
    std::sort(snapshot.devices.begin(), snapshot.devices.end(), by_al_mac);
    add_stations(world, is_there, snapshot);
    return snapshot;
}

}  // namespace lab
