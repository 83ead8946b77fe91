#include "module/output/device_objects.h"

#include "module/model/list.h"
#include "module/output/code_names.h"
#include "module/output/item_list.h"

namespace qo1905 {
namespace {

constexpr std::size_t kBridgingListSize = 2048;
constexpr char kNonIeee1905Neighbor[] = "NonIEEE1905Neighbor.";
constexpr char kIeee1905Neighbor[] = "IEEE1905Neighbor.";

using StationIndex = NodeIndex<qo1905_sta_info>;
using InterfaceIndex = NodeIndex<qo1905_device_interface>;

// The name of a group's local interface by its place in the device's interface list. A group whose interface the device
// does not have keeps the name of the group before.
class LocalInterface {
public:
    explicit LocalInterface(const InterfaceIndex &interfaces) : interfaces_(interfaces) {}

    void select(const Mac &local_mac) {
        const MacIndex::Entry *found = interfaces_.find(local_mac);
        node_ = found != nullptr ? InterfaceIndex::node(found) : nullptr;
        if (found != nullptr) {
            name_.clear();
            name_.append("Interface."sv);
            name_.append_number(static_cast<std::uint32_t>(found->order + 1));
        }
    }

    // The group's own interface; null when the device has none with this MAC.
    const qo1905_device_interface *node() const { return node_; }
    Text name() const { return name_.view(); }

private:
    const InterfaceIndex &interfaces_;
    const qo1905_device_interface *node_ = nullptr;
    BoundedText<32> name_;
};

void write_media_type(JsonWriter &json, std::uint32_t code) { json.name("MediaType"sv, media_type_name(code)); }

void write_radio_values(JsonWriter &json, const qo1905_sta_info &station) {
    write_media_type(json, station.MediaType);
    json.number("RATE"sv, station.PhyRate);
    json.signed_number("RSSI"sv, station.RSSI);
    json.number("SignalLevel"sv, station.SignalLevel);
    json.text("Tx"sv, station.Tx);
    json.text("Rx"sv, station.Rx);
}

bool is_wifi(const qo1905_sta_info *station) { return station != nullptr && is_wifi_media_type(station->MediaType); }

// A neighbour that is no station is taken for a wired one.
void write_non1905_neighbor(JsonWriter &json, std::uint32_t number, Text local_interface, const Mac &mac,
                            const qo1905_sta_info *station) {
    json.open_numbered(kNonIeee1905Neighbor, number);
    json.name("LocalInterface"sv, local_interface);
    json.mac("NeighborInterfaceId"sv, mac);
    if (is_wifi(station)) {
        write_radio_values(json, *station);
    } else {
        const std::uint32_t wired = QO1905_MEDIA_FAST_ETHERNET;
        write_media_type(json, station != nullptr ? station->MediaType : wired);
    }
    json.close();
}

// A Wi-Fi neighbour is written only behind an interface of its own media type: a station that the daemon lists under
// the other band's BSS is left out.
bool is_written(const qo1905_sta_info *station, const qo1905_device_interface *local) {
    return !is_wifi(station) || (local != nullptr && local->MediaType == station->MediaType);
}

// The form of a neighbour that is a station, once for each station with its MAC. Advances the counter; returns the
// number of objects written.
unsigned checkIeee1905NbrIsWIFI(JsonWriter &json, const StationIndex &stations, const qo1905_1905_neighbor &neighbor,
                                std::uint32_t &counter, Text local_interface, DeviceShare &share) {
    unsigned written = 0;
    for (const MacIndex::Entry *match = stations.find(neighbor.NeighborDeviceId);
         match != nullptr && share.allows_object(); match = stations.next(match)) {
        json.open_numbered(kIeee1905Neighbor, counter++);
        json.name("LocalInterface"sv, local_interface);
        json.mac("NeighborInterfaceId"sv, neighbor.NeighborDeviceId);
        write_radio_values(json, *StationIndex::node(match));
        json.flag("IEEE802dot1Bridge"sv, neighbor.IEEE802dot1Bridge == 1);
        json.close();
        ++written;
    }
    return written;
}

// The form of a neighbour without a station: another key for its MAC, and always the same media type.
void write_wired_1905_neighbor(JsonWriter &json, const qo1905_1905_neighbor &neighbor, std::uint32_t number,
                               Text local_interface) {
    json.open_numbered(kIeee1905Neighbor, number);
    json.name("LocalInterface"sv, local_interface);
    json.mac("NeighborDeviceId"sv, neighbor.NeighborDeviceId);
    write_media_type(json, QO1905_MEDIA_FAST_ETHERNET);
    json.flag("IEEE802dot1Bridge"sv, neighbor.IEEE802dot1Bridge == 1);
    json.close();
}

// A tuple without interfaces keeps the list of the one before.
void list_macs(ItemBuffer &list, const qo1905_bridging_tuple &tuple) {
    list.begin();
    for (unsigned i = 0; tuple.InterfaceList != nullptr && i < tuple.Count && !list.full(); ++i) {
        const Mac &mac = tuple.InterfaceList[i];
        char text[kMacTextLength];
        print_mac(mac, text);
        list.add({text, sizeof(text)});
    }
}

}  // namespace

bool DeviceIndex::build(const qo1905_device &device) {
    return stations_.build(device.STAInfo, &qo1905_sta_info::STAMac) &&
           interfaces_.build(device.Interface, &qo1905_device_interface::InterfaceId);
}

void write_device_interfaces(JsonWriter &json, const qo1905_device &device, DeviceShare &share) {
    if (device.InterfaceNumberOfEntries == 0) {
        return;
    }
    std::uint32_t j = 0;
    for (const qo1905_device_interface &interface : ListNodes(device.Interface)) {
        if (!share.allows_object()) {
            return;
        }
        json.open_numbered("Interface."sv, ++j);
        json.mac("InterfaceId"sv, interface.InterfaceId);
        write_media_type(json, interface.MediaType);
        json.name("PowerState"sv, code_name(CodeTable::kPowerState, interface.PowerState));
        json.close();
    }
}

void write_non1905_neighbors(JsonWriter &json, const qo1905_device &device, const DeviceIndex &index,
                             DeviceShare &share) {
    if (device.NonIEEE1905NeighborNumberOfEntries == 0) {
        return;
    }
    LocalInterface local(index.interfaces());
    std::uint32_t j = 1;
    for (const qo1905_non1905_group &group : ListNodes(device.NonIEEE1905Neighbor)) {
        local.select(group.LocalInterface);
        for (const qo1905_non1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            if (!share.allows_object()) {
                return;
            }
            const qo1905_sta_info *station = index.stations().first(neighbor.NeighborInterfaceId);
            if (is_written(station, local.node())) {
                write_non1905_neighbor(json, j, local.name(), neighbor.NeighborInterfaceId, station);
            }
            ++j;  // also past a neighbour that is left out: the numbers have gaps
        }
    }
}

void write_1905_neighbors(JsonWriter &json, const qo1905_device &device, const DeviceIndex &index, DeviceShare &share) {
    if (device.IEEE1905NeighborNumberOfEntries == 0) {
        return;
    }
    LocalInterface local(index.interfaces());
    std::uint32_t j = 1;
    for (const qo1905_1905_group &group : ListNodes(device.IEEE1905Neighbor)) {
        local.select(group.LocalInterface);
        for (const qo1905_1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            if (!share.allows_object()) {
                return;
            }
            if (checkIeee1905NbrIsWIFI(json, index.stations(), neighbor, j, local.name(), share) == 0) {
                write_wired_1905_neighbor(json, neighbor, j++, local.name());
            }
        }
    }
}

// The tuples are the host's own, and never cut.
void write_bridging_tuples(JsonWriter &json, const qo1905_device &device) {
    if (device.BridgingTupleNumberOfEntries == 0) {
        return;
    }
    ItemList<kBridgingListSize> list;
    std::uint32_t t = 0;
    for (const qo1905_bridging_tuple &tuple : ListNodes(device.BridgingTuple)) {
        list_macs(list, tuple);
        json.open_numbered("BridgingTuple."sv, ++t);
        json.list("InterfaceList"sv, list.view());
        json.close();
    }
}

}  // namespace qo1905
