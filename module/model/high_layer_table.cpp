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

}  // namespace qo1905
