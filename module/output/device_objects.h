// The objects inside one IEEE1905Device of the data model, in this order: interfaces, non-1905 neighbours, 1905
// neighbours, bridging tuples. A writer whose count in the record is 0 writes nothing; otherwise it writes the whole
// list, whatever the count says. Timer thread.
#pragma once

#include <cstddef>

#include "module/model/mac_index.h"
#include "module/output/writer.h"
#include "qo1905.h"

namespace qo1905 {

// A device's `STAInfo`, found by MAC.
class StationList : public IndexedNodes {
public:
    StationList() : IndexedNodes(offsetof(qo1905_sta_info, STAMac)) {}
};
using StationMatch = RecordMatch<qo1905_sta_info>;

void write_device_interfaces(JsonWriter &json, const qo1905_device &device);
void write_non1905_neighbors(JsonWriter &json, const qo1905_device &device, const StationList &stations);
void write_1905_neighbors(JsonWriter &json, const qo1905_device &device, const StationList &stations);
void write_bridging_tuples(JsonWriter &json, const qo1905_device &device);

}  // namespace qo1905
