// Parses one device entry of the topology dump into the child lists and counters of its record. Timer thread.
#pragma once

#include <cstddef>

#include "module/model/report_index.h"
#include "qo1905.h"

struct json_object;

namespace qo1905 {

// getNbrDevInfo with what the Agents reported given along. `bytes` is how many of the dump the record was built from,
// at least.
int parse_dump_entry(json_object *topology, qo1905_device &device, std::uint16_t index, const ReportIndex &reports,
                     std::size_t &bytes);

}  // namespace qo1905
