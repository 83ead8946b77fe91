#include "lab/host/platform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "module/platform/helpers.h"
#include "module/platform/lanmon.h"
#include "module/platform/mcfg.h"

namespace {

using lab::DeviceDescription;

lab::Device *answering = nullptr;  // the functions below have no argument that could hold it

constexpr int kSuccess = 0;
constexpr int kFailure = -1;

int fill(char *buffer, int size, const std::string &text) {
    if (size < 1 || text.size() >= static_cast<std::size_t>(size)) {
        return kFailure;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return kSuccess;
}

template <std::size_t N>
void fill_field(char (&field)[N], const std::string &text) {
    (void)std::snprintf(field, N, "%s", text.c_str());
}

int tell(char *buffer, int size, const std::string DeviceDescription::*member) {
    return answering->ask([=](const DeviceDescription &now) { return fill(buffer, size, now.*member); });
}

mcfg_wifi_ssid *wifi_object(const lab::WifiInterface &wifi) {
    auto *object = static_cast<mcfg_wifi_ssid *>(std::calloc(1, sizeof(mcfg_wifi_ssid)));
    if (object != nullptr) {
        object->Enable = wifi.enable ? 1 : 0;
        fill_field(object->Status, wifi.status);
        fill_field(object->Name, wifi.name);
        fill_field(object->MACAddress, wifi.mac);
        fill_field(object->BSSID, wifi.bssid);
    }
    return object;
}

mcfg_ethernet_link *link_object(const lab::EthernetLink &link) {
    auto *object = static_cast<mcfg_ethernet_link *>(std::calloc(1, sizeof(mcfg_ethernet_link)));
    if (object != nullptr) {
        fill_field(object->Status, link.status);
        fill_field(object->LowerLayers, link.lower_layers);
        fill_field(object->MACAddress, link.mac);
    }
    return object;
}

// index[0] is the instance last returned, index[1] and index[2] count how far the walk is.
template <class Item, class Make>
int next_object(const std::vector<Item> &items, mcfg_instance &place, void **object, Make make) {
    const std::size_t at = place.index[1] + 256U * place.index[2];
    if (at >= items.size()) {
        return kFailure;
    }
    const Item &item = items[at];
    void *copy = make(item);
    if (copy == nullptr) {
        return kFailure;
    }
    place.index[1] = static_cast<uint8_t>(at + 1);
    place.index[2] = static_cast<uint8_t>((at + 1) / 256);
    *object = copy;
    return MCFG_SUCCESS;
}

int next_of_device(const DeviceDescription &now, uint32_t object_id, mcfg_instance &instance, void **object) {
    if (object_id == MCFG_WIFI_SSID) {
        return next_object(now.wifi, instance, object, [&instance](const lab::WifiInterface &wifi) {
            instance.index[0] = static_cast<uint8_t>(wifi.instance);
            return wifi_object(wifi);
        });
    }
    if (object_id == MCFG_ETHERNET_LINK) {
        return next_object(now.ethernet_links, instance, object, [&instance](const lab::EthernetLink &link) {
            ++instance.index[0];
            return link_object(link);
        });
    }
    return kFailure;
}

// Of the mesh device that the station is an interface of; none for a client.
std::string mesh_al_mac(const DeviceDescription &now, std::string_view station) {
    for (const auto &[name, stations] : now.stations) {
        for (const lab::Station &entry : stations) {
            if (!entry.mesh_al_mac.empty() && entry.mac == station) {
                return entry.mesh_al_mac;
            }
        }
    }
    return "";
}

lanmon_l2_device *device_list(const DeviceDescription &now) {
    lanmon_l2_device *head = nullptr;
    lanmon_l2_device **link = &head;
    for (const std::string &mac : now.known_devices) {
        *link = static_cast<lanmon_l2_device *>(std::calloc(1, sizeof(lanmon_l2_device)));
        if (*link == nullptr) {
            break;
        }
        fill_field((*link)->AlMac, mac);
        link = &(*link)->next;
    }
    return head;
}

}  // namespace

namespace lab {

void answer_for(Device &device) { answering = &device; }

}  // namespace lab

extern "C" {

int getEasyMeshStatus() {
    return answering->ask([](const DeviceDescription &now) { return now.easymesh ? 1 : 0; });
}

int EasyMeshGetDeviceRole(char *role, int size) {
    return tell(role, size, &DeviceDescription::role) == kSuccess ? 1 : 0;
}

int getControllerMac(char *mac, int size) { return tell(mac, size, &DeviceDescription::controller_mac); }
int getFWVersion(char *version, int size) { return tell(version, size, &DeviceDescription::firmware_version); }
int getHostName(char *name, int size) { return tell(name, size, &DeviceDescription::host_name); }
int getDeviceIP(char *address, int size) { return tell(address, size, &DeviceDescription::ip); }
int qoUtilIGetBaseMACwithColon(char *mac, int size) { return tell(mac, size, &DeviceDescription::base_mac); }

int mcfgFeObjStructGetNext(uint32_t object_id, mcfg_instance *instance, void **object) {
    return answering->ask(
        [=](const DeviceDescription &now) { return next_of_device(now, object_id, *instance, object); });
}

int StaInfo(const char *ifname, int station, sta_query_record *record) {
    return answering->ask([=](const DeviceDescription &now) {
        const auto found = now.stations.find(ifname);
        if (found == now.stations.end() || station < 1 || static_cast<std::size_t>(station) > found->second.size()) {
            return 0;
        }
        const lab::Station &entry = found->second[static_cast<std::size_t>(station) - 1];
        fill_field(record->MACAddress, entry.mac);
        record->PhyRate = static_cast<uint32_t>(entry.rate);
        return 1;
    });
}

int lanmon_db_is_subIntf(const sta_query_record *station, char *mac, int size) {
    const std::string al_mac =
        answering->ask([=](const DeviceDescription &now) { return mesh_al_mac(now, station->MACAddress); });
    return !al_mac.empty() && fill(mac, size, al_mac) == kSuccess ? 1 : 0;
}

lanmon_l2_device *lanmon_db_L2Device_get() { return answering->ask(device_list); }

int configWlanEnable(int instance, int enable, const char *dat_path, const char *prefix) {
    const auto wifi = answering->switch_wifi(instance, enable == 1);
    if (!wifi) {
        return kFailure;
    }
    std::printf("host: %s switched %s (%s, prefix %s)\n", wifi->name.c_str(), wifi->enable ? "on" : "off", dat_path,
                prefix);
    return kSuccess;
}
}
