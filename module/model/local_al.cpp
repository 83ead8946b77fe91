#include "module/model/local_al.h"

#include <algorithm>
#include <cstring>

#include "module/base/config_walk.h"
#include "module/base/diag.h"
#include "module/base/mac.h"
#include "module/base/text.h"
#include "module/model/band.h"
#include "module/model/list.h"

namespace qo1905 {
namespace {

// What the AL's application versions hold while nobody has a value for them.
constexpr char kNotAvailable[] = "NA";

// By position in the interface list.
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

constexpr std::uint32_t kSlotMediaTypes[LocalInterfaces::kSlots] = {QO1905_MEDIA_FAST_ETHERNET, kBand24G.media_type,
                                                                    kBand5G.media_type};

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
        if (begins_with(ssid->Name, kBand24G.first_interface)) {
            found.add(LocalInterfaces::kWifi24G, ssid->MACAddress);
        } else if (begins_with(ssid->Name, kBand5G.first_interface)) {
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

}  // namespace

// The texts that no source fills stay empty, all numbers and switches 0, the vendor OUI 00-00-00 without vendor
// information, the Status 0 ("UP"): as allocated.
void retrieveAlTable(qo1905_al_table &al, const char *al_mac) {
    parse_mac(al_mac, al.IEEE1905Id);
    trace_at("retrieveAlTable", 2276, "AL MAC=%s\n", shown(al_mac));
    qo1905_device_info &info = al.Info;
    fill_field(info.DeviceMode, "Router");
    for (auto *field :
         {&info.Version, &info.L2DeviveCtrl, &info.WiFiAutoCfg, &info.WiFiOnOff, &info.FwUpgrade, &info.LEDOnOff}) {
        fill_field(*field, kNotAvailable);
    }
}

int retrieveIntfTable(qo1905_al_table &al) {
    LocalInterfaces found;
    find_wifi_interfaces(found);
    find_bridge(found);
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

}  // namespace qo1905
