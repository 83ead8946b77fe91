// What happens in a world, written down by a witness of its own: where each station was, how well it was heard, and why
// it came and went. Knows nothing of how a history is kept.
#pragma once

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "history/past.h"
#include "lab/world/world.h"

namespace history_test {

struct Stay {
    std::int64_t since;
    std::optional<std::int64_t> until;
    std::size_t device;
    std::string came, went;
    int first_signal;
    std::optional<int> last_signal;  // of those that are over
};

struct Heard {
    std::int64_t time;
    std::size_t device;
    int signal;
    int rate;
};

// Of one station, by its place in the scenario.
struct StationLog {
    std::vector<Stay> stays;
    std::vector<Heard> heard;
    bool is_there() const { return !stays.empty() && !stays.back().until; }
};

class WorldLog {
public:
    explicit WorldLog(const lab::World &world) : world_(world), stations(world.scenario().stations.size()) {}

    // `starts`: nothing was seen before this moment.
    void see(std::int64_t time, bool starts) {
        const std::size_t controller = *world_.controller();
        for (std::size_t i = 0; i < stations.size(); ++i) {
            const bool is_there = world_.bss_of(i) && world_.reaches(controller, world_.station_now(i).device);
            see(stations[i], is_there ? std::optional(i) : std::nullopt, time, starts);
        }
    }

    // Nobody looks from here on.
    void look_away(std::int64_t last) {
        for (StationLog &log : stations) {
            if (log.is_there()) {
                end(log, last, "gap");
            }
        }
    }

private:
    void see(StationLog &log, std::optional<std::size_t> station, std::int64_t time, bool starts) {
        if (!station) {
            if (log.is_there()) {
                end(log, time, "leave");
            }
            return;
        }
        const lab::StationNow &now = world_.station_now(*station);
        if (!log.is_there()) {
            log.stays.push_back({time, {}, now.device, starts ? "start" : "join", "", now.signal, {}});
        } else if (log.stays.back().device != now.device) {
            const Stay left = log.stays.back();
            const bool came_by_roam = left.came == "roam" || left.came == "back";
            const bool is_back =
                came_by_roam && time - left.since <= 60 && log.stays[log.stays.size() - 2].device == now.device;
            end(log, time, "roam");
            log.stays.push_back({time, {}, now.device, is_back ? "back" : "roam", "", now.signal, {}});
        }
        log.heard.push_back({time, now.device, now.signal, world_.rate(*station)});
    }

    static void end(StationLog &log, std::int64_t time, const char *went) {
        log.stays.back().until = time;
        log.stays.back().went = went;
        log.stays.back().last_signal = log.heard.back().signal;
    }

    const lab::World &world_;

public:
    std::vector<StationLog> stations;
};

// A stay in words, as the witness and as the history has it.
inline std::string number_text(std::optional<std::int64_t> value) { return value ? std::to_string(*value) : "-"; }

inline std::string text(const lab::World &world, const Stay &stay) {
    return number_text(stay.since) + ' ' + number_text(stay.until) + ' ' + world.at_start(stay.device).al_mac + ' ' +
           stay.came + ' ' + (stay.went.empty() ? "-" : stay.went) + ' ' + number_text(stay.first_signal) + ' ' +
           number_text(stay.last_signal);
}

inline std::string text(const history::Session &session) {
    return number_text(session.since) + ' ' + number_text(session.until) + ' ' +
           (session.spot.device ? session.spot.device->text() : "-") + ' ' + word(session.came) + ' ' +
           (session.went ? word(*session.went) : "-") + ' ' + number_text(session.first_signal) + ' ' +
           number_text(session.last_signal);
}

// The same of all sessions of a station in a span.
inline std::vector<std::string> texts(const lab::World &world, const StationLog &log) {
    std::vector<std::string> all;
    std::transform(log.stays.begin(), log.stays.end(), std::back_inserter(all),
                   [&](const Stay &stay) { return text(world, stay); });
    return all;
}

inline std::vector<std::string> texts(const std::vector<history::Session> &sessions) {
    std::vector<std::string> all;
    std::transform(sessions.begin(), sessions.end(), std::back_inserter(all),
                   [](const history::Session &session) { return text(session); });
    return all;
}

}  // namespace history_test
