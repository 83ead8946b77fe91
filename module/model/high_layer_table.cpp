#include "module/model/high_layer_table.h"

#include <atomic>
#include <cstddef>
#include <cstdio>

#include "module/base/owned.h"
#include "module/model/list.h"

namespace qo1905 {
namespace {

constexpr int kMoveLockLimit = 20;

qo1905_report *high_layer_table QO1905_GUARDED_BY(update_lock) = nullptr;
// Changed under the lock; the timer thread looks at it without, to leave an empty table alone. Nothing else is read on
// its word, so no order is asked for.
std::atomic<unsigned> high_layer_count{0};
unsigned report_count() { return high_layer_count.load(std::memory_order_relaxed); }
void set_report_count(unsigned count) { high_layer_count.store(count, std::memory_order_relaxed); }
qo1905_report *high_layer_copy = nullptr;
const IndexedNodes *index_of_copy = nullptr;
constexpr std::size_t kAgentAt = offsetof(qo1905_report, agentAlMac);

// These fail when a record grows, so that the copies below are looked at again.
static_assert(sizeof(qo1905_client) == (sizeof(void *) == 8 ? 16 : 12));
static_assert(sizeof(qo1905_report) == (sizeof(void *) == 8 ? 704 : 692));

qo1905_client *copyList_ecntWifiInfo(const qo1905_client *clients) {
    qo1905_client *copy = nullptr;
    ListTail<qo1905_client> tail(copy);
    for (const qo1905_client &client : ListNodes(clients)) {
        auto *node = record_new<qo1905_client>();
        if (node == nullptr) {
            continue;
        }
        *node = client;
        node->next = nullptr;
        tail.append(node);
    }
    return copy;
}

void drop_oldest_report() QO1905_REQUIRES(update_lock) {
    qo1905_report *oldest = high_layer_table;
    unlink_report(oldest);
    report_free(oldest);
}

int destroy_reports(qo1905_report *&head, const char *name) {
    if (head == nullptr) {
        std::printf("%s: already NULL!\n", name);
        return QO1905_SUCCESS;
    }
    free_list(head);
    return QO1905_SUCCESS;
}

// The table may be empty again: the one report in it may have been taken back for want of memory.
void replace_copy() QO1905_REQUIRES(update_lock) {
    if (high_layer_table == nullptr) {
        return;
    }
    if (high_layer_copy != nullptr) {
        destroyDupEcnt1905Table();
    }
    high_layer_copy = copyList();
    destroyEcnt1905Table();
}

}  // namespace

void report_free(qo1905_report *report) { free_list(report); }

bool append_report(qo1905_report *report) {
    if (report_count() == kMaxReports) {
        drop_oldest_report();
    }
    const bool was_empty = high_layer_table == nullptr;
    ListTail<qo1905_report>(high_layer_table).append(report);
    set_report_count(report_count() + 1);
    return was_empty;
}

void unlink_report(qo1905_report *report) {
    for (qo1905_report **link = &high_layer_table; *link != nullptr; link = &(*link)->next) {
        if (*link == report) {
            *link = report->next;
            report->next = nullptr;
            set_report_count(report_count() - 1);
            return;
        }
    }
}

qo1905_report *copyList() {
    qo1905_report *copy = nullptr;
    ListTail<qo1905_report> tail(copy);
    for (const qo1905_report &report : ListNodes(high_layer_table)) {
        auto *node = record_new<qo1905_report>();
        if (node == nullptr) {
            continue;
        }
        *node = report;
        node->next = nullptr;
        node->clientList = copyList_ecntWifiInfo(report.clientList);
        tail.append(node);
    }
    return copy;
}

int destroyEcnt1905Table() {
    set_report_count(0);
    return destroy_reports(high_layer_table, "destroyEcnt1905Table");
}

int destroyDupEcnt1905Table() { return destroy_reports(high_layer_copy, "destroyDupEcnt1905Table"); }

void move_reports_to_copy() {
    if (report_count() == 0) {
        return;
    }
    int failures = 0;
    if (update_lock.try_acquire(kMoveLockLimit, failures)) {
        replace_copy();
        update_lock.release();
    }
    // Only the very last attempt is reported, won as it was; a lock that was lost for good stays silent.
    if (failures == kMoveLockLimit) {
        std::printf("%s: i=timeout, We lost lock.\n", "getIeee1905DevTable");
    }
}

const qo1905_report *copied_reports() { return high_layer_copy; }

CopiedReportsIndexed::CopiedReportsIndexed() : index_(kAgentAt) {
    index_.enter(high_layer_copy);
    index_of_copy = &index_;
}

CopiedReportsIndexed::~CopiedReportsIndexed() { index_of_copy = nullptr; }

RecordMatch<qo1905_report> reports_of(const Mac &agent) {
    using Match = RecordMatch<qo1905_report>;
    return index_of_copy != nullptr ? Match(*index_of_copy, agent) : Match(high_layer_copy, kAgentAt, agent);
}

}  // namespace qo1905
