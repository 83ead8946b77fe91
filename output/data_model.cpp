// Writes the whole table as the JSON data model that the web and REST front ends read: the AL, its interfaces, the
// network topology with one object per device, and the security settings. The objects inside a device are written by
// output/device_objects.cpp. Timer thread, right after the build.

#include <cstdio>
#include <ctime>

#include "core/diag.h"
#include "core/paths.h"
#include "model/list.h"
#include "model/qo1905.h"
#include "output/code_names.h"
#include "output/device_objects.h"
#include "output/info_text.h"
#include "output/writer.h"

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
        item.append("Interface.");
        item.append_number(i);
        list.add(item.view());
    }
    json.list("LowerLayers", list.view());
}

void write_al(JsonWriter &json, const qo1905_al_table &al) {
    const qo1905_device_info &info = al.Info;
    json.open("AL");
    json.mac("IEEE1905Id", al.IEEE1905Id);
    json.name("Status", al_status_name(al.Status));
    json.number("LastChange", seconds_since(al.LastChangeTime, std::time(nullptr)));
    write_al_lower_layers(json, al.InterfaceNumberOfEntries);
    json.number("InterfaceNumberOfEntries", al.InterfaceNumberOfEntries);
    json.boolean("EnableReboot", info.EnableReboot == 1);
    json.boolean("EnableInterfacePowerControl", info.EnableInterfacePowerControl == 1);
    json.field("DeviceMode", info.DeviceMode);
    json.text("ReleaseVersion", release_version(info));
    json.number("ResetAfterDistribution", info.ResetAfterDistribution);
    json.field("LEDstatus", info.LEDstatus);
    json.name("DeviceType", device_type_name(info));
    json.number("SendSearchMsg", info.SendSearchMsg);
    json.number("SendResponseMsg", info.SendResponseMsg);
}

// From the second link on, readers find a line end inside the quotes. An interface without links keeps the list of the
// one before.
void list_links(ItemList<kLowerLayersSize> &list, unsigned interface, unsigned links) {
    list.begin();
    for (unsigned k = 1; k <= links; ++k) {
        BoundedText<80> item;
        item.append("Device.X_0A3C5E_IEEE1905.AL.Interface.");
        item.append_number(interface);
        item.append(".Link.");
        item.append_number(k);
        item.append(k > 1 ? "\n" : "");
        list.add(item.view());
    }
}

void write_oui(JsonWriter &json, const std::uint8_t (&oui)[3]) {
    char text[sizeof("00-00-00")];
    (void)std::snprintf(text, sizeof(text), "%.2x-%.2x-%.2x", oui[0], oui[1], oui[2]);
    json.name("OUI", text);
}

void write_al_interfaces(JsonWriter &json) {
    const std::time_t now = std::time(nullptr);
    ItemList<kLowerLayersSize> links;
    unsigned n = 0;
    for (const qo1905_al_interface &interface : ListNodes(getIntfTable())) {
        ++n;
        list_links(links, n, interface.LinkNumberOfEntries);
        json.open({"Interface.", n});
        json.mac("InterfaceId", interface.InterfaceId);
        json.name("Status", interface_status_name(interface.Status));
        json.number("LastChange", seconds_since(interface.LastChangeTime, now));
        json.list("LowerLayers", links.view());
        json.name("MediaType", media_type_name(interface.MediaType));
        json.name("PowerState", power_state_name(interface.PowerState));
        json.number("LinkNumberOfEntries", interface.LinkNumberOfEntries);
        json.open("VendorProperties");
        write_oui(json, interface.OUI);
        json.name("Information", "");  // never told
        json.close();
        json.close();
    }
}

void write_app_version(JsonWriter &json, const qo1905_device_info &info) {
    json.open("AppVersion");
    json.field("Version", info.Version);
    json.number("L2DeviveCtrl", field_number(info.L2DeviveCtrl));  // misspelt, as readers know it
    json.number("WiFiAutoCfg", field_number(info.WiFiAutoCfg));
    json.number("WiFiOnOff", field_number(info.WiFiOnOff));
    json.number("FwUpgrade", field_number(info.FwUpgrade));
    json.number("LEDOnOff", field_number(info.LEDOnOff));
    json.close();
}

void write_device_info(JsonWriter &json, const qo1905_device &device) {
    const qo1905_device_info &info = device.Info;
    json.mac("IEEE1905Id", device.IEEE1905Id);
    json.number("InterfaceNumberOfEntries", device.InterfaceNumberOfEntries);
    json.number("NonIEEE1905NeighborNumberOfEntries", device.NonIEEE1905NeighborNumberOfEntries);
    json.number("IEEE1905NeighborNumberOfEntries", device.IEEE1905NeighborNumberOfEntries);
    json.number("BridgingTupleNumberOfEntries", device.BridgingTupleNumberOfEntries);
    json.boolean("EnableReboot", info.EnableReboot == 1);
    json.boolean("EnableInterfacePowerControl", info.EnableInterfacePowerControl == 1);
    json.field("FirmwareVersion", info.FirmwareVersion);
    json.number("Newfirmware", info.Newfirmware);
    json.number("NewfirmwareUpgradeState", info.NewfirmwareUpgradeState);
    json.field("Newfirmwareversion", info.Newfirmwareversion);
    json.field("Newfirmwaredate", info.Newfirmwaredate);
    json.field("Hostname", info.Hostname);
    json.field("DeviceIP", info.DeviceIP);
    json.field("DeviceMode", info.DeviceMode);
    json.text("ReleaseVersion", release_version(info));
    json.number("ResetAfterDistribution", info.ResetAfterDistribution);
    json.field("LEDstatus", info.LEDstatus);
    json.name("PowerControlMediaType", "0xffff");
    json.name("PowerControlPowerState", "0xff");
    json.name("DeviceType", device_type_name(info));
    json.number("Ap-autoconfig", info.Ap_autoconfig);
    json.number("Ap-autoconfig_2.4G", device.Ap_autoconfig_2_4G);
    json.number("Ap-autoconfig_5G", device.Ap_autoconfig_5G);
    write_app_version(json, info);
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

void write_network_topology(JsonWriter &json) {
    const qo1905_network_topology *network = getNetTopolTable();
    if (network == nullptr) {
        return;
    }
    json.open("NetworkTopology");
    json.word("Enable", topology_enable_word(network->Enable));
    json.name("Status", topology_status_name(network->Status));
    json.number("IEEE1905DeviceNumberOfEntries", network->IEEE1905DeviceNumberOfEntries);
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
    json.name("SetupMethod", setup_method_name(security->SetupMethod));
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
