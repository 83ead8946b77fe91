// Writes the neighbourhood's change log. The host decides when: nothing inside the module calls this, nor does it put
// entries in. Timer thread, or under whatever keeps the table from being rebuilt meanwhile.

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "module/base/paths.h"
#include "module/output/code_names.h"
#include "module/output/json_writer.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

// In the device's local time zone, without saying which.
void write_time_stamp(JsonWriter &json, std::uint32_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    const std::tm *local = std::localtime(&time);
    char text[96] = "";
    if (local != nullptr) {
        (void)std::snprintf(text, sizeof(text), "%.2d-%.2d-%.2dT%.2d:%.2d:%.2d", local->tm_year + 1900,
                            local->tm_mon + 1, local->tm_mday, local->tm_hour, local->tm_min, local->tm_sec);
    }
    json.name("TimeStamp"sv, text);
}

void write_entry(JsonWriter &json, unsigned number, const qo1905_change_log_entry &entry) {
    json.open_numbered("ChangeLog."sv, number);
    write_time_stamp(json, entry.TimeStamp);
    json.name("EventType"sv, code_name(CodeTable::kEventType, entry.EventType));
    json.mac("ReporterDeviceId"sv, entry.ReporterDeviceId);
    json.mac("ReporterInterfaceId"sv, entry.ReporterInterfaceId);
    json.name("NeighborType"sv, code_name(CodeTable::kNeighborType, entry.NeighborType));
    json.mac("NeighborId"sv, entry.NeighborId);
    json.close();
}

void write_last_change(JsonWriter &json, int number) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "ChangeLog.%d", number);
    json.name("LastChange"sv, text);
}

void write_change_log(JsonWriter &json, const qo1905_network_topology &network) {
    json.number("MaxChangeLogEntries"sv, network.MaxChangeLogEntries);
    write_last_change(json, network.LastChange);
    json.number("IEEE1905DeviceNumberOfEntries"sv, network.IEEE1905DeviceNumberOfEntries);
    json.number("ChangeLogNumberOfEntries"sv, network.ChangeLogNumberOfEntries);
    // A count beyond the array, which a host may have left, must not be read.
    const unsigned valid = std::min<unsigned>(network.ChangeLogNumberOfEntries, QO1905_CHANGE_LOG_CAPACITY);
    for (unsigned i = 0; i < valid; ++i) {
        write_entry(json, i + 1, network.ChangeLog[i]);
    }
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t writeJsonqo1905log() {
    MemoryText text;
    JsonWriter json(text);
    json.begin();
    const qo1905_network_topology *network = getNetTopolTable();
    if (network != nullptr) {
        write_change_log(json, *network);
    }
    json.end();
    write_text_file(kChangeLogFile, text);
    return 0;
}
