#include "module/base/diag.h"

#include <cstdarg>

namespace qo1905 {

void trace_at(const char *function, int line, const char *format, ...) {
    if (!tracing()) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    flockfile(stdout);
    std::printf("[qo1905] [%s:%d] ", function, line);
    std::vprintf(format, arguments);
    funlockfile(stdout);
    va_end(arguments);
}

void trace(const char *format, ...) {
    if (!tracing()) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
}

int notice_not_implemented(const char *function, int line) {
    return std::printf("\033[36m[NOTYET][%s:%d]\033[0m\n", function, line);
}

}  // namespace qo1905
