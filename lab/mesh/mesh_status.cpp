// What a mesh tells of itself, as a table and as data.

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <numeric>
#include <sstream>

#include "lab/mesh/mesh.h"
#include "lab/mesh/views.h"

namespace lab {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kLossNames[kLosses] = {"too long", "to unknown devices", "out of reach", "without a listener"};

}  // namespace

std::string short_number(double value) {
    constexpr double kLarge = 100;
    std::ostringstream text;
    text << std::setprecision(value < kLarge ? 3 : 9) << value;
    return text.str();
}

unsigned long Traffic::lost_in_all() const { return std::accumulate(std::begin(lost), std::end(lost), 0UL); }

// The server writes its address beside its pid file, which goes when the module has killed it.
std::string Mesh::rest_url(const Node &node) const {
    if (!node.is_running() || !std::filesystem::exists(node.folder() + "/run/rest_api_server.pid")) {
        return {};
    }
    std::ifstream file(node.folder() + "/run/rest_api_server.url");
    std::string url;
    (void)std::getline(file, url);
    return url;
}

nlohmann::ordered_json Mesh::status_data() const {
    Json data = world_state(world_);
    Json lab = {{"scenario", options_.scenario}, {"folder", setup_.folder}, {"speed", options_.speed}};
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        const Count &count = counts_[i];
        Json &device = data["devices"][i];
        device["folder"] = nodes_[i]->folder();
        device["running"] = nodes_[i]->is_ready();
        device["starts"] = count.starts;
        device["cycles"] = count.cycles;
        device["sent"] = count.traffic.sent;
        device["received"] = count.traffic.received;
        Json lost = Json::object();
        for (std::size_t loss = 0; loss < kLosses; ++loss) {
            lost[kLossNames[loss]] = count.traffic.lost[loss];
        }
        device["lost"] = lost;
        device["rest"] = rest_url(*nodes_[i]);
        device["last_cycle"] = {{"cycle", count.last.cycle},
                                {"agents", count.last.files.agents},
                                {"stations", count.last.files.stations},
                                {"files_written", count.last.files.files_written},
                                {"model_bytes", count.last.files.model_bytes},
                                {"resident_kb", count.last.resident_kb},
                                {"heap_bytes", count.last.heap_bytes},
                                {"descriptors", count.last.descriptors},
                                {"threads", count.last.threads}};
    }
    lab.update(data);
    return lab;
}

std::size_t Mesh::stations_on(std::size_t device) const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < world_.scenario().stations.size(); ++i) {
        count += world_.station_now(i).device == device && world_.bss_of(i) ? 1 : 0;
    }
    return count;
}

std::string Mesh::status_row(std::size_t device) const {
    std::ostringstream text;
    const Node &node = *nodes_[device];
    const Traffic &traffic = counts_[device].traffic;
    const char *state = node.is_ready() ? "up" : node.is_running() ? "starting" : "down";
    const std::string url = rest_url(node);
    text << std::left << std::setw(16) << world_.spec(device).name << ' ' << std::setw(11)
         << (world_.now(device).role == Role::kController ? "Controller" : "Agent") << ' ' << std::setw(8) << state
         << std::right << std::setw(8) << counts_[device].cycles << std::setw(8) << traffic.sent << std::setw(9)
         << traffic.received << std::setw(8) << traffic.lost_in_all() << std::setw(9) << stations_on(device)
         << std::setw(8) << world_.now(device).blocked.size() << "  " << (url.empty() ? "-" : url) << '\n';
    return text.str();
}

std::string Mesh::status_table() const {
    std::ostringstream text;
    text << options_.scenario << ": cycle " << world_.cycle() << ", " << short_number(options_.speed)
         << " times real speed, in " << setup_.folder << '\n'
         << "DEVICE           ROLE        STATE     CYCLES    SENT RECEIVED    LOST STATIONS BLOCKED  REST SERVER\n";
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        text << status_row(i);
    }
    text << "lost:";
    for (std::size_t loss = 0; loss < kLosses; ++loss) {
        unsigned long lost = 0;
        for (const Count &count : counts_) {
            lost += count.traffic.lost[loss];
        }
        text << (loss == 0 ? " " : ", ") << lost << ' ' << kLossNames[loss];
    }
    return text.str() + '\n';
}

}  // namespace lab
