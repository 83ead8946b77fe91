// The objects inside one IEEE1905Device of the data model, in this order: interfaces, non-1905 neighbours, 1905
// neighbours, bridging tuples. A writer whose count in the record is 0 writes nothing; otherwise it writes the whole
// list, whatever the count says, as long as the device has its share of the text. Timer thread.
#pragma once

#include "module/model/mac_index.h"
#include "module/output/device_share.h"
#include "module/output/json_writer.h"
#include "qo1905.h"

namespace qo1905 {

// A device's lists by MAC. Kept from device to device, for its memory.
class DeviceIndex {
public:
    // False without memory.
    [[nodiscard]] bool build(const qo1905_device &device);

    const NodeIndex<qo1905_sta_info> &stations() const { return stations_; }
    const NodeIndex<qo1905_device_interface> &interfaces() const { return interfaces_; }

private:
    NodeIndex<qo1905_sta_info> stations_;
    NodeIndex<qo1905_device_interface> interfaces_;
};

void write_device_interfaces(JsonWriter &json, const qo1905_device &device, DeviceShare &share);
void write_non1905_neighbors(JsonWriter &json, const qo1905_device &device, const DeviceIndex &index,
                             DeviceShare &share);
void write_1905_neighbors(JsonWriter &json, const qo1905_device &device, const DeviceIndex &index, DeviceShare &share);
void write_bridging_tuples(JsonWriter &json, const qo1905_device &device);

}  // namespace qo1905
