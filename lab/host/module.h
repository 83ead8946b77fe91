// The module as the host loads it.
#pragma once

#include <cstdint>
#include <string>

namespace lab {

class Module {
public:
    // Loads it and calls its entry, which registers its timer event. Never unloaded: its thread lives as long as the
    // process. Throws Error.
    explicit Module(const std::string &path);

    // Has it write its change log, as hosts may at any time; the lab's does after every cycle.
    void write_change_log() const;

private:
    std::int32_t (*write_change_log_)();  // null in a module without
};

}  // namespace lab
