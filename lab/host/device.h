// The device that the host stands in for, as its description tells it.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "lab/common/json.h"

namespace lab {

struct WifiInterface {
    int instance;  // of the configuration object; 1 to 4 are 2.4 GHz, 5 to 8 5 GHz
    std::string name;
    bool enable;
    std::string status;
    std::string mac;
    std::string bssid;
};

struct EthernetLink {
    std::string status;
    std::string lower_layers;
    std::string mac;
};

struct Station {
    std::string mac;
    int rate;                 // Mbit/s
    std::string mesh_al_mac;  // of the mesh device that it is an interface of; empty for a client
};

struct DeviceDescription {
    bool easymesh = true;
    std::string role;  // "1" Controller, "2" Agent
    std::string base_mac;
    std::string controller_mac;
    std::string firmware_version;
    std::string host_name;
    std::string ip;
    std::vector<WifiInterface> wifi;
    std::vector<EthernetLink> ethernet_links;
    std::map<std::string, std::vector<Station>> stations;  // by Wi-Fi interface name
    std::vector<std::string> known_devices;                // AL MACs

    // Throws Error with file, place and what is wrong.
    static DeviceDescription read(const JsonValue &file);
};

// The platform functions read it on several threads, one of them switches interfaces, and a mesh replaces it: whoever
// looks at it holds its lock.
class Device {
public:
    // Called when an interface is switched, with the instance of its configuration object.
    using SwitchListener = std::function<void(int instance, bool enabled)>;

    void become(DeviceDescription description);
    void on_switched(SwitchListener listener);

    // Calls `look` with the description, locked.
    template <class Look>
    auto ask(Look look) const {
        const std::lock_guard guard(lock_);
        return look(static_cast<const DeviceDescription &>(now_));
    }

    // The interface as it then is; none if there is no such instance.
    std::optional<WifiInterface> switch_wifi(int instance, bool enabled);

private:
    mutable std::mutex lock_;
    DeviceDescription now_;
    SwitchListener on_switched_;
};

}  // namespace lab
