// The order in which the AL table is built from the topology dump: the local AL and its interfaces (model/), the count
// of the Agents, the device list (topology/). Timer thread, once per cycle.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "module/base/diag.h"
#include "module/base/json.h"
#include "module/base/owned.h"
#include "module/base/paths.h"
#include "module/model/al_table.h"
#include "module/model/local_al.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "initALTable";
constexpr useconds_t kDumpSettleMicroseconds = 100000;
constexpr std::uint32_t kTopologyAvailable = 1;

// All else is 0 and empty as allocated: the Status, "Incomplete", the change log and its counts, the device list.
int build_network_topology(json_object *topology) {
    qo1905_network_topology &network = *getNetTopolTable();
    network.Enable = 1;
    network.IEEE1905DeviceNumberOfEntries = static_cast<std::uint16_t>(get1905AgentDevNumber(topology));
    trace_at(kName, 2473, "ieee1905DevNum=%d\n", network.IEEE1905DeviceNumberOfEntries);
    if (network.IEEE1905DeviceNumberOfEntries != 0) {
        const int result = getIeee1905DevTable(topology);
        if (result != QO1905_SUCCESS) {
            std::printf("Fail update Ieee1905DevTable!\n");
            destroy_al_table();
            return result;
        }
    }
    network.Status = kTopologyAvailable;
    return QO1905_SUCCESS;
}

// Element 0 of the dump is the local device.
int build_table(json_object *topology) {
    destroy_al_table();
    al_table = record_new<qo1905_al_table>();
    if (al_table == nullptr) {
        return QO1905_FAILURE;
    }
    al_table->LastChangeTime = static_cast<std::uint32_t>(std::time(nullptr));
    retrieveAlTable(*al_table, json_text(JsonItems(topology)[0], "AL MAC"));
    trace_at(kName, 2436, "retrieveAlTable() success\n");
    const int result = retrieveIntfTable(*al_table);
    if (result != QO1905_SUCCESS) {
        return result;
    }
    trace_at(kName, 2445, "retrieveIntfTable() success\n");
    return build_network_topology(topology);
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t initALTable() {
    usleep(kDumpSettleMicroseconds);  // the daemon may still be writing its dump
    const JsonTree dump = json_read_file(kDumpFile);
    if (dump == nullptr) {
        std::printf("[%s] second chance - dump information is not ready. \n", kName);
        return QO1905_FAILURE;
    }
    json_object *topology = json_member(dump.get(), "topology information");
    return topology != nullptr ? build_table(topology) : QO1905_FAILURE;
}
