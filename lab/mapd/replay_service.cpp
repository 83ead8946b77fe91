#include "lab/mapd/replay_service.h"

#include "lab/common/input.h"
#include "lab/common/json.h"

namespace lab {
ReplayService::ReplayService(const std::string &dump, std::string dump_path, const std::string &reports,
                             const std::string &record)
    : dump_(read_input(dump)), dump_path_(std::move(dump_path)), record_(record, std::ios::app) {
    if (!reports.empty()) {
        for (const JsonValue &report : JsonValue::read_file(reports).items()) {
            reports_.push_back(report.dump());
        }
    }
}

bool ReplayService::dump_topology() {
    std::ofstream file(dump_path_, std::ios::binary | std::ios::trunc);
    file << dump_;
    file.close();
    reports_due_ = true;
    return !file.fail();
}

void ReplayService::send_higher_layer_data(const std::string &destination, std::uint8_t protocol,
                                           const std::string &payload) {
    record_ << "tx_higher_layer_data " << destination << ' ' << static_cast<int>(protocol) << ' ' << payload
            << std::endl;
}

void ReplayService::block_acl(const std::vector<std::string> &words) {
    record_ << "block_acl";
    for (const std::string &word : words) {
        record_ << ' ' << word;
    }
    record_ << std::endl;
}

std::vector<std::string> ReplayService::due_reports() {
    if (!reports_due_) {
        return {};
    }
    reports_due_ = false;
    return reports_;
}

}  // namespace lab
