#include "lab/world/scenario.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "lab/common/error.h"
#include "lab/common/json.h"
#include "lab/common/text.h"

namespace lab {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kUplinkOffset = 11;
constexpr std::size_t kMaxDevices = 255;  // what a count of interfaces or devices holds everywhere
constexpr std::size_t kMaxText = 127;     // of the platform's texts
constexpr std::size_t kMaxBssOfBand = 4;  // nobody asks for the stations of more

template <class Value>
using Names = std::map<std::string, Value>;

const Names<Role> kRoles = {{"controller", Role::kController}, {"agent", Role::kAgent}};
const Names<Band> kBands = {{"2.4 GHz", Band::k2_4GHz}, {"5 GHz", Band::k5GHz}};
const Names<Medium> kMedia = {{"2.4 GHz", Medium::k2_4GHz}, {"5 GHz", Medium::k5GHz}, {"Ethernet", Medium::kEthernet}};
const Names<bool> kUses = {{"fronthaul", false}, {"backhaul", true}};

template <class Value>
Value read_name(const JsonValue &value, const Names<Value> &names) {
    const auto found = names.find(value.text());
    if (found == names.end()) {
        std::string choice;
        for (const auto &[name, meaning] : names) {
            choice += (choice.empty() ? "\"" : " or \"") + name + "\"";
        }
        value.fail("must be " + choice);
    }
    return found->second;
}

template <class Value>
std::string name_of(Value meaning, const Names<Value> &names) {
    return std::find_if(names.begin(), names.end(), [&](const auto &name) { return name.second == meaning; })->first;
}

// Device names become folders and words of commands.
std::string read_device_name(const JsonValue &value) {
    std::string name = value.text();
    const auto fits = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '_'; };
    if (name.empty() || name.size() > 32 || name[0] == '-' || !std::all_of(name.begin(), name.end(), fits)) {
        value.fail("must be 1 to 32 letters, digits, \"-\" or \"_\"");
    }
    return name;
}

std::string read_short_text(const JsonValue &value) {
    std::string text = value.text();
    if (text.size() > kMaxText) {
        value.fail("must be at most " + std::to_string(kMaxText) + " bytes long");
    }
    if (text.find('\0') != std::string::npos) {
        value.fail("must not hold a zero byte");
    }
    return text;
}

// A word of a lease line.
std::string read_word(const JsonValue &value) {
    std::string word = read_short_text(value);
    if (word.empty() || std::any_of(word.begin(), word.end(), [](unsigned char c) { return c <= ' ' || c == 0x7f; })) {
        value.fail("must be a word without blanks");
    }
    return word;
}

std::string read_word_or(const JsonValue &object, const std::string &key, const std::string &otherwise) {
    return object.has(key) ? read_word(object.at(key)) : otherwise;
}

std::string read_address(const JsonValue &value) {
    std::string address = value.text();
    in6_addr parsed = {};  // large enough for both
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1 && inet_pton(AF_INET6, address.c_str(), &parsed) != 1) {
        value.fail("must be an IP address such as \"192.168.1.20\"");
    }
    return address;
}

// Reads the devices and stations and keeps what has to be unique or to be found again.
class Reader {
public:
    Scenario read(const JsonValue &file) {
        file.allow_keys({"seed", "pace", "devices", "stations"});
        scenario_.seed = static_cast<std::uint64_t>(file.integer_or("seed", 0, INT32_MAX, 1));
        if (file.has("pace")) {
            read_pace(file.at("pace"));
        }
        const JsonValue devices = file.at("devices");
        for (const JsonValue &item : devices.items()) {
            scenario_.devices.push_back(read_device(item));
            items_.push_back(item);
        }
        check_devices(devices);
        for (std::size_t i = 0; i < items_.size(); ++i) {
            if (items_[i].has("backhaul")) {
                read_backhaul(items_[i].at("backhaul"), scenario_.devices[i]);
            }
        }
        check_tree(devices);
        for (const JsonValue &item : file.items_of("stations")) {
            scenario_.stations.push_back(read_station(item));
        }
        return scenario_;
    }

private:
    void read_pace(const JsonValue &value) {
        value.allow_keys({"roam", "leave", "come_back", "drift"});
        Pace &pace = scenario_.pace;
        pace.roam = value.integer_or("roam", 0, 100, pace.roam);
        pace.leave = value.integer_or("leave", 0, 100, pace.leave);
        pace.come_back = value.integer_or("come_back", 0, 100, pace.come_back);
        pace.drift = value.integer_or("drift", 0, 20, pace.drift);
        if (pace.roam + pace.leave > 100) {
            value.fail("roam and leave must be at most 100 together");
        }
    }

