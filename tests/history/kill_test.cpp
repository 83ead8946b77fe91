// Recording that is killed again and again: what was committed stands, and what comes after goes on from there.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <random>
#include <thread>

#include "history/past.h"
#include "history/recorder.h"
#include "lab/moment/moment.h"
#include "lab/world/generate.h"
#include "tests/history/world_log.h"

namespace {

using history::Number;
using history::Past;
using history_test::texts;
using history_test::WorldLog;
using lab::World;

constexpr Number kStart = 1760000400;
constexpr Number kCycle = 20;
constexpr Number kAnHour = 180;  // cycles
constexpr Number kCycles = kAnHour * 24 * 4;
constexpr int kKills = 200;

lab::Scenario scenario() {
    lab::Plan plan;
    plan.agents = 3;
    plan.stations = 12;
    return lab::generate(plan);
}

Number time_of(Number cycle) { return kStart + cycle * kCycle; }

std::optional<Number> last_in(const std::string &file) {
    try {
        const auto homes = Past(file).homes();
        return homes.empty() ? std::nullopt : std::optional(homes[0].last);
    } catch (const history::Failure &failure) {
        return std::nullopt;  // killed before its tables were made
    }
}

// From where the file ends to the end of the world.
void record(const std::string &file) {
    World world(scenario());
    history::RecorderOptions options;
    options.is_durable = false;  // there is no power to lose
    history::Recorder recorder(file, options);
    const Number last = recorder.last_of("world").value_or(0);
    for (Number cycle = 0; cycle < kCycles; ++cycle) {
        if (time_of(cycle) > last) {
            const auto uptime = static_cast<double>(time_of(cycle));
            recorder.take("world", lab::moment_of(world, reader::time_of(time_of(cycle))), uptime);
            recorder.look_after(time_of(cycle), uptime);
            recorder.commit_if_due(uptime);
        }
        world.step();
    }
    recorder.commit();
}

// False once a run has come to its end.
bool record_and_kill(const std::string &file, std::chrono::microseconds after) {
    const pid_t child = fork();
    if (child == 0) {
        record(file);
        _exit(0);
    }
    std::this_thread::sleep_for(after);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status);
}

void expect_sound(const std::string &file) {
    history::Database database(file, history::Database::Use::kRead);
    history::Statement check(database, "PRAGMA integrity_check");
    ASSERT_TRUE(check.step());
    ASSERT_EQ(check.text(0), "ok");
}

// Sessions, counts and samples up to the last commit, against a witness that nobody killed.
void expect_as_seen(const std::string &file, Number last) {
    World world(scenario());
    WorldLog log(world);
    for (Number time = kStart; time <= last; time += kCycle) {
        log.see(time, time == kStart);
        world.step();
    }
    const Past past(file);
    const Number home = past.homes().at(0).id;
    const history::Span span{kStart, last + 1};
    std::map<std::string, Number> roams;
    for (std::size_t i = 0; i < log.stations.size(); ++i) {
        const auto mac = reader::Mac::parse(world.station(i).mac).value();
        const auto station = past.find(home, mac, true);
        ASSERT_EQ(station.has_value(), !log.stations[i].stays.empty());
        if (!station) {
            continue;
        }
        ASSERT_EQ(texts(past.sessions(station->node, span)), texts(world, log.stations[i]))
            << mac.text() << ' ' << last;
        for (const auto &stay : log.stations[i].stays) {
            roams[mac.text()] += stay.came == "roam" || stay.came == "back" ? 1 : 0;
        }
        std::vector<Number> times, expected;
        const history::Span hours{last - 9000, last + 1};
        for (const history::Point &point : past.curve(home, station->node, hours, 600).points) {
            times.push_back(point.time * 1000 + point.signal.sum);
        }
        for (const auto &heard : log.stations[i].heard) {
            if (heard.time >= hours.from) {
                expected.push_back(heard.time * 1000 + heard.signal);
            }
        }
        ASSERT_EQ(times, expected) << mac.text() << ' ' << last;
    }
    for (const history::Roamer &roamer : past.roamers(home, span)) {
        EXPECT_EQ(roamer.roams, roams[roamer.station.mac.text()]);
    }
}

TEST(AKilledRecording, LosesNothingThatWasCommitted) {
    char name[] = "/tmp/qo1905-kill-XXXXXX";
    const std::string folder = mkdtemp(name);
    const std::string file = folder + "/history.db";
    std::mt19937 random(11);
    Number last = 0;
    int kills = 0;
    while (kills < kKills) {
        if (!record_and_kill(file, std::chrono::microseconds(random() % 12000))) {
            std::filesystem::remove(file);  // a fast machine: it came to its end, and begins anew
            last = 0;
            continue;
        }
        ++kills;
        const Number now = last_in(file).value_or(0);
        ASSERT_GE(now, last);
        last = now;
        if (last != 0) {
            expect_sound(file);
        }
        if (kills % 20 == 0 && last != 0) {
            expect_as_seen(file, last);
        }
    }
    record(file);
    expect_sound(file);
    expect_as_seen(file, time_of(kCycles - 1));
    std::filesystem::remove_all(folder);
}

}  // namespace
