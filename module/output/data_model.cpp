// Writes the whole table as the JSON data model that the web and REST front ends read: the AL, its interfaces, the
// network topology with one object per device, and the security settings. The objects inside a device are written by
// output/device_objects.cpp. Timer thread, right after the build.

#include <cstdio>
#include <ctime>

#include "module/base/diag.h"
#include "module/base/paths.h"
#include "module/model/list.h"
#include "module/output/device_objects.h"
#include "module/output/members.h"
#include "module/output/writer.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr std::size_t kLowerLayersSize = 1024;

// Seconds since then modulo 2^32, which is right also when the clock was set back.
std::uint32_t seconds_since(std::uint32_t then, std::time_t now) { return static_cast<std::uint32_t>(now) - then; }

void write_al_lower_layers(JsonWriter &json, unsigned interfaces) {
    ItemList<kLowerLayersSize> list;
    list.begin();
    for (unsigned i = 1; i <= interfaces; ++i) {
        BoundedText<32> item;
        item.append("Interface."sv);
        item.append_number(i);
        list.add(item.view());
    }
    json.list("LowerLayers", list.view());
}

constexpr Row kAlIdentity[] = {
    QO1905_MEMBER("IEEE1905Id", qo1905_al_table, IEEE1905Id),
    QO1905_MEMBER_AS("Status", qo1905_al_table, Status, CodeTable::kAlStatus),
};

constexpr Row kAlInfo[] = {
    QO1905_MEMBER("InterfaceNumberOfEntries", qo1905_al_table, InterfaceNumberOfEntries),
    QO1905_MEMBER_AS("EnableReboot", qo1905_al_table, Info.EnableReboot, Form::kFlag),
    QO1905_MEMBER_AS("EnableInterfacePowerControl", qo1905_al_table, Info.EnableInterfacePowerControl, Form::kFlag),
    QO1905_MEMBER("DeviceMode", qo1905_al_table, Info.DeviceMode),
    QO1905_MEMBER_AS("ReleaseVersion", qo1905_al_table, Info.ReleaseVersion, Form::kReplaceable),
    QO1905_MEMBER("ResetAfterDistribution", qo1905_al_table, Info.ResetAfterDistribution),
    QO1905_MEMBER("LEDstatus", qo1905_al_table, Info.LEDstatus),
    QO1905_MEMBER_AS("DeviceType", qo1905_al_table, Info.DeviceType, CodeTable::kDeviceType),
    QO1905_MEMBER("SendSearchMsg", qo1905_al_table, Info.SendSearchMsg),
    QO1905_MEMBER("SendResponseMsg", qo1905_al_table, Info.SendResponseMsg),
};

void write_al(JsonWriter &json, const qo1905_al_table &al) {
    json.open("AL");
    json.members(packed_rows<kAlIdentity>(), &al);
    json.number("LastChange", seconds_since(al.LastChangeTime, std::time(nullptr)));
    write_al_lower_layers(json, al.InterfaceNumberOfEntries);
    json.members(packed_rows<kAlInfo>(), &al);
}

// From the second link on, readers find a line end inside the quotes. An interface without links keeps the list of the
// one before.
void list_links(ItemBuffer &list, unsigned interface, unsigned links) {
    list.begin();
    for (unsigned k = 1; k <= links; ++k) {
        BoundedText<80> item;
        item.append("Device.X_0A3C5E_IEEE1905.AL.Interface."sv);
        item.append_number(interface);
        item.append(".Link."sv);
        item.append_number(k);
        item.append(k > 1 ? "\n"sv : ""sv);
        list.add(item.view());
    }
}

void write_oui(JsonWriter &json, const std::uint8_t (&oui)[3]) {
    char text[sizeof("00-00-00")];
    (void)std::snprintf(text, sizeof(text), "%.2x-%.2x-%.2x", oui[0], oui[1], oui[2]);
    json.name("OUI", text);
}

