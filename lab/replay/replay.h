// One device on a topology dump from the field: the real module, in a sandbox, with the dump served as its daemon
// would.
#pragma once

#include <string>

namespace lab {

struct ReplayOptions {
    // Files, "-" for standard input, empty for none.
    std::string dump;     // none: the lab's own sample, with its reports, leases and device
    std::string reports;  // a JSON array of payloads that arrive from other devices (docs/messages.md)
    std::string leases;   // dnsmasq's lease file
    std::string device;   // a device description (docs/lab.md); none: what the dump tells
    std::string out;      // a folder; none: a new one in /tmp
    unsigned cycles = 0;  // 0: as many as it takes to have everything in the model
    bool stay = false;    // until a signal comes
    double unit_seconds = 0.02;
    int log_level = 0;
};

// `project`: with lab/sandbox.sh; `build`: with the programs. Returns the exit status: 0 with a model, 1 when none was
// made, which is then explained. Throws Error.
int replay(const ReplayOptions &wishes, const std::string &project, const std::string &build);

}  // namespace lab