    std::string read_new_mac(const JsonValue &value) {
        std::string mac = lower_case(value.device_mac());
        if (!macs_.insert(mac).second) {
            value.fail(mac + " is there twice");
        }
        return mac;
    }

    std::string read_new_mac_or(const JsonValue &object, const std::string &key, const std::string &otherwise) {
        if (object.has(key)) {
            return read_new_mac(object.at(key));
        }
        if (!macs_.insert(otherwise).second) {
            object.fail("needs \"" + key + "\": " + otherwise + ", which it would be, is there already");
        }
        return otherwise;
    }

    DeviceAtStart read_device(const JsonValue &value) {
        value.allow_keys({"name", "role", "al_mac", "base_mac", "uplink_mac", "firmware_version", "host_name", "ip",
                          "lease_ip", "radios", "backhaul", "wired_clients"});
        DeviceAtStart device;
        device.name = read_device_name(value.at("name"));
        if (!places_.emplace(device.name, places_.size()).second) {
            value.at("name").fail("\"" + device.name + "\" is there twice");
        }
        device.role = read_name(value.at("role"), kRoles);
        device.al_mac = read_new_mac(value.at("al_mac"));
        device.base_mac = value.mac_or("base_mac", device.al_mac);
        device.uplink_mac = read_new_mac_or(value, "uplink_mac", mac_beside(device.al_mac, kUplinkOffset));
        device.firmware_version = read_short_text(value.at("firmware_version"));
        device.host_name = read_word_or(value, "host_name", device.name);
        device.ip = read_address(value.at("ip"));
        device.lease_ip = value.has("lease_ip") ? read_address(value.at("lease_ip")) : device.ip;
        for (const JsonValue &item : value.items_of("radios")) {
            device.radios.push_back(read_radio(item, device));
        }
        for (const JsonValue &item : value.items_of("wired_clients")) {
            device.wired_clients.push_back(read_new_mac(item));
        }
        return device;
    }

    Radio read_radio(const JsonValue &value, const DeviceAtStart &device) {
        value.allow_keys({"channel", "bss"});
        Radio radio;
        radio.channel = value.at("channel").integer(1, 196);
        const bool twice = std::any_of(device.radios.begin(), device.radios.end(),
                                       [&](const Radio &other) { return other.band() == radio.band(); });
        if (twice) {
            value.fail("a second radio of the same band");
        }
        const JsonValue list = value.at("bss");
        for (const JsonValue &item : list.items()) {
            radio.bss.push_back(read_bss(item, radio));
        }
        return radio;
    }

    Bss read_bss(const JsonValue &value, const Radio &radio) {
        value.allow_keys({"interface", "bssid", "use"});
        const std::string prefix = radio.band() == Band::k2_4GHz ? "ra" : "rai";
        Bss bss;
        bss.interface = value.text_or("interface", prefix + std::to_string(radio.bss.size()));
        for (std::size_t i = 0; i < kMaxBssOfBand && bss.number < 0; ++i) {
            bss.number = bss.interface == prefix + std::to_string(i) ? static_cast<int>(i) : -1;
        }
        if (bss.number < 0) {
            value.fail("interface \"" + bss.interface + "\": must be " + prefix + "0 to " + prefix + "3");
        }
        const bool twice = std::any_of(radio.bss.begin(), radio.bss.end(),
                                       [&](const Bss &other) { return other.number == bss.number; });
        if (twice) {
            value.fail("interface " + bss.interface + " is there twice");
        }
        bss.bssid = read_new_mac(value.at("bssid"));
        bss.backhaul = value.has("use") && read_name(value.at("use"), kUses);
        return bss;
    }

