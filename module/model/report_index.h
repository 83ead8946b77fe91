// The imported reports of Agents, found by Agent and station. Timer thread.
#pragma once

#include <cstdint>

#include "module/model/mac_index.h"
#include "qo1905.h"

namespace qo1905 {

// What the imported reports say, by Agent. An Agent's last report counts, also where it leaves a text empty; a
// station's rate is that of the last report with the station in it, and in a report that of the first entry.
class ReportIndex {
public:
    // False without memory; nothing may be asked then. The reports may not change as long as it is asked.
    [[nodiscard]] bool build(const qo1905_report *newest);

    // What one Agent reported.
    struct Reported {
        const qo1905_report *last = nullptr;  // its last report; null when there is none
        std::uint64_t agent_key = 0;
        MacIndex::Part rates;

        // Mbit/s; 0 for a station that it never reported.
        std::uint16_t rate(const Mac &station) const;
    };
    Reported of(const Mac &agent) const;

private:
    std::uint64_t agent_key(const MacIndex::Entry *agent) const;
    [[nodiscard]] bool add_rates(const qo1905_report &report, std::uint64_t agent_key);

    MacIndex agents_;  // reports by Agent, each Agent's newest first
    MacIndex rates_;   // clients by Agent and station, the newest first
};

}  // namespace qo1905
