// Builds the table's device list: as many records as Agents were counted in the dump, parsed by topology/dump_entry.cpp
// and completed with what the Agents reported and with the addresses that dnsmasq leased. Timer thread.

#include <cstring>

#include "module/base/owned.h"
#include "module/base/text.h"
#include "module/model/al_table.h"
#include "module/model/dump_bytes.h"
#include "module/model/high_layer_table.h"
#include "module/model/list.h"
#include "module/model/report_index.h"
#include "module/topology/dump_entry.h"
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

// The last report counts, also with a text that it leaves empty. "Unknown" is whoever is in a mesh that never reported.
void merge_report(qo1905_device &device, const ReportIndex &reports) {
    if (imported_reports() == nullptr) {
        fill_field(device.Info.Hostname, "Unknown");
        return;
    }
    if (const qo1905_report *report = reports.of(device.IEEE1905Id).last) {
        copy_field(device.Info.FirmwareVersion, report->firmwareversion);
        copy_field(device.Info.Hostname, report->hostname);
        copy_field(device.Info.DeviceIP, report->deviceIP);
    }
}

// The result of the last device's entry; QO1905_FAILURE without memory for a record, those before stay.
int build_devices(json_object *topology, qo1905_network_topology &network, const ReportIndex &reports) {
    ListTail<qo1905_device> tail(network.IEEE1905Device);
    int result = QO1905_SUCCESS;
    for (unsigned i = 0; i < network.IEEE1905DeviceNumberOfEntries; ++i) {
        auto *device = record_new<qo1905_device>();
        if (device == nullptr) {
            return QO1905_FAILURE;
        }
        set_defaults(*device);
        // Element 0 is the local device.
        std::size_t bytes = 0;
        result = parse_dump_entry(topology, *device, static_cast<std::uint16_t>(i + 1), reports, bytes);
        add_dump_bytes(*device, bytes);
        merge_report(*device, reports);
        tail.append(device);
    }
    return result;
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t getIeee1905DevTable(json_object *topology) {
    qo1905_network_topology *network = getNetTopolTable();
    if (network == nullptr) {
        return QO1905_FAILURE;
    }
    import_reports();
    destroyIeee1905DevTable(network->IEEE1905Device);
    ReportIndex reports;
    if (!reports.build(imported_reports()) || !begin_dump_bytes(network->IEEE1905DeviceNumberOfEntries)) {
        return QO1905_FAILURE;
    }
    const int result = build_devices(topology, *network, reports);
    return merge_leases(network->IEEE1905Device) ? result : QO1905_FAILURE;
}
