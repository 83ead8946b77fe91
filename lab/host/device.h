// The device that the host stands in for, as its description tells it. The platform functions read it on several
// threads, configWlanEnable changes it and a mesh replaces it, so every access holds its lock.
#pragma once

#include <map>
#include <mutex>
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

struct Device : DeviceDescription {
    std::mutex lock;

    void become(DeviceDescription description);
};

// The one device of this process.
extern Device device;

}  // namespace lab
