// What a memory costs: bytes per station and day, processor time per cycle, and how soon answers come after months.
//
// usage: bench-history FILE STATIONS DAYS [busy]    a day of a calm home: some twenty sessions a station; busy: as the
//                                                   lab's worlds move by themselves, far more than people do

#include <ctime>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "history/past.h"
#include "history/recorder.h"
#include "lab/moment/moment.h"
#include "lab/world/generate.h"

namespace {

using history::Number;
using history::Past;

constexpr Number kStart = 1760000400;
constexpr Number kCycle = 20;
constexpr Number kCyclesADay = history::kDay / kCycle;

double processor_time() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// A world whose people come, go and walk about some twenty times a day.
class Home {
public:
    Home(std::size_t stations, bool is_busy) : world_(lab::generate(plan(stations, is_busy))), is_busy_(is_busy) {}

    void step() {
        world_.step();
        if (is_busy_) {
            return;
        }
        constexpr unsigned kMovesADay = 20;
        for (std::size_t i = 0; i < world_.scenario().stations.size(); ++i) {
            if (random_() % kCyclesADay < kMovesADay) {
                world_.move(i, random_() % world_.size());
            }
        }
    }

    const lab::World &world() const { return world_; }

private:
    static lab::Plan plan(std::size_t stations, bool is_busy) {
        lab::Plan plan;
        plan.agents = std::min<std::size_t>(2 + stations / 30, 16);
        plan.stations = stations;
        if (!is_busy) {
            plan.pace = {0, 0, 0, 2};
        }
        return plan;
    }

    lab::World world_;
    const bool is_busy_;
    std::mt19937_64 random_{5};
};

void record(const std::string &file, Home &home, Number days) {
    history::RecorderOptions options;
    options.is_durable = false;  // there is no power to lose
    history::Recorder recorder(file, options);
    std::vector<double> costs;
    for (Number cycle = 0; cycle < days * kCyclesADay; ++cycle) {
        const Number time = kStart + cycle * kCycle;
        const auto moment = lab::moment_of(home.world(), reader::time_of(time));
        const double before = processor_time();
        recorder.take("home", moment, static_cast<double>(time));
        recorder.look_after(time, static_cast<double>(time));
        recorder.commit_if_due(static_cast<double>(time));
        costs.push_back(processor_time() - before);
        home.step();
    }
    recorder.commit();
    double sum = 0;
    for (const double cost : costs) {
        sum += cost;
    }
    std::sort(costs.begin(), costs.end());
    std::printf("recording, ms of processor per cycle: %.3f on average, %.3f of 99 in 100, %.3f at most\n",
                sum / static_cast<double>(costs.size()), costs[costs.size() * 99 / 100], costs.back());
}

void tell_size(const std::string &file, std::size_t stations, Number days) {
    history::Database database(file, history::Database::Use::kWrite);
    database.run("PRAGMA wal_checkpoint(TRUNCATE)");
    const auto bytes = static_cast<double>(std::filesystem::file_size(file));
    std::printf("%.1f MB, bytes per station and day: %.0f\n", bytes / 1e6,
                bytes / static_cast<double>(stations) / static_cast<double>(days));
}

void tell_answer(const char *question, const std::function<void()> &ask) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        const auto before = std::chrono::steady_clock::now();
        ask();
        best = std::min(best,
                        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before).count());
    }
    std::printf("%-44s %8.1f ms\n", question, best);
}

void tell_answers(const std::string &file, Number days) {
    const Past past(file);
    const Number home = past.homes().at(0).id, last = past.homes().at(0).last;
    const history::Span all{kStart, last + 1}, day{last - history::kDay, last + 1};
    const auto station = past.find(home, past.names(home).back()).at(0);
    const auto device = past.find(home, "gateway").at(0);
    tell_answer("station NAME, a day", [&] {
        (void)past.sessions(station.node, day);
        (void)past.curve(home, station.node, day, 600);
    });
    tell_answer("station NAME, everything", [&] {
        (void)past.sessions(station.node, all);
        (void)past.curve(home, station.node, all, 600);
    });
    tell_answer("link DEVICE, everything", [&] {
        (void)past.sessions(device.node, all);
        (void)past.curve(home, device.node, all, 600);
    });
    tell_answer("roams, everything, the newest 100", [&] { (void)past.roams(home, all, 100); });
    tell_answer("roams --top, everything", [&] { (void)past.roamers(home, all); });
    tell_answer("sticky, everything", [&] { (void)past.sticky(home, all, 600, 100); });
    tell_answer("at, in the middle", [&] { (void)past.at(home, kStart + days * history::kDay / 2); });
    tell_answer("at, near the end", [&] { (void)past.at(home, last - 3000); });
    tell_answer("gaps", [&] { (void)past.gaps(home, all); });
    tell_answer("counts", [&] { (void)past.counts(home, all, 600); });
    tell_answer("find NAME", [&] { (void)past.find(home, station.name.value_or("")); });
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: bench-history FILE STATIONS DAYS [busy]\n");
        return 2;
    }
    const std::string file = argv[1];
    const std::size_t stations = std::stoul(argv[2]);
    const Number days = std::stol(argv[3]);
    const bool is_busy = argc > 4 && std::strcmp(argv[4], "busy") == 0;
    if (!std::filesystem::exists(file)) {
        Home home(stations, is_busy);
        std::printf("%zu stations, %ld days%s\n", stations, static_cast<long>(days), is_busy ? ", busy" : "");
        record(file, home, days);
    }
    tell_size(file, stations, days);
    tell_answers(file, days);
    return 0;
}
