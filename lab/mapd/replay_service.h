// A daemon that knows one mesh by heart: the same dump at every request, and the same reports of Agents after it. What
// it is asked to send or to block it writes down.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "lab/mapd/control_server.h"

namespace lab {

class ReplayService : public ControlService {
public:
    // `dump` is the file that is replayed, as it is; `dump_path` where the module looks for it; `reports`, if not
    // empty, a JSON array of payloads; `record` the file for what was asked. Throws Error.
    ReplayService(const std::string &dump, std::string dump_path, const std::string &reports,
                  const std::string &record);

    bool dump_topology() override;
    void send_higher_layer_data(const std::string &destination, std::uint8_t protocol,
                                const std::string &payload) override;
    void block_acl(const std::vector<std::string> &words) override;

    // Payloads to deliver as events; empty when no dump was taken since the last call.
    std::vector<std::string> due_reports();

private:
    std::string dump_;
    std::string dump_path_;
    std::vector<std::string> reports_;
    bool reports_due_ = false;
    std::ofstream record_;
};

}  // namespace lab
