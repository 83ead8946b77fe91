#include "lab/host/device.h"

#include <algorithm>

#include "lab/common/error.h"

namespace lab {

namespace {

constexpr int kMaxRate = 65535;

// As long as the platform's text fields hold.
std::string short_text(const JsonValue &value, std::size_t most) {
    std::string text = value.text();
    if (text.size() > most) {
        value.fail("must be at most " + std::to_string(most) + " bytes long");
    }
    return text;
}

std::string read_role(const JsonValue &value) {
    const std::string role = value.text();
    if (role != "controller" && role != "agent") {
        value.fail("must be \"controller\" or \"agent\"");
    }
    return role == "controller" ? "1" : "2";
}

WifiInterface read_wifi(const JsonValue &value) {
    value.allow_keys({"instance", "name", "enable", "status", "mac", "bssid"});
    return {value.at("instance").integer(1, 255),
            short_text(value.at("name"), 31),
            value.boolean_or("enable", true),
            value.text_or("status", "Up"),
            value.at("mac").mac(),
            value.text_or("bssid", "")};
}

EthernetLink read_link(const JsonValue &value) {
    value.allow_keys({"status", "lower_layers", "mac"});
    return {value.text_or("status", "Up"), value.at("lower_layers").text(), value.at("mac").mac()};
}

Station read_station(const JsonValue &value) {
    value.allow_keys({"mac", "rate", "mesh_al_mac"});
    return {value.at("mac").device_mac(), value.at("rate").integer(0, kMaxRate), value.mac_or("mesh_al_mac", "")};
}

void read_stations(const JsonValue &by_interface, DeviceDescription &description) {
    for (const std::string &name : by_interface.keys()) {
        const bool known = std::any_of(description.wifi.begin(), description.wifi.end(),
                                       [&](const WifiInterface &wifi) { return wifi.name == name; });
        if (!known) {
            by_interface.at(name).fail("\"wifi\" has no interface of that name");
        }
        for (const JsonValue &item : by_interface.at(name).items()) {
            description.stations[name].push_back(read_station(item));
        }
    }
}

}  // namespace

DeviceDescription DeviceDescription::read(const JsonValue &file) {
    file.allow_keys({"easymesh", "role", "base_mac", "controller_mac", "firmware_version", "host_name", "ip", "wifi",
                     "ethernet_links", "stations", "known_devices"});
    DeviceDescription description;
    description.easymesh = file.boolean_or("easymesh", true);
    description.role = read_role(file.at("role"));
    description.base_mac = file.at("base_mac").mac();
    description.controller_mac = file.mac_or("controller_mac", description.base_mac);
    description.firmware_version = short_text(file.at("firmware_version"), 127);
    description.host_name = short_text(file.at("host_name"), 127);
    description.ip = short_text(file.at("ip"), 127);
    for (const JsonValue &item : file.items_of("wifi")) {
        const WifiInterface wifi = read_wifi(item);
        for (const WifiInterface &other : description.wifi) {
            if (other.instance == wifi.instance || other.name == wifi.name) {
                item.fail("an interface of this instance or name is there already");
            }
        }
        description.wifi.push_back(wifi);
    }
    for (const JsonValue &item : file.items_of("ethernet_links")) {
        description.ethernet_links.push_back(read_link(item));
    }
    if (file.has("stations")) {
        read_stations(file.at("stations"), description);
    }
    for (const JsonValue &item : file.items_of("known_devices")) {
        description.known_devices.push_back(item.mac());
    }
    return description;
}

void Device::become(DeviceDescription description) {
    const std::lock_guard guard(lock_);
    now_ = std::move(description);
}

void Device::on_switched(SwitchListener listener) {
    const std::lock_guard guard(lock_);
    on_switched_ = std::move(listener);
}

std::optional<WifiInterface> Device::switch_wifi(int instance, bool enabled) {
    const std::lock_guard guard(lock_);
    for (WifiInterface &wifi : now_.wifi) {
        if (wifi.instance == instance) {
            wifi.enable = enabled;
            wifi.status = enabled ? "Up" : "Down";
            if (on_switched_) {
                on_switched_(instance, enabled);
            }
            return wifi;
        }
    }
    return std::nullopt;
}

}  // namespace lab
