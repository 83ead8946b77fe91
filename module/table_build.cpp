// Builds the AL table from the topology dump and the platform's configuration objects: the local AL, its interfaces,
// and through topology/ the Agent count and the device list. Timer thread, once per cycle.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "module/base/config_walk.h"
#include "module/base/diag.h"
#include "module/base/json.h"
#include "module/base/mac.h"
#include "module/base/owned.h"
#include "module/base/paths.h"
#include "module/base/text.h"
#include "module/model/al_table.h"
#include "module/model/list.h"

namespace qo1905 {
namespace {

constexpr useconds_t kDumpSettleMicroseconds = 100000;
constexpr std::uint32_t kTopologyAvailable = 1;

// What the AL's application versions hold while nobody has a value for them.
constexpr char kNotAvailable[] = "NA";

// The texts that no source fills stay empty, all numbers and switches 0, as allocated.
void fill_local_info(qo1905_device_info &info) {
    fill_field(info.DeviceMode, "Router");
    for (auto *field :
         {&info.Version, &info.L2DeviveCtrl, &info.WiFiAutoCfg, &info.WiFiOnOff, &info.FwUpgrade, &info.LEDOnOff}) {
        fill_field(*field, kNotAvailable);
    }
}

int retrieveAlTable(json_object *topology) {
    qo1905_al_table &al = *getAlTable();
    const char *al_mac = json_text(JsonItems(topology)[0], "AL MAC");
    parse_mac(al_mac, al.IEEE1905Id);
    trace_at("retrieveAlTable", 2276, "AL MAC=%s\n", shown(al_mac));

    // The vendor OUI is 00-00-00, there is no vendor information and the Status is 0, "UP": all as allocated.
    fill_local_info(al.Info);
    return QO1905_SUCCESS;
}

// The local interfaces as the configuration objects tell them, by position in the interface list.
struct LocalInterfaces {
    enum Slot { kBridge, kWifi24G, kWifi5G, kSlots };
    Mac macs[kSlots] = {};
    unsigned count = 0;

    template <std::size_t N>
    void add(Slot slot, const char (&mac)[N]) {
        parse_mac_field(mac, macs[slot]);
        ++count;
    }
};

constexpr std::uint32_t kSlotMediaTypes[LocalInterfaces::kSlots] = {
    QO1905_MEDIA_FAST_ETHERNET, QO1905_MEDIA_80211N_24GHZ, QO1905_MEDIA_80211N_5GHZ};

template <std::size_t N>
bool begins_with(const char (&text)[N], Text beginning) {
    return std::strncmp(text, beginning.data(), std::min(N, beginning.size())) == 0;
}

void find_wifi_interfaces(LocalInterfaces &found) {
    ConfigWalk<mcfg_wifi_ssid> walk(MCFG_WIFI_SSID);
    while (const auto ssid = walk.next()) {
        if (!begins_with(ssid->Status, "Up"sv)) {
            continue;
        }
        if (begins_with(ssid->Name, "ra0"sv)) {
            found.add(LocalInterfaces::kWifi24G, ssid->MACAddress);
        } else if (begins_with(ssid->Name, "rai0"sv)) {
            found.add(LocalInterfaces::kWifi5G, ssid->MACAddress);
        }
    }
}

void find_bridge(LocalInterfaces &found) {
    ConfigWalk<mcfg_ethernet_link> walk(MCFG_ETHERNET_LINK);
    while (const auto link = walk.next()) {
        if (field_is(link->Status, "Up") && contains(field_text(link->LowerLayers), "Bridging.Bridge.1.Port.1"sv)) {
            found.add(LocalInterfaces::kBridge, link->MACAddress);
            return;
        }
    }
}

// Interface nodes by position, not by which objects were found: the first carries the bridge slot even without a
// bridge.
int build_interfaces(qo1905_al_table &al, const LocalInterfaces &found) {
    ListTail<qo1905_al_interface> tail(al.Interface);
    for (unsigned i = 0; i < al.InterfaceNumberOfEntries; ++i) {
        auto *interface = record_new<qo1905_al_interface>();
        if (interface == nullptr) {
            return QO1905_FAILURE;
        }
        if (i < LocalInterfaces::kSlots) {
            copy_mac(interface->InterfaceId, found.macs[i]);
            interface->MediaType = kSlotMediaTypes[i];
        }
        tail.append(interface);
    }
    return QO1905_SUCCESS;
}

void trace_interfaces(const qo1905_al_table &al) {
    constexpr char kName[] = "retrieveIntfTable";
    trace_at(kName, 2236, "================= Interface Num(%d) =================\n", al.InterfaceNumberOfEntries);
    for (const qo1905_al_interface &interface : ListNodes(al.Interface)) {
        trace_at(kName, 2242, "mac=%s mediaType=0x%x\n", MacText(interface.InterfaceId, MacForm::kShort).c_str(),
                 interface.MediaType);
    }
}

int retrieveIntfTable() {
    LocalInterfaces found;
    find_wifi_interfaces(found);
    find_bridge(found);

    qo1905_al_table &al = *getAlTable();
    al.InterfaceNumberOfEntries = static_cast<std::uint8_t>(found.count);
    if (al.InterfaceNumberOfEntries < 1) {
        return QO1905_FAILURE;
    }
    const int result = build_interfaces(al, found);
    if (result == QO1905_SUCCESS) {
        trace_interfaces(al);
    }
    return result;
}

int build_network_topology(json_object *topology) {
    // All else is 0 and empty as allocated: the Status, "Incomplete", the change log and its counts, the device list.
    qo1905_network_topology &network = *getNetTopolTable();
    network.Enable = 1;
    network.IEEE1905DeviceNumberOfEntries = static_cast<std::uint16_t>(get1905AgentDevNumber(topology));
    trace_at("initALTable", 2473, "ieee1905DevNum=%d\n", network.IEEE1905DeviceNumberOfEntries);
    if (network.IEEE1905DeviceNumberOfEntries != 0) {
        const int result = getIeee1905DevTable(topology);
        if (result != QO1905_SUCCESS) {
            std::printf("Fail update Ieee1905DevTable!\n");
            destroy_al_table();
            return result;
        }
    }
    network.Status = kTopologyAvailable;
    return QO1905_SUCCESS;
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t initALTable() {
    constexpr char kName[] = "initALTable";
    usleep(kDumpSettleMicroseconds);  // the daemon may still be writing its dump
    const JsonTree dump = json_read_file(kDumpFile);
    if (dump == nullptr) {
        std::printf("[%s] second chance - dump information is not ready. \n", kName);
        return QO1905_FAILURE;
    }
    json_object *topology = json_member(dump.get(), "topology information");
    if (topology == nullptr) {
        return QO1905_FAILURE;
    }

    destroy_al_table();
    al_table = record_new<qo1905_al_table>();
    if (al_table == nullptr) {
        return QO1905_FAILURE;
    }
    al_table->LastChangeTime = static_cast<std::uint32_t>(std::time(nullptr));
    int result = retrieveAlTable(topology);
    if (result != QO1905_SUCCESS) {
        return result;
    }
    trace_at(kName, 2436, "retrieveAlTable() success\n");
    result = retrieveIntfTable();
    if (result != QO1905_SUCCESS) {
        return result;
    }
    trace_at(kName, 2445, "retrieveIntfTable() success\n");
    return build_network_topology(topology);
}
