// What every room prints with. Error lines go straight through printf; the trace only at log level 7 and above.
// Both standard output and `log_level` belong to the host.
#pragma once

#include <cstdio>

#include "module/platform/lanmon.h"

namespace qo1905 {

inline constexpr int kTraceLevel = 7;

inline bool tracing() { return log_level >= kTraceLevel; }

// What the C library prints for a text that is not set, without handing it a null pointer.
inline const char *shown(const char *text) { return text != nullptr ? text : "(null)"; }

// One numbered trace line, "[qo1905] [function:line] ..." in one piece. The numbers are fixed: support scripts look
// for them.
void trace_at(const char *function, int line, const char *format, ...) __attribute__((format(printf, 3, 4)));

// The same without a heading.
void trace(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The notice of an entry point that is not implemented. Returns the number of characters printed.
int notice_not_implemented(const char *function, int line);

}  // namespace qo1905
