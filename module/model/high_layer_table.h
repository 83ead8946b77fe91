// The reports that Agents sent since the last cycle (the high-layer table), and the imported reports that the timer
// thread works with. The receiver thread appends to the table; the timer thread takes all of it over at once.
// update_lock guards the table; the imported reports belong to the timer thread alone.
#pragma once

#include "module/model/update_lock.h"
#include "qo1905.h"

namespace qo1905 {

// A gateway whose dump fails for a week must not grow without end: one report more drops the oldest.
inline constexpr unsigned kMaxReports = 1024;

bool has_reports() QO1905_REQUIRES(update_lock);

// Links a report at the table's end and takes ownership of it.
void append_report(qo1905_report *report) QO1905_REQUIRES(update_lock);

// Frees a report and its client list. Takes null.
void report_free(qo1905_report *report);

// Takes the table over in place of the reports imported before, unless it is empty or the lock cannot be had: then
// those stay in use.
void import_reports();

// The newest of the imported reports, before it the next older one; null while none has ever been imported.
const qo1905_report *imported_reports();

// Frees the imported reports.
void destroyDupEcnt1905Table();

}  // namespace qo1905
