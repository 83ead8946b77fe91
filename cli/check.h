// One line for monitoring systems, by their conventions: OK, WARNING, CRITICAL or UNKNOWN, why, and performance data.
#pragma once

#include <cstddef>
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

// What a monitoring system is told when there is nothing to judge.
inline constexpr int kStateUnknown = 3;

struct Checked {
    std::string line;
    int state;  // 0 OK, 1 warning, 2 critical, 3 unknown
};

// `name` is that of a source.
Checked check(const std::string &name, const Limits &limits);

}  // namespace cli