constexpr Row kInterfaceIdentity[] = {
    QO1905_MEMBER("InterfaceId", qo1905_al_interface, InterfaceId),
    QO1905_MEMBER_AS("Status", qo1905_al_interface, Status, CodeTable::kInterfaceStatus),
};

constexpr Row kInterfaceInfo[] = {
    QO1905_MEMBER_AS("MediaType", qo1905_al_interface, MediaType, CodeTable::kMediaType),
    QO1905_MEMBER_AS("PowerState", qo1905_al_interface, PowerState, CodeTable::kPowerState),
    QO1905_MEMBER("LinkNumberOfEntries", qo1905_al_interface, LinkNumberOfEntries),
};

void write_al_interfaces(JsonWriter &json) {
    const std::time_t now = std::time(nullptr);
    ItemList<kLowerLayersSize> links;
    unsigned n = 0;
    for (const qo1905_al_interface &interface : ListNodes(getIntfTable())) {
        ++n;
        list_links(links, n, interface.LinkNumberOfEntries);
        json.open({"Interface.", n});
        json.members(packed_rows<kInterfaceIdentity>(), &interface);
        json.number("LastChange", seconds_since(interface.LastChangeTime, now));
        json.list("LowerLayers", links.view());
        json.members(packed_rows<kInterfaceInfo>(), &interface);
        json.open("VendorProperties");
        write_oui(json, interface.OUI);
        json.name("Information", ""sv);  // never told
        json.close();
        json.close();
    }
}

constexpr Row kDevice[] = {
    QO1905_MEMBER("IEEE1905Id", qo1905_device, IEEE1905Id),
    QO1905_MEMBER("InterfaceNumberOfEntries", qo1905_device, InterfaceNumberOfEntries),
    QO1905_MEMBER("NonIEEE1905NeighborNumberOfEntries", qo1905_device, NonIEEE1905NeighborNumberOfEntries),
    QO1905_MEMBER("IEEE1905NeighborNumberOfEntries", qo1905_device, IEEE1905NeighborNumberOfEntries),
    QO1905_MEMBER("BridgingTupleNumberOfEntries", qo1905_device, BridgingTupleNumberOfEntries),
    QO1905_MEMBER_AS("EnableReboot", qo1905_device, Info.EnableReboot, Form::kFlag),
    QO1905_MEMBER_AS("EnableInterfacePowerControl", qo1905_device, Info.EnableInterfacePowerControl, Form::kFlag),
    QO1905_MEMBER("FirmwareVersion", qo1905_device, Info.FirmwareVersion),
    QO1905_MEMBER("Newfirmware", qo1905_device, Info.Newfirmware),
    QO1905_MEMBER("NewfirmwareUpgradeState", qo1905_device, Info.NewfirmwareUpgradeState),
    QO1905_MEMBER("Newfirmwareversion", qo1905_device, Info.Newfirmwareversion),
    QO1905_MEMBER("Newfirmwaredate", qo1905_device, Info.Newfirmwaredate),
    QO1905_MEMBER("Hostname", qo1905_device, Info.Hostname),
    QO1905_MEMBER("DeviceIP", qo1905_device, Info.DeviceIP),
    QO1905_MEMBER("DeviceMode", qo1905_device, Info.DeviceMode),
    QO1905_MEMBER_AS("ReleaseVersion", qo1905_device, Info.ReleaseVersion, Form::kReplaceable),
    QO1905_MEMBER("ResetAfterDistribution", qo1905_device, Info.ResetAfterDistribution),
    QO1905_MEMBER("LEDstatus", qo1905_device, Info.LEDstatus),
    fixed_row("PowerControlMediaType=0xffff"),
    fixed_row("PowerControlPowerState=0xff"),
    QO1905_MEMBER_AS("DeviceType", qo1905_device, Info.DeviceType, CodeTable::kDeviceType),
    QO1905_MEMBER("Ap-autoconfig", qo1905_device, Info.Ap_autoconfig),
    QO1905_MEMBER("Ap-autoconfig_2.4G", qo1905_device, Ap_autoconfig_2_4G),
    QO1905_MEMBER("Ap-autoconfig_5G", qo1905_device, Ap_autoconfig_5G),
};

