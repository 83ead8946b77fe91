// Builds the table's device list: as many records as Agents were counted in the dump, parsed by topology/dump_entry.cpp
// and completed with what the Agents reported and with the addresses that dnsmasq leased. Timer thread.

#include "module/base/owned.h"
#include "module/base/text.h"
#include "module/model/al_table.h"
#include "module/model/high_layer_table.h"
#include "module/model/list.h"
#include "module/topology/leases.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

// A device before its dump entry is read. All other fields are 0 or empty as allocated.
void set_defaults(qo1905_device &device) {
    device.Info.EnableReboot = 1;
    device.Info.EnableInterfacePowerControl = 1;
    device.Info.Ap_autoconfig = 1;
    device.Info.DeviceType = 1;
    fill_field(device.Info.DeviceMode, "Agent");
}

template <std::size_t N>
void copy_field(char (&to)[N], const char (&from)[N]) {
    std::memcpy(to, from, N);
}

// Every report of this Agent in turn: the latest wins, also with a text that it leaves empty.
void merge_reports(qo1905_device &device) {
    if (copied_reports() == nullptr) {
        fill_field(device.Info.FirmwareVersion, "");
        fill_field(device.Info.Hostname, "Unknown");
        fill_field(device.Info.DeviceIP, "");
        return;
    }
    for (auto match = reports_of(device.IEEE1905Id); const qo1905_report *report = match.record(); match.advance()) {
        copy_field(device.Info.FirmwareVersion, report->firmwareversion);
        copy_field(device.Info.Hostname, report->hostname);
        copy_field(device.Info.DeviceIP, report->deviceIP);
    }
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t getIeee1905DevTable(json_object *topology) {
    qo1905_network_topology *network = getNetTopolTable();
    if (network == nullptr) {
        return QO1905_FAILURE;
    }
    move_reports_to_copy();
    const CopiedReportsIndexed indexed;
    destroyIeee1905DevTable(network->IEEE1905Device);
    ListTail<qo1905_device> tail(network->IEEE1905Device);
    int32_t result = QO1905_SUCCESS;
    for (unsigned i = 0; i < network->IEEE1905DeviceNumberOfEntries; ++i) {
        auto *device = record_new<qo1905_device>();
        if (device == nullptr) {
            result = QO1905_FAILURE;
            break;  // those that are there already get their leases
        }
        set_defaults(*device);
        // Element 0 is the local device.
        result = getNbrDevInfo(topology, device, static_cast<std::uint16_t>(i + 1));
        merge_reports(*device);
        tail.append(device);
    }
    merge_leases(network->IEEE1905Device);
    return result;
}
