// One line for monitoring systems, by their conventions: OK, WARNING, CRITICAL or UNKNOWN, why, and performance data.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "cli/health.h"
#include "cli/mesh.h"

namespace cli {

struct Limits {
    double max_age = kFresh;  // seconds
    std::size_t min_devices = 1;
    std::size_t max_weak = 5;
    int weak_below = kWeakSignal;  // dBm
};

// `name` is that of a source. 0 OK, 1 warning, 2 critical, 3 unknown.
int check(const std::string &name, const Limits &limits, std::ostream &out);

}  // namespace cli
