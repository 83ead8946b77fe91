#include "module/model/high_layer_table.h"

#include <atomic>
#include <cstdio>

#include "module/model/list.h"

namespace qo1905 {
namespace {

constexpr int kImportLockLimit = 20;

// The oldest report first.
struct HighLayerTable {
    qo1905_report *head;
    qo1905_report *last;
    unsigned count;
};
HighLayerTable high_layer_table QO1905_GUARDED_BY(update_lock);
// The timer thread looks at it without the lock, to leave an empty table alone. Nothing else is read on its word, so no
// order is asked for.
std::atomic<bool> reports_wait{false};
qo1905_report *imported = nullptr;

void drop_oldest_report() QO1905_REQUIRES(update_lock) {
    qo1905_report *oldest = high_layer_table.head;
    high_layer_table.head = oldest->next;
    --high_layer_table.count;
    oldest->next = nullptr;
    report_free(oldest);
}

qo1905_report *take_reports() QO1905_REQUIRES(update_lock) {
    qo1905_report *reports = high_layer_table.head;
    high_layer_table = {};
    reports_wait.store(false, std::memory_order_relaxed);
    return reports;
}

qo1905_report *reversed(qo1905_report *reports) {
    qo1905_report *newest = nullptr;
    while (reports != nullptr) {
        qo1905_report *next = reports->next;
        reports->next = newest;
        newest = reports;
        reports = next;
    }
    return newest;
}

}  // namespace

void report_free(qo1905_report *report) { free_list(report); }

bool has_reports() { return high_layer_table.head != nullptr; }

void append_report(qo1905_report *report) {
    if (high_layer_table.count == kMaxReports) {
        drop_oldest_report();
    }
    if (high_layer_table.head == nullptr) {
        high_layer_table.head = report;
    } else {
        high_layer_table.last->next = report;
    }
    high_layer_table.last = report;
    ++high_layer_table.count;
    reports_wait.store(true, std::memory_order_relaxed);
}

void import_reports() {
    if (!reports_wait.load(std::memory_order_relaxed)) {
        return;
    }
    int failures = 0;
    if (update_lock.try_acquire(kImportLockLimit, failures)) {
        qo1905_report *reports = take_reports();
        update_lock.release();
        destroyDupEcnt1905Table();
        imported = reversed(reports);
    }
    // Only the very last attempt is reported, won as it was; a lock that was lost for good stays silent.
    if (failures == kImportLockLimit) {
        std::printf("%s: i=timeout, We lost lock.\n", "getIeee1905DevTable");
    }
}

const qo1905_report *imported_reports() { return imported; }

void destroyDupEcnt1905Table() { free_list(imported); }

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
