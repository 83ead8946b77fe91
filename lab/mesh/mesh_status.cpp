// What a mesh tells of itself, as a table and as data.

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <numeric>
#include <sstream>

#include "lab/mesh/mesh.h"
#include "lab/world/views.h"

namespace lab {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kLossNames[kLosses] = {"too long", "to unknown devices", "out of reach", "without a listener"};

}  // namespace

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
    Json lab = {{"scenario", options_.scenario}, {"folder", setup_.folder}, {"speed", nullptr}};
    if (options_.speed) {
        lab["speed"] = *options_.speed;
    }
    lab["behind"] = clock_ ? clock_->behind() : 0;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        const Count &count = counts_[i];
        const Traffic &traffic = air_.traffic(i);
        Json &device = data["devices"][i];
        device["folder"] = nodes_[i]->folder();
        device["running"] = nodes_[i]->is_ready();
        device["starts"] = count.starts;
        device["cycles"] = count.cycles;
        device["sent"] = traffic.sent;
        device["received"] = traffic.received;
        Json lost = Json::object();
        for (std::size_t loss = 0; loss < kLosses; ++loss) {
            lost[kLossNames[loss]] = traffic.lost[loss];
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
    const Traffic &traffic = air_.traffic(device);
    const char *state = node.is_ready() ? "up" : node.is_running() ? "starting" : "down";
    const std::string url = rest_url(node);
    text << std::left << std::setw(16) << world_.at_start(device).name << ' ' << std::setw(11)
         << (world_.now(device).role == Role::kController ? "Controller" : "Agent") << ' ' << std::setw(8) << state
         << std::right << std::setw(8) << counts_[device].cycles << std::setw(8) << traffic.sent << std::setw(9)
         << traffic.received << std::setw(8) << traffic.lost_in_all() << std::setw(9) << stations_on(device)
         << std::setw(8) << world_.now(device).blocked.size() << "  " << (url.empty() ? "-" : url) << '\n';
    return text.str();
}

std::string Mesh::status_table() const {
    std::ostringstream text;
    text << options_.scenario << ": cycle " << world_.cycle() << "; " << pace() << "; in " << setup_.folder << '\n';
    if (clock_ && clock_->behind() >= kNoticeablyBehind) {
        text << "this machine does not keep up: the last " << clock_->behind()
             << " cycles began before the one before was done\n";
    }
    text << "DEVICE           ROLE        STATE     CYCLES    SENT RECEIVED    LOST STATIONS BLOCKED  REST SERVER\n";
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        text << status_row(i);
    }
    text << "lost:";
    for (std::size_t loss = 0; loss < kLosses; ++loss) {
        text << (loss == 0 ? " " : ", ") << air_.lost(static_cast<Loss>(loss)) << ' ' << kLossNames[loss];
    }
    return text.str() + '\n';
}

std::string Mesh::station_table() const {
    std::ostringstream text;
    text << "STATION              MAC                ADDRESS          DEVICE           INTERFACE  SIGNAL    RATE\n";
    for (std::size_t i = 0; i < world_.scenario().stations.size(); ++i) {
        const StationAtStart &station = world_.station(i);
        const StationNow &now = world_.station_now(i);
        const auto place = world_.bss_of(i);
        text << std::left << std::setw(20) << world_.station_name(i) << ' ' << std::setw(18) << station.mac << ' '
             << std::setw(16) << station.ip << ' ' << std::setw(16) << world_.at_start(now.device).name << ' ';
        if (place) {
            text << std::setw(9) << world_.bss(now.device, *place).interface << std::right << std::setw(8) << now.signal
                 << std::setw(8) << world_.rate(i) << '\n';
        } else {
            text << "- (not connected)\n";
        }
    }
    return text.str();
}

}  // namespace lab
