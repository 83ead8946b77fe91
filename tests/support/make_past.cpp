// A day and a night at home, recorded: for tests and for the examples of the pages. Of the same scenario always the
// same.
//
// usage: make-past SCENARIO FILE
//
// From 2026-11-21 06:00 to 2026-11-22 06:00, UTC:
//     phone-anna leaves at 07:40, is back at the gateway at 17:20 and goes up to the attic at 22:30
//     vacuum bounces between living-room and gateway from 10:00 to 10:20
//     attic has no power from 12:00 to 12:07
//     phone-ben is carried to the attic at 23:00 and sticks to the living-room until 01:30
//     attic's link is bad from 02:30 to 04:10
//     there is no model from 04:30 to 04:50; after that attic has another firmware

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "history/recorder.h"
#include "lab/moment/moment.h"
#include "lab/world/world.h"

namespace {

using history::Number;
using lab::World;

constexpr Number kStart = 1795240800;
constexpr Number kCycle = 20;
constexpr Number kCycles = history::kDay / kCycle + 1;

// Seconds of the day that begins at 06:00 of the clock.
constexpr Number at(Number hour, Number minute) { return ((hour + 18) % 24 * 60 + minute) * 60; }
bool is_between(Number time, Number from, Number until) { return time >= from && time < until; }

class Day {
public:
    explicit Day(const std::string &scenario) : world_(calm(scenario)) {}

    void record(const std::string &file) {
        history::RecorderOptions options;
        options.is_durable = false;  // there is no power to lose
        history::Recorder recorder(file, options);
        for (Number cycle = 0; cycle < kCycles; ++cycle) {
            const Number time = cycle * kCycle;
            live(time);
            if (is_between(time, at(4, 30), at(4, 50))) {
                recorder.miss("home", "/tmp/qo1905.json: No such file or directory");
            } else {
                recorder.take("home", moment(time), static_cast<double>(time));
                recorder.commit_if_due(static_cast<double>(time));
            }
            world_.step();
        }
        recorder.commit();
    }

private:
    static lab::Scenario calm(const std::string &file) {
        lab::Scenario scenario = lab::Scenario::read(lab::JsonValue::read_file(file));
        scenario.pace = {0, 0, 0, 0};
        return scenario;
    }

    void live(Number time) {
        const std::size_t gateway = 0, living_room = 1, attic = 2;
        is_anna_away_ = is_between(time, at(7, 40), at(17, 20));
        move("phone-anna", time < at(17, 20) || time >= at(22, 30) ? attic : gateway);
        const bool is_vacuum_out = is_between(time, at(10, 0), at(10, 20)) && time % 120 < 40;
        move("vacuum", is_vacuum_out ? gateway : living_room);
        move("phone-ben", time < at(1, 30) ? living_room : attic);
        world_.set_up(attic, !is_between(time, at(12, 0), at(12, 7)));
    }

    void move(const std::string &name, std::size_t device) { world_.move(world_.find_stations(name).at(0), device); }

    reader::Snapshot moment(Number time) const {
        reader::Snapshot moment = lab::moment_of(world_, reader::time_of(kStart + time));
        const auto is_away = [this](const reader::Station &station) {
            return is_anna_away_ && station.name == "phone-anna";
        };
        moment.stations.erase(std::remove_if(moment.stations.begin(), moment.stations.end(), is_away),
                              moment.stations.end());
        // Nobody sits quite still.
        for (std::size_t i = 0; i < moment.stations.size(); ++i) {
            if (moment.stations[i].signal) {
                *moment.stations[i].signal -= static_cast<int>((static_cast<std::size_t>(time) / 1200 + i) % 7);
            }
        }
        for (reader::Station &station : moment.stations) {
            if (station.name == "phone-ben" && is_between(time, at(23, 0), at(1, 30))) {
                station.signal = -82 - static_cast<int>(time / kCycle % 3);
                station.rate = 26;
            }
        }
        for (reader::Device &device : moment.devices) {
            if (device.name == "attic") {
                device.firmware = time < at(4, 50) ? "2.3.9" : "2.4.1";
                const bool is_bad = is_between(time, at(2, 30), at(4, 10));
                device.signal = is_bad ? -80 - static_cast<int>(time / kCycle % 4) : device.signal;
                device.rate = is_bad ? 78 : device.rate;
            }
        }
        return moment;
    }

    World world_;
    bool is_anna_away_ = false;
};

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make-past SCENARIO FILE\n");
        return 2;
    }
    try {
        Day(argv[1]).record(argv[2]);
    } catch (const std::exception &error) {
        std::cerr << "make-past: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
