// Writes the whole table as the JSON data model that the web and REST front ends read: the AL, its interfaces, the
// network topology with one object per device, and the security settings. The objects inside a device are written by
// output/device_objects.cpp. Timer thread, right after the build.

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "module/base/diag.h"
#include "module/base/paths.h"
#include "module/model/dump_bytes.h"
#include "module/model/list.h"
#include "module/output/code_names.h"
#include "module/output/device_objects.h"
#include "module/output/item_list.h"
#include "module/output/json_writer.h"
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
    json.list("LowerLayers"sv, list.view());
}

void write_release_version(JsonWriter &json, const qo1905_device_info &info) {
    const bool is_overridden = info.ReleaseVersionOverride[0] != '\0';
    json.text("ReleaseVersion"sv, is_overridden ? info.ReleaseVersionOverride : info.ReleaseVersion);
}

void write_al(JsonWriter &json, const qo1905_al_table &al) {
    const qo1905_device_info &info = al.Info;
    json.open("AL"sv);
    json.mac("IEEE1905Id"sv, al.IEEE1905Id);
    json.name("Status"sv, code_name(CodeTable::kAlStatus, al.Status));
    json.number("LastChange"sv, seconds_since(al.LastChangeTime, std::time(nullptr)));
    write_al_lower_layers(json, al.InterfaceNumberOfEntries);
    json.number("InterfaceNumberOfEntries"sv, al.InterfaceNumberOfEntries);
    json.flag("EnableReboot"sv, info.EnableReboot == 1);
    json.flag("EnableInterfacePowerControl"sv, info.EnableInterfacePowerControl == 1);
    json.text("DeviceMode"sv, info.DeviceMode);
    write_release_version(json, info);
    json.number("ResetAfterDistribution"sv, info.ResetAfterDistribution);
    json.text("LEDstatus"sv, info.LEDstatus);
    json.name("DeviceType"sv, code_name(CodeTable::kDeviceType, info.DeviceType));
    json.number("SendSearchMsg"sv, info.SendSearchMsg);
    json.number("SendResponseMsg"sv, info.SendResponseMsg);
}

// From the second link on, readers find a line end inside the quotes. An interface without links keeps the list of the
// one before.
void list_links(ItemBuffer &list, unsigned interface, unsigned links) {
    list.begin();
    for (unsigned k = 1; k <= links && !list.full(); ++k) {
        BoundedText<80> item;
        item.append("Device.X_0A3C5E_IEEE1905.AL.Interface."sv);
        item.append_number(interface);
        item.append(".Link."sv);
        item.append_number(k);
        item.append(k > 1 ? "\n"sv : ""sv);
        list.add(item.view());
    }
}

void write_vendor_properties(JsonWriter &json, const qo1905_al_interface &interface) {
    char oui[sizeof("00-00-00")];
    (void)std::snprintf(oui, sizeof(oui), "%.2x-%.2x-%.2x", interface.OUI[0], interface.OUI[1], interface.OUI[2]);
    json.open("VendorProperties"sv);
    json.name("OUI"sv, oui);
    json.name("Information"sv, ""sv);  // never shown
    json.close();
}

void write_al_interfaces(JsonWriter &json, const qo1905_al_interface *interfaces) {
    const std::time_t now = std::time(nullptr);
    ItemList<kLowerLayersSize> links;
    unsigned n = 0;
    for (const qo1905_al_interface &interface : ListNodes(interfaces)) {
        ++n;
        list_links(links, n, interface.LinkNumberOfEntries);
        json.open_numbered("Interface."sv, n);
        json.mac("InterfaceId"sv, interface.InterfaceId);
        json.name("Status"sv, code_name(CodeTable::kInterfaceStatus, interface.Status));
        json.number("LastChange"sv, seconds_since(interface.LastChangeTime, now));
        json.list("LowerLayers"sv, links.view());
        json.name("MediaType"sv, media_type_name(interface.MediaType));
        json.name("PowerState"sv, code_name(CodeTable::kPowerState, interface.PowerState));
        json.number("LinkNumberOfEntries"sv, interface.LinkNumberOfEntries);
        write_vendor_properties(json, interface);
        json.close();
    }
}

// The number that a text begins with, 0 when it begins with none.
template <std::size_t N>
void write_text_number(JsonWriter &json, Text key, const char (&field)[N]) {
    BoundedText<N + 1> text;
    text.append(field_text(field));
    json.signed_number(key, text_number(text.c_str()));
}

void write_app_version(JsonWriter &json, const qo1905_device_info &info) {
    json.open("AppVersion"sv);
    json.text("Version"sv, info.Version);
    write_text_number(json, "L2DeviveCtrl"sv, info.L2DeviveCtrl);  // misspelt, as readers know it
    write_text_number(json, "WiFiAutoCfg"sv, info.WiFiAutoCfg);
    write_text_number(json, "WiFiOnOff"sv, info.WiFiOnOff);
    write_text_number(json, "FwUpgrade"sv, info.FwUpgrade);
    write_text_number(json, "LEDOnOff"sv, info.LEDOnOff);
    json.close();
}

