#include "cli/wait.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <thread>

#include "cli/mesh.h"

namespace cli {
namespace {

constexpr auto kPause = std::chrono::milliseconds(200);

}  // namespace

std::string read_wanted(const std::string &words, Wanted &wanted) {
    const std::size_t equals = words.find('=');
    const std::string kind = words.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : words.substr(equals + 1);
    if (value.empty()) {
        return "must be station=NAME, station=NAME@DEVICE, device=NAME or devices=N";
    }
    if (kind == "devices") {
        const auto result = std::from_chars(value.data(), value.data() + value.size(), wanted.devices);
        const bool is_number = result.ec == std::errc() && result.ptr == value.data() + value.size();
        return is_number && wanted.devices > 0 ? "" : "must be a number of devices, 1 or more";
    }
    if (kind == "device") {
        wanted.device = value;
        return "";
    }
    if (kind != "station") {
        return "must be about a station, a device or devices";
    }
    const std::size_t at = value.rfind('@');
    wanted.station = value.substr(0, at);
    wanted.device = at == std::string::npos ? "" : value.substr(at + 1);
    return wanted.station.empty() || (at != std::string::npos && wanted.device.empty()) ? "must name a station" : "";
}

bool is_fulfilled(const reader::Snapshot &snapshot, const Wanted &wanted) {
    if (snapshot.devices.size() < wanted.devices) {
        return false;
    }
    const auto devices = find(snapshot, wanted.device).devices;
    if (!wanted.device.empty() && devices.empty()) {
        return false;
    }
    const auto is_at = [&](const reader::Station *station) {
        return wanted.device.empty() || std::any_of(devices.begin(), devices.end(), [&](const reader::Device *device) {
                   return device->al_mac == station->device;
               });
    };
    const auto stations = find(snapshot, wanted.station).stations;
    return wanted.station.empty() || std::any_of(stations.begin(), stations.end(), is_at);
}

Waited wait_until(reader::Source &source, const Wanted &wanted, double seconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    for (;;) {
        const reader::Snapshot snapshot = reader::make_snapshot(source.read());
        const reader::Problem *problem = snapshot.problem_with(reader::Missing::Part::kModel);
        const bool fulfilled = is_fulfilled(snapshot, wanted);
        if (fulfilled || Clock::now() >= end || !source.can_change()) {
            return {fulfilled, problem != nullptr ? problem->text() : ""};
        }
        std::this_thread::sleep_until(std::min(end, Clock::now() + kPause));
    }
}

}  // namespace cli
