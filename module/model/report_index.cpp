#include "module/model/report_index.h"

#include "module/model/high_layer_table.h"
#include "module/model/list.h"

namespace qo1905 {
namespace {

// A MAC leaves the upper 16 bits of a key free; there are far fewer Agents with reports.
constexpr std::uint64_t kOneAgent = std::uint64_t{1} << 48U;
static_assert(kMaxReports <= 0xffff);

}  // namespace

bool ReportIndex::build(const qo1905_report *newest) {
    for (const qo1905_report &report : ListNodes(newest)) {
        if (!agents_.add(mac_key(report.agentAlMac), &report)) {
            return false;
        }
    }
    agents_.sort();
    const MacIndex::Entry *agent = agents_.begin();
    std::size_t from = 0;
    for (const MacIndex::Entry &entry : agents_) {
        if (entry.key != agent->key) {
            rates_.sort(from);
            from = rates_.size();
            agent = &entry;
        }
        if (!add_rates(*static_cast<const qo1905_report *>(entry.record), agent_key(agent))) {
            return false;
        }
    }
    rates_.sort(from);
    return true;
}

// The place of an Agent's first report in the index stands for the Agent.
std::uint64_t ReportIndex::agent_key(const MacIndex::Entry *agent) const {
    return static_cast<std::uint64_t>(agent - agents_.begin()) * kOneAgent;
}

bool ReportIndex::add_rates(const qo1905_report &report, std::uint64_t agent_key) {
    for (const qo1905_client &client : ListNodes(report.clientList)) {
        if (!rates_.add(agent_key | mac_key(client.Mac), &client)) {
            return false;
        }
    }
    return true;
}

ReportIndex::Reported ReportIndex::of(const Mac &agent) const {
    const MacIndex::Entry *entry = agents_.find(mac_key(agent));
    if (entry == nullptr) {
        return {};
    }
    const std::uint64_t key = agent_key(entry);
    return {static_cast<const qo1905_report *>(entry->record), key, rates_.between(key, key + kOneAgent)};
}

std::uint16_t ReportIndex::Reported::rate(const Mac &station) const {
    const MacIndex::Entry *entry = rates.find(agent_key | mac_key(station));
    return entry != nullptr ? static_cast<const qo1905_client *>(entry->record)->phyRate : std::uint16_t{0};
}

}  // namespace qo1905