constexpr Row kAppVersion[] = {
    QO1905_MEMBER("Version", qo1905_device_info, Version),
    // Misspelt, as readers know it.
    QO1905_MEMBER_AS("L2DeviveCtrl", qo1905_device_info, L2DeviveCtrl, Form::kTextNumber),
    QO1905_MEMBER_AS("WiFiAutoCfg", qo1905_device_info, WiFiAutoCfg, Form::kTextNumber),
    QO1905_MEMBER_AS("WiFiOnOff", qo1905_device_info, WiFiOnOff, Form::kTextNumber),
    QO1905_MEMBER_AS("FwUpgrade", qo1905_device_info, FwUpgrade, Form::kTextNumber),
    QO1905_MEMBER_AS("LEDOnOff", qo1905_device_info, LEDOnOff, Form::kTextNumber),
};

void write_device_info(JsonWriter &json, const qo1905_device &device) {
    json.members(packed_rows<kDevice>(), &device);
    json.open("AppVersion");
    json.members(packed_rows<kAppVersion>(), &device.Info);
    json.close();
}

// The count decides whether there are any; the list decides how many.
void write_devices(JsonWriter &json, const qo1905_network_topology &network) {
    if (network.IEEE1905DeviceNumberOfEntries == 0) {
        return;
    }
    StationList stations;
    unsigned d = 0;
    for (const qo1905_device &device : ListNodes(network.IEEE1905Device)) {
        json.open({"IEEE1905Device.", ++d});
        write_device_info(json, device);
        write_device_interfaces(json, device);
        stations.enter(device.STAInfo);
        write_non1905_neighbors(json, device, stations);
        write_1905_neighbors(json, device, stations);
        write_bridging_tuples(json, device);
        json.close();
    }
}

constexpr Row kNetworkTopology[] = {
    QO1905_MEMBER_AS("Status", qo1905_network_topology, Status, CodeTable::kTopologyStatus),
    QO1905_MEMBER("IEEE1905DeviceNumberOfEntries", qo1905_network_topology, IEEE1905DeviceNumberOfEntries),
};

void write_network_topology(JsonWriter &json) {
    const qo1905_network_topology *network = getNetTopolTable();
    if (network == nullptr) {
        return;
    }
    json.open("NetworkTopology");
    json.word("Enable", code_name(CodeTable::kTopologyEnable, network->Enable));
    json.members(packed_rows<kNetworkTopology>(), network);
    write_devices(json, *network);
    json.close();
}

// Also closes all that is open around it.
void write_security(JsonWriter &json) {
    const qo1905_security *security = getSecurityTable();
    if (security == nullptr) {
        return;
    }
    json.open("Security");
    json.name("SetupMethod", code_name(CodeTable::kSetupMethod, security->SetupMethod));
    json.text("Password", shown(security->Password));
    json.close();
    json.close();  // AL
    json.close();  // X_0A3C5E_IEEE1905
    json.close();  // Device
    json.end();
}

void write_data_model(JsonWriter &json) {
    json.begin();
    json.open("Device");
    json.open("X_0A3C5E_IEEE1905");
    const qo1905_al_table *al = getAlTable();
    if (al == nullptr) {
        return;  // the document stays open: three lines tell readers that there is no table
    }
    write_al(json, *al);
    write_al_interfaces(json);
    write_network_topology(json);
    write_security(json);
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t writeJsonDataModel() {
    MemoryText text;
    JsonWriter json(text);
    write_data_model(json);
    write_text_file(kModelFile, text);
    return 0;
}