void write_device_info(JsonWriter &json, const qo1905_device &device) {
    const qo1905_device_info &info = device.Info;
    json.mac("IEEE1905Id"sv, device.IEEE1905Id);
    json.number("InterfaceNumberOfEntries"sv, device.InterfaceNumberOfEntries);
    json.number("NonIEEE1905NeighborNumberOfEntries"sv, device.NonIEEE1905NeighborNumberOfEntries);
    json.number("IEEE1905NeighborNumberOfEntries"sv, device.IEEE1905NeighborNumberOfEntries);
    json.number("BridgingTupleNumberOfEntries"sv, device.BridgingTupleNumberOfEntries);
    json.flag("EnableReboot"sv, info.EnableReboot == 1);
    json.flag("EnableInterfacePowerControl"sv, info.EnableInterfacePowerControl == 1);
    json.text("FirmwareVersion"sv, info.FirmwareVersion);
    json.number("Newfirmware"sv, info.Newfirmware);
    json.number("NewfirmwareUpgradeState"sv, info.NewfirmwareUpgradeState);
    json.text("Newfirmwareversion"sv, info.Newfirmwareversion);
    json.text("Newfirmwaredate"sv, info.Newfirmwaredate);
    json.text("Hostname"sv, info.Hostname);
    json.text("DeviceIP"sv, info.DeviceIP);
    json.text("DeviceMode"sv, info.DeviceMode);
    write_release_version(json, info);
    json.number("ResetAfterDistribution"sv, info.ResetAfterDistribution);
    json.text("LEDstatus"sv, info.LEDstatus);
    json.name("PowerControlMediaType"sv, "0xffff"sv);
    json.name("PowerControlPowerState"sv, "0xff"sv);
    json.name("DeviceType"sv, code_name(CodeTable::kDeviceType, info.DeviceType));
    json.number("Ap-autoconfig"sv, info.Ap_autoconfig);
    json.number("Ap-autoconfig_2.4G"sv, device.Ap_autoconfig_2_4G);
    json.number("Ap-autoconfig_5G"sv, device.Ap_autoconfig_5G);
    write_app_version(json, info);
}

// False without memory to look into the device's lists.
bool write_device(JsonWriter &json, const qo1905_device &device, unsigned number, DeviceIndex &index,
                  std::size_t dump_bytes, std::size_t &pool) {
    if (!index.build(device)) {
        return false;
    }
    DeviceShare share(json, dump_bytes, pool);
    json.open_numbered("IEEE1905Device."sv, number);
    write_device_info(json, device);
    write_device_interfaces(json, device, share);
    write_non1905_neighbors(json, device, index, share);
    write_1905_neighbors(json, device, index, share);
    write_bridging_tuples(json, device);
    json.close();
    if (share.is_cut()) {
        std::printf("%s: IEEE1905Device.%u is cut, it is more than eight times its part of the dump\n",
                    "writeJsonDataModel", number);
    }
    return true;
}

// The count decides whether there are any; the list decides how many. False without memory.
bool write_devices(JsonWriter &json, const qo1905_network_topology &network) {
    if (network.IEEE1905DeviceNumberOfEntries == 0) {
        return true;
    }
    DeviceIndex index;
    DumpBytes dump_bytes;
    std::size_t pool = kTextPool - std::min(kTextPool, json.size());
    unsigned d = 0;
    for (const qo1905_device &device : ListNodes(network.IEEE1905Device)) {
        if (!write_device(json, device, ++d, index, dump_bytes.of(device), pool)) {
            return false;
        }
    }
    return true;
}

// False without memory.
bool write_network_topology(JsonWriter &json, const qo1905_network_topology &network) {
    json.open("NetworkTopology"sv);
    json.word("Enable"sv, code_name(CodeTable::kTopologyEnable, network.Enable));
    json.name("Status"sv, code_name(CodeTable::kTopologyStatus, network.Status));
    json.number("IEEE1905DeviceNumberOfEntries"sv, network.IEEE1905DeviceNumberOfEntries);
    const bool whole = write_devices(json, network);
    json.close();
    return whole;
}

void write_security(JsonWriter &json, const qo1905_security &security) {
    json.open("Security"sv);
    json.name("SetupMethod"sv, code_name(CodeTable::kSetupMethod, security.SetupMethod));
    json.text("Password"sv, Text(shown(security.Password)));
    json.close();
}

// False without memory.
bool write_data_model(JsonWriter &json) {
    json.begin();
    json.open("Device"sv);
    json.open("X_0A3C5E_IEEE1905"sv);
    const qo1905_al_table *al = getAlTable();
    if (al == nullptr) {
        return true;  // the document stays open: three lines tell readers that there is no table
    }
    write_al(json, *al);
    write_al_interfaces(json, al->Interface);
    const bool whole = write_network_topology(json, al->NetworkTopology);
    write_security(json, al->Security);
    json.close();  // AL
    json.close();  // X_0A3C5E_IEEE1905
    json.close();  // Device
    json.end();
    return whole;
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t writeJsonDataModel() {
    MemoryText text;
    JsonWriter json(text);
    if (!write_data_model(json)) {
        text.fail();
    }
    write_text_file(kModelFile, text);
    return 0;
}
