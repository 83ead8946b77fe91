#include "module/topology/entry_trace.h"

#include "module/base/diag.h"
#include "module/base/mac.h"
#include "module/model/list.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "getNbrDevInfo";

void trace_local(int line, const Mac &mac) {
    trace_at(kName, line, "local mac=%s\n", MacText(mac, MacForm::kShort).c_str());
}

void trace_under(int line, const Mac &mac) {
    trace_at(kName, line, "under mac=%s\n", MacText(mac, MacForm::kShort).c_str());
}

void trace_interfaces(const qo1905_device &device, unsigned index) {
    trace_at(kName, 1635, "========== ieee1905 Device[%u] Interface Num (%d) =========\n", index,
             device.InterfaceNumberOfEntries);
    for (const qo1905_device_interface &interface : ListNodes(device.Interface)) {
        trace_at(kName, 1642, "mac=%s mediaType=0x%x\n", MacText(interface.InterfaceId, MacForm::kShort).c_str(),
                 interface.MediaType);
    }
}

void trace_neighbors(const qo1905_device &device) {
    trace_at(kName, 1646, "*************** non1905  Neighbor Num (%d) ***************\n",
             device.NonIEEE1905NeighborNumberOfEntries);
    for (const qo1905_non1905_group &group : ListNodes(device.NonIEEE1905Neighbor)) {
        trace_local(1652, group.LocalInterface);
        for (const qo1905_non1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            trace_under(1657, neighbor.NeighborInterfaceId);
        }
    }
    trace_at(kName, 1663, "*************** ieee1905 Neighbor Num (%d) ***************\n",
             device.IEEE1905NeighborNumberOfEntries);
    for (const qo1905_1905_group &group : ListNodes(device.IEEE1905Neighbor)) {
        trace_local(1669, group.LocalInterface);
        for (const qo1905_1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            trace_under(1674, neighbor.NeighborDeviceId);
        }
    }
}

void trace_stations(const qo1905_device &device) {
    trace_at(kName, 1680, "*************** wifi     Neighbor Num (%d) ***************\n",
             device.STAInfoNumberOfEntries);
    for (const qo1905_sta_info &station : ListNodes(device.STAInfo)) {
        trace_at(kName, 1687, "mac=%s mediaType=0x%x, rate = %d\n", MacText(station.STAMac, MacForm::kShort).c_str(),
                 station.MediaType, station.PhyRate);
    }
}

}  // namespace

void trace_entry(const qo1905_device &device, unsigned index) {
    if (!tracing()) {
        return;
    }
    trace_interfaces(device, index);
    trace_neighbors(device);
    trace_stations(device);
}

}  // namespace qo1905
