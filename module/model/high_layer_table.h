// The reports that Agents sent since the last cycle (the high-layer table), and the copy that the timer thread works
// with. The receiver thread appends to the table; the timer thread moves it into the copy. update_lock guards the
// table; the copy belongs to the timer thread alone.
#pragma once

#include "module/model/list.h"
#include "module/model/mac_index.h"
#include "module/model/update_lock.h"
#include "qo1905.h"

namespace qo1905 {

// A gateway whose dump fails for a week must not grow without end: one report more drops the oldest.
inline constexpr unsigned kMaxReports = 1024;

// Links a report at the table's end and takes ownership of it. Returns true when the table was empty before.
bool append_report(qo1905_report *report) QO1905_REQUIRES(update_lock);

// Takes the report out of the table again, without freeing it.
void unlink_report(qo1905_report *report) QO1905_REQUIRES(update_lock);

// A deep copy of the table, in the same order; null for an empty one. A node that there is no memory for is left out.
qo1905_report *copyList() QO1905_REQUIRES(update_lock);

// Frees a report and its client list. Takes null.
void report_free(qo1905_report *report);

// Each frees every entry and leaves its list empty; on an empty list they only say so. Return QO1905_SUCCESS.
int destroyEcnt1905Table() QO1905_REQUIRES(update_lock);
int destroyDupEcnt1905Table();

// The table moved into the copy, unless it is empty or the lock cannot be had: then the old copy stays in use.
void move_reports_to_copy();

// Head of the copy; null while no report has ever been moved.
const qo1905_report *copied_reports();

// As long as one lives, the copy is found by Agent; it may not change meanwhile.
class CopiedReportsIndexed {
public:
    CopiedReportsIndexed();
    ~CopiedReportsIndexed();
    CopiedReportsIndexed(const CopiedReportsIndexed &) = delete;
    CopiedReportsIndexed &operator=(const CopiedReportsIndexed &) = delete;

private:
    IndexedNodes index_;
};

// The reports of this Agent in the copy, the oldest first.
RecordMatch<qo1905_report> reports_of(const Mac &agent);

}  // namespace qo1905
