#include "module/output/device_objects.h"

#include "module/model/list.h"
#include "module/output/members.h"

namespace qo1905 {
namespace {

constexpr std::size_t kBridgingListSize = 2048;
constexpr char kNonIeee1905Neighbor[] = "NonIEEE1905Neighbor.";
constexpr char kIeee1905Neighbor[] = "IEEE1905Neighbor.";

// The name of a group's local interface by its place in the device's interface list. A group whose interface the device
// does not have keeps the name of the group before.
class LocalInterfaceName {
public:
    explicit LocalInterfaceName(const qo1905_device &device) : device_(device) {}

    // The group's own interface; null when the device has none with this MAC.
    const qo1905_device_interface *enter_group(const Mac &local_mac) {
        std::uint32_t position = 0;
        for (const qo1905_device_interface &interface : ListNodes(device_.Interface)) {
            ++position;
            if (same_mac(interface.InterfaceId, local_mac)) {
                name_.clear();
                name_.append("Interface."sv);
                name_.append_number(position);
                return &interface;
            }
        }
        return nullptr;
    }

    Text view() const { return name_.view(); }

private:
    const qo1905_device &device_;
    BoundedText<32> name_;
};

constexpr Row kRadioValues[] = {
    QO1905_MEMBER_AS("MediaType", qo1905_sta_info, MediaType, CodeTable::kMediaType),
    QO1905_MEMBER("RATE", qo1905_sta_info, PhyRate),
    QO1905_MEMBER("RSSI", qo1905_sta_info, RSSI),
    QO1905_MEMBER("SignalLevel", qo1905_sta_info, SignalLevel),
    QO1905_MEMBER("Tx", qo1905_sta_info, Tx),
    QO1905_MEMBER("Rx", qo1905_sta_info, Rx),
};

constexpr Row kBridge[] = {
    QO1905_MEMBER_AS("IEEE802dot1Bridge", qo1905_1905_neighbor, IEEE802dot1Bridge, Form::kFlag),
};

constexpr Row kInterface[] = {
    QO1905_MEMBER("InterfaceId", qo1905_device_interface, InterfaceId),
    QO1905_MEMBER_AS("MediaType", qo1905_device_interface, MediaType, CodeTable::kMediaType),
    QO1905_MEMBER_AS("PowerState", qo1905_device_interface, PowerState, CodeTable::kPowerState),
};

void open_neighbor(JsonWriter &json, Key key, Text local_interface, Key mac_key, const Mac &mac) {
    json.open(key);
    json.name("LocalInterface", local_interface);
    json.mac(mac_key, mac);
}

void write_media_type(JsonWriter &json, std::uint32_t code) {
    json.name("MediaType", code_name(CodeTable::kMediaType, code));
}

bool is_wifi(const qo1905_sta_info *station) { return station != nullptr && is_wifi_media_type(station->MediaType); }

// A neighbour that is no station is taken for a wired one.
void write_non1905_neighbor(JsonWriter &json, Key key, Text local_interface, const Mac &mac,
                            const qo1905_sta_info *station) {
    open_neighbor(json, key, local_interface, "NeighborInterfaceId", mac);
    if (is_wifi(station)) {
        json.members(packed_rows<kRadioValues>(), station);
    } else {
        const std::uint32_t wired = QO1905_MEDIA_FAST_ETHERNET;
        write_media_type(json, station != nullptr ? station->MediaType : wired);
    }
    json.close();
}

// A Wi-Fi neighbour is told only behind an interface of its own media type: a station that the daemon lists under the
// other band's BSS is left out.
bool is_told(const qo1905_sta_info *station, const qo1905_device_interface *local) {
    return !is_wifi(station) || (local != nullptr && local->MediaType == station->MediaType);
}

// One Wi-Fi form per station with the neighbour's MAC. Advances the counter; returns the number of objects written.
unsigned checkIeee1905NbrIsWIFI(JsonWriter &json, const StationList &stations, const qo1905_1905_neighbor &neighbor,
                                unsigned &counter, Text local_interface) {
    unsigned written = 0;
    for (StationMatch match(stations, neighbor.NeighborDeviceId); match.record() != nullptr; match.advance()) {
        open_neighbor(json, {kIeee1905Neighbor, counter++}, local_interface, "NeighborInterfaceId",
                      neighbor.NeighborDeviceId);
        json.members(packed_rows<kRadioValues>(), match.record());
        json.members(packed_rows<kBridge>(), &neighbor);
        json.close();
        ++written;
    }
    return written;
}

// The form of a neighbour without a station: another key for its MAC, and always the same media type.
void write_wired_1905_neighbor(JsonWriter &json, const qo1905_1905_neighbor &neighbor, unsigned number,
                               Text local_interface) {
    open_neighbor(json, {kIeee1905Neighbor, number}, local_interface, "NeighborDeviceId", neighbor.NeighborDeviceId);
    write_media_type(json, QO1905_MEDIA_FAST_ETHERNET);
    json.members(packed_rows<kBridge>(), &neighbor);
    json.close();
}

// A tuple without interfaces keeps the list of the one before.
void list_macs(ItemBuffer &list, const qo1905_bridging_tuple &tuple) {
    list.begin();
    for (unsigned i = 0; tuple.InterfaceList != nullptr && i < tuple.Count; ++i) {
        const Mac &mac = tuple.InterfaceList[i];
        char text[kMacTextLength];
        print_mac(mac, text);
        list.add({text, sizeof(text)});
    }
}

}  // namespace

void write_device_interfaces(JsonWriter &json, const qo1905_device &device) {
    if (device.InterfaceNumberOfEntries == 0) {
        return;
    }
    unsigned j = 0;
    for (const qo1905_device_interface &interface : ListNodes(device.Interface)) {
        json.open({"Interface.", ++j});
        json.members(packed_rows<kInterface>(), &interface);
        json.close();
    }
}

void write_non1905_neighbors(JsonWriter &json, const qo1905_device &device, const StationList &stations) {
    if (device.NonIEEE1905NeighborNumberOfEntries == 0) {
        return;
    }
    LocalInterfaceName local_name(device);
    unsigned j = 1;
    for (const qo1905_non1905_group &group : ListNodes(device.NonIEEE1905Neighbor)) {
        const qo1905_device_interface *local = local_name.enter_group(group.LocalInterface);
        for (const qo1905_non1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            const qo1905_sta_info *station = StationMatch(stations, neighbor.NeighborInterfaceId).record();
            if (is_told(station, local)) {
                write_non1905_neighbor(json, {kNonIeee1905Neighbor, j}, local_name.view(), neighbor.NeighborInterfaceId,
                                       station);
            }
            ++j;  // also past a neighbour that is left out: the numbers have gaps
        }
    }
}

void write_1905_neighbors(JsonWriter &json, const qo1905_device &device, const StationList &stations) {
    if (device.IEEE1905NeighborNumberOfEntries == 0) {
        return;
    }
    LocalInterfaceName local_name(device);
    unsigned j = 1;
    for (const qo1905_1905_group &group : ListNodes(device.IEEE1905Neighbor)) {
        local_name.enter_group(group.LocalInterface);
        for (const qo1905_1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            if (checkIeee1905NbrIsWIFI(json, stations, neighbor, j, local_name.view()) == 0) {
                write_wired_1905_neighbor(json, neighbor, j++, local_name.view());
            }
        }
    }
}

void write_bridging_tuples(JsonWriter &json, const qo1905_device &device) {
    if (device.BridgingTupleNumberOfEntries == 0) {
        return;
    }
    ItemList<kBridgingListSize> list;
    unsigned t = 0;
    for (const qo1905_bridging_tuple &tuple : ListNodes(device.BridgingTuple)) {
        list_macs(list, tuple);
        json.open({"BridgingTuple.", ++t});
        json.list("InterfaceList", list.view());
        json.close();
    }
}

}  // namespace qo1905