    void check_devices(const JsonValue &list) const {
        if (scenario_.devices.empty() || scenario_.devices.size() > kMaxDevices) {
            list.fail("must have 1 to " + std::to_string(kMaxDevices) + " items");
        }
        const auto controllers =
            std::count_if(scenario_.devices.begin(), scenario_.devices.end(),
                          [](const DeviceAtStart &device) { return device.role == Role::kController; });
        if (controllers != 1) {
            list.fail("must have one Controller, has " + std::to_string(controllers));
        }
    }

    std::size_t read_place(const JsonValue &value) const {
        const auto found = places_.find(value.text());
        if (found == places_.end()) {
            value.fail("there is no device \"" + value.text() + "\"");
        }
        return found->second;
    }

    void read_backhaul(const JsonValue &value, DeviceAtStart &device) const {
        value.allow_keys({"to", "over", "signal", "rate"});
        device.has_backhaul = true;
        Backhaul &link = device.backhaul;
        link.to = read_place(value.at("to"));
        link.over = read_name(value.at("over"), kMedia);
        link.rate = value.at("rate").integer(1, kMaxRate);
        if (link.over == Medium::kEthernet) {
            if (value.has("signal")) {
                value.at("signal").fail("an Ethernet link has none");
            }
            return;
        }
        link.signal = value.at("signal").integer(kMinSignal, kMaxSignal);
        const Band band = link.over == Medium::k5GHz ? Band::k5GHz : Band::k2_4GHz;
        if (!has_bss(scenario_.devices[link.to], band, true)) {
            value.at("over").fail(scenario_.devices[link.to].name + " has no backhaul BSS on that band");
        }
    }

    static bool has_bss(const DeviceAtStart &device, Band band, bool backhaul) {
        return std::any_of(device.radios.begin(), device.radios.end(), [=](const Radio &radio) {
            return radio.band() == band && std::any_of(radio.bss.begin(), radio.bss.end(),
                                                       [=](const Bss &bss) { return bss.backhaul == backhaul; });
        });
    }

    // One root; from every other device the links lead to it.
    void check_tree(const JsonValue &list) const {
        const auto roots = std::count_if(scenario_.devices.begin(), scenario_.devices.end(),
                                         [](const DeviceAtStart &device) { return !device.has_backhaul; });
        if (roots != 1) {
            list.fail("must have one device without \"backhaul\", has " + std::to_string(roots));
        }
        for (std::size_t i = 0; i < scenario_.devices.size(); ++i) {
            const DeviceAtStart *device = &scenario_.devices[i];
            for (std::size_t steps = 0; device->has_backhaul; ++steps) {
                if (steps > scenario_.devices.size()) {
                    items_[i].at("backhaul").fail("goes round in a circle");
                }
                device = &scenario_.devices[device->backhaul.to];
            }
        }
    }

    StationAtStart read_station(const JsonValue &value) {
        value.allow_keys({"mac", "device", "band", "signal", "rate", "host_name", "ip", "stays"});
        StationAtStart station;
        station.mac = read_new_mac(value.at("mac"));
        station.device = read_place(value.at("device"));
        station.band = read_name(value.at("band"), kBands);
        if (!has_bss(scenario_.devices[station.device], station.band, false)) {
            value.at("band").fail(scenario_.devices[station.device].name + " has no BSS for stations on that band");
        }
        station.signal = value.at("signal").integer(kMinSignal, kMaxSignal);
        station.rate = value.at("rate").integer(1, kMaxRate);
        station.host_name = read_word_or(value, "host_name", "*");
        station.ip = read_address(value.at("ip"));
        station.stays = value.boolean_or("stays", false);
        return station;
    }

