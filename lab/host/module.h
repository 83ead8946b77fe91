// The module as the host loads it.
#pragma once

#include <cstdint>
#include <string>

#include "lab/host/change_log.h"

namespace lab {

class Module {
public:
    // Loads it and calls its entry, which registers its timer event. Never unloaded: its thread lives as long as the
    // process. Throws Error.
    explicit Module(const std::string &path);

    // Fills the change log of its table and has it write that, as hosts may at any time on the timer thread; the lab's
    // does after every cycle.
    void write_change_log();

private:
    std::int32_t (*write_change_log_)();            // null in a module without
    struct qo1905_network_topology *(*network_)();  // likewise
    ChangeLog change_log_;
};

}  // namespace lab
