#include "tests/support/meshes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/module_test.h"

namespace {

const char kPort1[] = "Device.Bridging.Bridge.1.Port.1";

void configure(const std::string &name) {
    fake::host.role = "1";
    if (name == "no_agent") {
        fake::host.links = {{"Up", "Device.Bridging.Bridge.1.Port.10", "02:00:00:00:00:10"}};
    } else if (name == "one_agent") {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
    } else {
        fake::host.ssids = {
            {"ra0", "02:00:00:00:00:11"}, {"ra1", "02:00:00:00:00:21", "Down"}, {"rai0", "02:00:00:00:00:12"}};
        fake::host.links = {{"Down", kPort1, "02:00:00:00:00:0f"}, {"Up", kPort1, "02:00:00:00:00:10"}};
    }
}

template <std::size_t N>
void set_text(char (&field)[N], const std::string &text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

template <class T, class FreeInside>
void drop_list(T *&head, FreeInside free_inside) {
    while (head != nullptr) {
        T *node = head;
        head = node->next;
        free_inside(*node);
        std::free(node);
    }
}

template <class T>
void drop_list(T *&head) {
    drop_list(head, [](T &) {});
}

qo1905_non1905_group &add_group(qo1905_device &device, const char *local, const char *name,
                                const std::vector<const char *> &neighbours) {
    qo1905_non1905_group &group = *append_node(device.NonIEEE1905Neighbor);
    set_mac(group.LocalInterface, local);
    set_text(group.Name, name);
    for (const char *mac : neighbours) {
        set_mac(append_node(group.Neighbor)->NeighborInterfaceId, mac);
    }
    return group;
}

void add_tuple(qo1905_device &device, const std::vector<const char *> &macs) {
    qo1905_bridging_tuple &tuple = *append_node(device.BridgingTuple);
    tuple.Count = static_cast<uint16_t>(macs.size());
    if (macs.empty()) {
        return;
    }
    tuple.InterfaceList = static_cast<uint8_t(*)[6]>(std::calloc(macs.size(), 6));
    for (std::size_t i = 0; i < macs.size(); ++i) {
        set_mac(tuple.InterfaceList[i], macs[i]);
    }
}

// ---- by_accessors ----

void change_al(qo1905_al_table &al) {
    set_text(al.Info.ReleaseVersion, "2.0");
    set_text(al.Info.ReleaseVersionOverride, "2.1-beta");
    set_text(al.Info.LEDstatus, "on");
    al.Info.DeviceType = 1;
    al.Info.SendSearchMsg = 3;
    al.Info.SendResponseMsg = 255;
    al.Info.ResetAfterDistribution = 1;
    al.Info.EnableReboot = 1;
    al.Info.EnableInterfacePowerControl = 2;
    al.Status = 5;
    const auto interfaces = nodes(al.Interface);
    const uint16_t links[] = {2, 0, 3};
    const uint32_t times[] = {1700000000, 1700000041, 1700000050};
    for (std::size_t i = 0; i < 3; ++i) {
        interfaces.at(i)->LinkNumberOfEntries = links[i];
        interfaces.at(i)->LastChangeTime = times[i];
    }
    const uint8_t oui[] = {0x0a, 0x3c, 0x5e};
    std::memcpy(interfaces[0]->OUI, oui, sizeof(oui));
    al.Security.SetupMethod = 1;
    al.Security.Password = strdup("s3cret");
}

void change_device(qo1905_device &device) {
    qo1905_device_info &info = device.Info;
    info.EnableInterfacePowerControl = 0;
    set_text(info.FirmwareVersion, std::string(128, 'f'));
    set_text(info.Newfirmwareversion, "9.9");
    set_text(info.Newfirmwaredate, "2026-01-01");
    info.Newfirmware = 200;
    info.NewfirmwareUpgradeState = 7;
    set_text(info.ReleaseVersion, "3.0");
    set_text(info.LEDstatus, "off");
    set_text(info.Version, "7");
    set_text(info.L2DeviveCtrl, "3");
    set_text(info.WiFiAutoCfg, "");
    set_text(info.WiFiOnOff, "x1");
    set_text(info.FwUpgrade, "-4");
    set_text(info.LEDOnOff, "5 of 6");
    info.DeviceType = 0;
    device.Ap_autoconfig_2_4G = 1;
    device.Ap_autoconfig_5G = 9;
    info.ResetAfterDistribution = 2;
    set_text(info.Channel24G, "6");
    set_text(info.Channel5G, "44");
    uint32_t state = 0;
    for (qo1905_device_interface *interface : nodes(device.Interface)) {
        interface->PowerState = state++;
    }
}

void change_neighbours(qo1905_device &device) {
    device.BridgingTupleNumberOfEntries = 4;
    add_tuple(device, {"02:0a:00:00:00:01", "02:0a:00:00:06:00", "02:0a:00:00:00:0e"});
    add_tuple(device, {});
    add_tuple(device, {"02:0a:00:00:00:0e"});
    add_tuple(device, {});
    for (qo1905_sta_info *station : nodes(device.STAInfo)) {
        if (mac_text(station->STAMac) == "02:57:00:00:00:01") {
            station->SignalLevel = 4;
            set_text(station->Tx, "65M");
            set_text(station->Rx, "72M");
            station->PhyRate = 65535;
        }
    }
    add_group(device, "02:0a:00:00:06:00", "rai1", {"02:57:00:00:00:09"});
    add_group(device, "02:ff:ff:ff:ff:ff", "rai1", {"02:57:00:00:00:0a", "02:57:00:00:00:01"});
    device.IEEE1905Neighbor->Neighbor->IEEE802dot1Bridge = 1;
}

void change_log(qo1905_network_topology &network) {
    network.MaxChangeLogEntries = 1;
    network.ChangeLogNumberOfEntries = 2;
    network.LastChange = -1;
    qo1905_change_log_entry *entry = network.ChangeLog;
    entry[0].TimeStamp = 1772694249;
    entry[0].EventType = 0;
    set_mac(entry[0].ReporterDeviceId, "02:00:00:00:00:01");
    set_mac(entry[0].ReporterInterfaceId, "02:00:00:00:00:10");
    entry[0].NeighborType = 0;
    set_mac(entry[0].NeighborId, "02:0a:00:00:00:01");
    entry[1].TimeStamp = 951782399;
    entry[1].EventType = 1;
    set_mac(entry[1].ReporterDeviceId, "02:0a:00:00:00:01");
    set_mac(entry[1].ReporterInterfaceId, "02:0a:00:00:06:00");
    entry[1].NeighborType = 1;
    set_mac(entry[1].NeighborId, "02:57:00:00:00:01");
}

// ---- every_code ----

const uint32_t kMediaTypes[] = {0x0000, 0x0001, 0x0100, 0x0101, 0x0102, 0x0103, 0x0104, 0x0105,
                                0x0106, 0x0107, 0x0200, 0x0201, 0x0300, 0x0002, 0x0108, 0xffffffff};
constexpr uint8_t kDeviceCodes = 14;

void put_codes_into_al(qo1905_al_table &al) {
    al.Status = 2;
    al.NetworkTopology.Status = 2;
    al.NetworkTopology.Enable = 2;
    al.Security.SetupMethod = 2;
    drop_list(al.Interface);
    al.InterfaceNumberOfEntries = 16;
    for (uint8_t i = 0; i < 16; ++i) {
        qo1905_al_interface &interface = *append_node(al.Interface);
        set_mac(interface.InterfaceId, "02:00:00:00:01:00");
        interface.InterfaceId[5] = i;
        interface.LastChangeTime = 1700000000;
        interface.Status = i;
        interface.PowerState = i;
        interface.MediaType = kMediaTypes[i];
    }
}

void put_code_into_device(qo1905_device &device, uint8_t i) {
    qo1905_device_interface &interface = *append_node(device.Interface);
    set_mac(interface.InterfaceId, "02:0a:00:00:01:00");
    interface.InterfaceId[5] = i;
    interface.PowerState = i;
    interface.MediaType = kMediaTypes[i];
    qo1905_non1905_group &group =
        add_group(device, "02:0a:00:00:01:00", i % 2 == 1 ? "rai0" : "ra0", {"02:57:00:00:01:00"});
    group.LocalInterface[5] = i;
    group.Neighbor->NeighborInterfaceId[5] = i;
    qo1905_sta_info &station = *append_node(device.STAInfo);
    set_mac(station.STAMac, "02:57:00:00:01:00");
    station.STAMac[5] = i;
    station.MediaType = kMediaTypes[i];
    station.PhyRate = static_cast<uint16_t>(100 + i);
    station.RSSI = static_cast<int16_t>(-i);
}

void put_codes_into_device(qo1905_device &device) {
    drop_list(device.Interface);
    drop_list(device.NonIEEE1905Neighbor, [](qo1905_non1905_group &group) { drop_list(group.Neighbor); });
    drop_list(device.IEEE1905Neighbor, [](qo1905_1905_group &group) { drop_list(group.Neighbor); });
    drop_list(device.STAInfo);
    device.InterfaceNumberOfEntries = kDeviceCodes;
    for (uint8_t i = 0; i < kDeviceCodes; ++i) {
        put_code_into_device(device, i);
    }
    qo1905_1905_group &group = *append_node(device.IEEE1905Neighbor);
    set_mac(group.LocalInterface, "02:0a:00:00:01:00");
    set_mac(append_node(group.Neighbor)->NeighborDeviceId, "02:57:00:00:01:01");
    qo1905_1905_neighbor &other = *append_node(group.Neighbor);
    set_mac(other.NeighborDeviceId, "02:57:00:00:01:0d");
    other.IEEE802dot1Bridge = 2;
    set_text(device.Info.Channel5G, "149");
}

void put_codes_into_log(qo1905_network_topology &network) {
    network.MaxChangeLogEntries = 256;
    network.ChangeLogNumberOfEntries = 3;
    network.LastChange = 3;
    for (uint32_t i = 0; i < 3; ++i) {
        network.ChangeLog[i].TimeStamp = 1700000000 + 86400 * i;
        network.ChangeLog[i].EventType = i;
        network.ChangeLog[i].NeighborType = i;
    }
}

}  // namespace

int32_t build_mesh(const std::string &name) {
    const std::string folder = "meshes/" + name;
    configure(name);
    for (int n = 1; file_exists(fixture_path(folder + "/report-" + std::to_string(n) + ".json")); ++n) {
        const std::string payload = fixture(folder + "/report-" + std::to_string(n) + ".json");
        module().higherLayerDataRcvHandle(payload.c_str(), static_cast<int32_t>(payload.size()));
    }
    if (file_exists(fixture_path(folder + "/leases"))) {
        write_file(kLeases, fixture(folder + "/leases"));
    }
    write_file(kDump, fixture(folder + "/dump.json"));
    fake::host.now = 1700000000;
    return module().initALTable();
}

void change_table(const std::string &name) {
    qo1905_al_table &al = *module().getAlTable();
    if (name == "by_accessors") {
        change_al(al);
        change_device(*al.NetworkTopology.IEEE1905Device);
        change_neighbours(*al.NetworkTopology.IEEE1905Device);
        change_log(al.NetworkTopology);
    } else if (name == "every_code") {
        put_codes_into_al(al);
        put_codes_into_device(*al.NetworkTopology.IEEE1905Device);
        put_codes_into_log(al.NetworkTopology);
    }
}