    Scenario scenario_;
    std::vector<JsonValue> items_;               // of the devices
    std::map<std::string, std::size_t> places_;  // of the devices, by name
    std::set<std::string> macs_;
};

Json bss_json(const Bss &bss) {
    return {{"interface", bss.interface}, {"bssid", bss.bssid}, {"use", name_of(bss.backhaul, kUses)}};
}

Json device_json(const DeviceAtStart &device, const Scenario &scenario) {
    Json radios = Json::array();
    for (const Radio &radio : device.radios) {
        Json list = Json::array();
        std::transform(radio.bss.begin(), radio.bss.end(), std::back_inserter(list), bss_json);
        radios.push_back({{"channel", radio.channel}, {"bss", list}});
    }
    Json json = {{"name", device.name},
                 {"role", name_of(device.role, kRoles)},
                 {"al_mac", device.al_mac},
                 {"base_mac", device.base_mac},
                 {"uplink_mac", device.uplink_mac},
                 {"firmware_version", device.firmware_version},
                 {"host_name", device.host_name},
                 {"ip", device.ip},
                 {"lease_ip", device.lease_ip},
                 {"radios", radios},
                 {"wired_clients", device.wired_clients}};
    if (device.has_backhaul) {
        const Backhaul &link = device.backhaul;
        Json backhaul = {{"to", scenario.devices[link.to].name}, {"over", name_of(link.over, kMedia)}};
        if (link.over != Medium::kEthernet) {
            backhaul["signal"] = link.signal;
        }
        backhaul["rate"] = link.rate;
        json["backhaul"] = backhaul;
    }
    return json;
}

Json station_json(const StationAtStart &station, const Scenario &scenario) {
    Json json = {{"mac", station.mac},
                 {"device", scenario.devices[station.device].name},
                 {"band", name_of(station.band, kBands)},
                 {"signal", station.signal},
                 {"rate", station.rate},
                 {"host_name", station.host_name},
                 {"ip", station.ip}};
    if (station.stays) {
        json["stays"] = true;
    }
    return json;
}

// A line per item.
std::string list_text(const std::vector<Json> &items) {
    std::string text;
    for (const Json &item : items) {
        text += (text.empty() ? "\n    " : ",\n    ") + item.dump();
    }
    return "[" + text + "\n  ]";
}

}  // namespace

Scenario Scenario::read(const JsonValue &file) { return Reader().read(file); }

std::string Scenario::text() const {
    std::vector<Json> device_items;
    std::vector<Json> station_items;
    for (const DeviceAtStart &device : devices) {
        device_items.push_back(device_json(device, *this));
    }
    for (const StationAtStart &station : stations) {
        station_items.push_back(station_json(station, *this));
    }
    const Json pace_json = {
        {"roam", pace.roam}, {"leave", pace.leave}, {"come_back", pace.come_back}, {"drift", pace.drift}};
    return "{\n  \"seed\": " + std::to_string(seed) + ",\n  \"pace\": " + pace_json.dump() +
           ",\n  \"devices\": " + list_text(device_items) + ",\n  \"stations\": " + list_text(station_items) + "\n}\n";
}

std::string mac_beside(const std::string &mac, int offset) {
    constexpr std::size_t kLast = 15;
    constexpr char kDigits[] = "0123456789abcdef";
    const unsigned last = (static_cast<unsigned>(std::stoi(mac.substr(kLast), nullptr, 16) + offset)) & 0xffU;
    return mac.substr(0, kLast) + kDigits[last >> 4U] + kDigits[last & 0xfU];
}

}  // namespace lab
