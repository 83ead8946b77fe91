#include "lab/replay/field_device.h"

#include <cstdlib>
#include <map>
#include <string>

#include "lab/common/text.h"
#include "reader/json.h"

namespace lab {
namespace {

using nlohmann::json;
using Json = nlohmann::ordered_json;

constexpr const char *kNoMac = "00:00:00:00:00:00";
constexpr std::size_t kMaxText = 127;     // of the platform's texts
constexpr std::size_t kMaxBssOfBand = 4;  // nobody asks for the stations of more
constexpr int kFirstHighChannel = 36;
constexpr int kMaxRate = 65535;

std::string mac_or_none(const std::string &text) { return is_mac(text) ? text : kNoMac; }

std::string al_mac(const json &entry) { return mac_or_none(dump_text(entry, "AL MAC")); }

bool is_controller(const json &entry) { return dump_text(entry, "Device role") == "01"; }

std::string controller_mac(const json &entries) {
    for (const json &entry : entries) {
        if (is_controller(entry)) {
            return al_mac(entry);
        }
    }
    return kNoMac;
}

// AL MACs by the MAC of the station interface that a device's uplink uses.
std::map<std::string, std::string> uplinks(const json &entries) {
    std::map<std::string, std::string> macs;
    for (const json &entry : entries) {
        for (const json &uplink : reader::items(entry, "BH Interface(APCLI)")) {
            macs[dump_text(uplink, "MAC address")] = al_mac(entry);
        }
    }
    return macs;
}

Json stations_of(const json &bss, const std::map<std::string, std::string> &uplink_macs) {
    Json stations = Json::array();
    for (const json &station : reader::items(bss, "connected sta info")) {
        const std::string mac = dump_text(station, "STA MAC address");
        if (!is_mac(mac) || mac == kNoMac || (std::strtol(mac.c_str(), nullptr, 16) & 1) != 0) {
            continue;
        }
        const long rate = std::strtol(dump_text(station, "uplink rate").c_str(), nullptr, 10);
        Json item = {{"mac", mac}, {"rate", rate >= 0 && rate <= kMaxRate ? rate : 0}};
        const auto mesh_device = uplink_macs.find(mac);
        if (mesh_device != uplink_macs.end()) {
            item["mesh_al_mac"] = mesh_device->second;
        }
        stations.push_back(item);
    }
    return stations;
}

// Gives each BSS the interface that it has on a gateway, by its band and place.
class Radios {
public:
    Radios(const json &entries, Json &description) : uplink_macs_(uplinks(entries)), description_(description) {}

    void add(const json &radio) {
        const bool high = std::atoi(dump_text(radio, "channel").c_str()) >= kFirstHighChannel;
        for (const json &bss : reader::items(radio, "BSSINFO")) {
            add_bss(bss, high ? high_ : low_);
        }
    }

private:
    struct Interfaces {
        std::string prefix;
        std::size_t first_instance;
        std::size_t count = 0;
    };

    void add_bss(const json &bss, Interfaces &interfaces) {
        const std::string bssid = dump_text(bss, "BSSID");
        if (!is_mac(bssid) || interfaces.count == kMaxBssOfBand) {
            return;
        }
        const std::size_t number = interfaces.count++;
        const std::string name = interfaces.prefix + std::to_string(number);
        description_["wifi"].push_back(
            {{"instance", interfaces.first_instance + number}, {"name", name}, {"mac", bssid}, {"bssid", bssid}});
        description_["stations"][name] = stations_of(bss, uplink_macs_);
    }

    std::map<std::string, std::string> uplink_macs_;
    Json &description_;
    Interfaces low_ = {"ra", 1};
    Interfaces high_ = {"rai", 5};
};

}  // namespace

Json field_device(const DumpFile &dump) {
    const json &entries = dump.entries;
    const json own = entries.empty() ? json::object() : entries[0];
    const std::string name = dump_text(own, "Device name");
    Json description = {{"role", entries.empty() || is_controller(own) ? "controller" : "agent"},
                        {"base_mac", al_mac(own)},
                        {"controller_mac", controller_mac(entries)},
                        {"firmware_version", ""},
                        {"host_name", name.size() <= kMaxText ? name : ""},
                        {"ip", ""},
                        {"wifi", Json::array()},
                        {"stations", Json::object()},
                        {"known_devices", Json::array()}};
    Radios radios(entries, description);
    for (const json &radio : reader::items(own, "Radio Info")) {
        radios.add(radio);
    }
    if (description["wifi"].empty()) {
        description["ethernet_links"] =
            Json::array({{{"lower_layers", "Device.Bridging.Bridge.1.Port.1"}, {"mac", al_mac(own)}}});
    }
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (al_mac(entries[i]) != kNoMac) {
            description["known_devices"].push_back(al_mac(entries[i]));
        }
    }
    return description;
}

}  // namespace lab
