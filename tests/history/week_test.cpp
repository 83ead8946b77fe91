// A week of a world, recorded, and every answer compared with what a witness wrote down.

#include <gmock/gmock.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <numeric>
#include <random>

#include "history/past.h"
#include "history/recorder.h"
#include "lab/moment/moment.h"
#include "lab/world/generate.h"
#include "reader/json_form.h"
#include "tests/history/world_log.h"

namespace {

using history::Number;
using history::Past;
using history::Span;
using history_test::Heard;
using history_test::StationLog;
using history_test::Stay;
using history_test::texts;
using history_test::WorldLog;
using lab::World;

constexpr Number kStart = 1760000400;  // not at the beginning of anything
constexpr Number kCycle = 20;
constexpr Number kAnHour = 180;  // cycles
constexpr Number kCycles = kAnHour * 24 * 7;
constexpr Number kEnd = kStart + (kCycles - 1) * kCycle;
constexpr Span kWeek = {kStart, kEnd + 1};

// Two that were made for this: one that sticks, one that bounces.
constexpr std::size_t kSticky = 0, kBouncing = 1;
// What happens besides: the gateway is without a model for two hours, an Agent without power for one.
constexpr Number kGapFrom = 50 * kAnHour, kGapUntil = 52 * kAnHour;
constexpr Number kDownFrom = 80 * kAnHour, kDownUntil = 81 * kAnHour;
constexpr std::size_t kDown = 2;

lab::Scenario scenario() {
    lab::Plan plan;
    plan.agents = 4;
    plan.stations = 20;
    plan.shape = lab::Shape::kStar;
    lab::Scenario scenario = lab::generate(plan);
    for (lab::DeviceAtStart &device : scenario.devices) {
        device.backhaul.over = device.has_backhaul ? lab::Medium::k5GHz : lab::Medium::kEthernet;
    }
    scenario.stations[kSticky].stays = true;
    scenario.stations[kSticky].signal = -84;
    scenario.stations[kSticky].device = 1;
    scenario.stations[kBouncing].stays = true;
    scenario.stations[kBouncing].signal = -60;
    scenario.stations[kBouncing].device = 3;
    return scenario;
}

class Week {
public:
    Week() : world_(scenario()), log_(world_) {
        std::mt19937 random(7);
        for (int i = 0; i < 60; ++i) {
            moments_[kStart + static_cast<Number>(random() % kCycles) * kCycle];
        }
        record();
        past_ = std::make_unique<Past>(file_);
        home_ = past_->homes().at(0).id;
    }
    ~Week() { std::filesystem::remove_all(folder_); }

    static Week &instance() {
        static Week week;
        return week;
    }

    const World &world() const { return world_; }
    const WorldLog &log() const { return log_; }
    const Past &past() const { return *past_; }
    Number home() const { return home_; }
    const std::map<Number, std::optional<reader::Snapshot>> &moments() const { return moments_; }
    const std::string &file() const { return file_; }

    history::Somebody station(std::size_t place) const {
        return past_->find(home_, reader::Mac::parse(world_.station(place).mac).value(), true).value();
    }
    reader::Mac device(std::size_t place) const { return reader::Mac::parse(world_.at_start(place).al_mac).value(); }

private:
    static std::string make_folder() {
        char name[] = "/tmp/qo1905-week-XXXXXX";
        return mkdtemp(name);
    }

    void record() {
        history::RecorderOptions options;
        options.is_durable = false;  // there is no power to lose
        history::Recorder recorder(file_, options);
        bool starts = true;
        for (Number cycle = 0; cycle < kCycles; ++cycle) {
            const Number time = kStart + cycle * kCycle;
            order(cycle);
            if (cycle >= kGapFrom && cycle < kGapUntil) {
                recorder.miss("world", "/tmp/qo1905.json: No such file or directory");
                if (cycle == kGapFrom) {
                    log_.look_away(time - kCycle);
                }
                starts = true;
            } else {
                log_.see(time, starts);
                starts = false;
                const auto snapshot = lab::moment_of(world_, reader::time_of(time));
                recorder.take("world", snapshot, static_cast<double>(time));
                recorder.commit_if_due(static_cast<double>(time));
                recorder.look_after(time, static_cast<double>(time));
                keep(time, snapshot);
            }
            world_.step();
        }
        recorder.commit();
    }

    void keep(Number time, const reader::Snapshot &snapshot) {
        const auto wanted = moments_.find(time);
        if (wanted != moments_.end()) {
            wanted->second = snapshot;
        }
    }

    // The bouncing one is at the other place for two cycles out of thirty.
    void order(Number cycle) {
        world_.move(kBouncing, cycle % 30 < 2 ? 4 : 3);
        if (cycle == kDownFrom || cycle == kDownUntil) {
            world_.set_up(kDown, cycle == kDownUntil);
        }
    }

    World world_;
    WorldLog log_;
    std::map<Number, std::optional<reader::Snapshot>> moments_;
    const std::string folder_ = make_folder();
    const std::string file_ = folder_ + "/week.db";
    std::unique_ptr<Past> past_;
    Number home_ = 0;
};

class ARecordedWeek : public testing::Test {
protected:
    Week &week_ = Week::instance();
};

TEST_F(ARecordedWeek, HasEverySessionOfEveryStation) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < week_.log().stations.size(); ++i) {
        const auto found = texts(week_.past().sessions(week_.station(i).node, kWeek));
        ASSERT_EQ(found, texts(week_.world(), week_.log().stations[i])) << week_.world().station_name(i);
        count += found.size();
    }
    EXPECT_GT(count, 10000U);
}

TEST_F(ARecordedWeek, HasEveryRoamWithTheSignalsBeforeAndAfter) {
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < week_.log().stations.size(); ++i) {
        const auto &stays = week_.log().stations[i].stays;
        for (std::size_t k = 1; k < stays.size(); ++k) {
            if (stays[k].came == "roam" || stays[k].came == "back") {
                expected.push_back(std::to_string(stays[k].since) + week_.world().station(i).mac +
                                   week_.device(stays[k - 1].device).text() + week_.device(stays[k].device).text() +
                                   std::to_string(*stays[k - 1].last_signal) + std::to_string(stays[k].first_signal) +
                                   stays[k].came);
            }
        }
    }
    std::vector<std::string> found;
    for (const history::Roam &roam : week_.past().roams(week_.home(), kWeek, 1000000)) {
        found.push_back(std::to_string(roam.time) + roam.station.mac.text() + roam.from.device->text() +
                        roam.to.device->text() + std::to_string(roam.before.value()) +
                        std::to_string(roam.after.value()) + (roam.is_back ? "back" : "roam"));
    }
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
}

TEST_F(ARecordedWeek, TellsTheNewestRoamsFirstAndNoMoreThanWanted) {
    const auto all = week_.past().roams(week_.home(), kWeek, 1000000);
    const auto few = week_.past().roams(week_.home(), kWeek, 25);
    ASSERT_EQ(few.size(), 25U);
    for (std::size_t i = 0; i < few.size(); ++i) {
        EXPECT_EQ(few[i].time, all[i].time);
        EXPECT_TRUE(i == 0 || few[i - 1].time >= few[i].time);
    }
}

// Spans that begin and end within a day, whole days and longer.
TEST_F(ARecordedWeek, CountsRoamsAndBouncesOfAnySpan) {
    for (const Span span : {kWeek, Span{kStart + 5000, kStart + 9000}, Span{kStart + 12345, kStart + 400001},
                            Span{kStart - 100, kStart + 3 * history::kDay}, Span{kStart + 70000, kStart + 100000}}) {
        std::map<std::string, std::pair<Number, Number>> expected;
        for (std::size_t i = 0; i < week_.log().stations.size(); ++i) {
            for (const Stay &stay : week_.log().stations[i].stays) {
                const bool is_in = stay.since >= span.from && stay.since < span.until;
                if (is_in && (stay.came == "roam" || stay.came == "back")) {
                    ++expected[week_.world().station(i).mac].first;
                    expected[week_.world().station(i).mac].second += stay.came == "back" ? 1 : 0;
                }
            }
        }
        std::map<std::string, std::pair<Number, Number>> found;
        const auto roamers = week_.past().roamers(week_.home(), span);
        for (std::size_t i = 0; i < roamers.size(); ++i) {
            found[roamers[i].station.mac.text()] = {roamers[i].roams, roamers[i].backs};
            EXPECT_TRUE(i == 0 || roamers[i - 1].roams >= roamers[i].roams);
        }
        EXPECT_EQ(found, expected) << span.from << ' ' << span.until;
    }
}

TEST_F(ARecordedWeek, KnowsWhoBounces) {
    const auto roamers = week_.past().roamers(week_.home(), kWeek);
    EXPECT_EQ(roamers[0].station.mac.text(), week_.world().station(kBouncing).mac);
    EXPECT_GT(roamers[0].backs, 900);
    const auto bounce = week_.past().last_bounce(week_.station(kBouncing), kWeek);
    ASSERT_TRUE(bounce);
    EXPECT_EQ(bounce->from.device, week_.device(4));
    EXPECT_EQ(bounce->to.device, week_.device(3));
    EXPECT_EQ(bounce->time, kStart + ((kCycles - 1) / 30 * 30 + 2) * kCycle);
}

// Whoever was below -75 dBm for so long at one device, while another heard its stations with -67 or better.
struct Weak {
    std::string mac;
    Number since, until;
    bool operator<(const Weak &other) const { return std::tie(mac, since) < std::tie(other.mac, other.since); }
    bool operator==(const Weak &other) const {
        return mac == other.mac && since == other.since && until == other.until;
    }
};
std::ostream &operator<<(std::ostream &out, const Weak &weak) {
    return out << weak.mac << ' ' << weak.since << ' ' << weak.until;
}

// The mean of what a device hears, by time and device.
std::map<std::pair<Number, std::size_t>, std::pair<int, int>> heard_by_device(const WorldLog &log) {
    std::map<std::pair<Number, std::size_t>, std::pair<int, int>> heard;
    for (const StationLog &station : log.stations) {
        for (const Heard &item : station.heard) {
            auto &[n, sum] = heard[{item.time, item.device}];
            ++n;
            sum += item.signal;
        }
    }
    return heard;
}

TEST_F(ARecordedWeek, KnowsWhoSticks) {
    const auto by_device = heard_by_device(week_.log());
    const auto is_better_elsewhere = [&](const Heard &at) {
        for (std::size_t device = 0; device < week_.world().size(); ++device) {
            const auto found = by_device.find({at.time, device});
            if (device != at.device && found != by_device.end() &&
                static_cast<double>(found->second.second) / found->second.first >= -67) {
                return true;
            }
        }
        return false;
    };
    std::vector<Weak> expected;
    for (std::size_t i = 0; i < week_.log().stations.size(); ++i) {
        const auto &heard = week_.log().stations[i].heard;
        for (std::size_t k = 0; k < heard.size();) {
            std::size_t end = k;
            bool is_better = false;
            while (end < heard.size() && heard[end].signal < -75 && heard[end].device == heard[k].device &&
                   heard[end].time == heard[k].time + static_cast<Number>(end - k) * kCycle) {
                is_better = is_better || (heard[end].time - heard[k].time >= 600 && is_better_elsewhere(heard[end]));
                ++end;
            }
            if (is_better) {
                expected.push_back({week_.world().station(i).mac, heard[k].time, heard[end - 1].time});
            }
            k = std::max(end, k + 1);
        }
    }
    std::vector<Weak> found;
    for (std::size_t i = 0; i < week_.log().stations.size(); ++i) {
        for (const history::WeakSpell &spell : week_.past().weak_spells(week_.station(i).node, kWeek)) {
            if (spell.other) {
                found.push_back({week_.world().station(i).mac, spell.since, spell.until});
            }
        }
    }
    EXPECT_GT(found.size(), 10U);
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
}

TEST_F(ARecordedWeek, AddsUpHowLongWhoSticks) {
    const auto all = week_.past().sticky(week_.home(), kWeek, 600, 100);
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(all[0].station.mac.text(), week_.world().station(kSticky).mac);
    EXPECT_EQ(all[0].at.device, week_.device(1));
    EXPECT_EQ(all[0].signal, -84);
    // Until the gap, and from its end to that of the week.
    EXPECT_EQ(all[0].times, 2);
    EXPECT_EQ(all[0].seconds, (kGapFrom - 1 + kCycles - 1 - kGapUntil) * kCycle);
    EXPECT_EQ(all[0].longest, (kCycles - 1 - kGapUntil) * kCycle);
    EXPECT_EQ(all[0].last_since, kStart + kGapUntil * kCycle);
    std::map<std::pair<std::string, std::string>, std::pair<Number, Number>> expected, found;
    std::map<Number, std::string> devices;
    for (std::size_t i = 0; i < week_.log().stations.size(); ++i) {
        for (const auto &session : week_.past().sessions(week_.station(i).node, kWeek)) {
            devices[session.link] = session.spot.device->text();
        }
        for (const history::WeakSpell &spell : week_.past().weak_spells(week_.station(i).node, kWeek)) {
            if (spell.other && spell.until - spell.since >= 600) {
                auto &[times, seconds] = expected[{week_.world().station(i).mac, devices[spell.link]}];
                ++times;
                seconds += spell.until - spell.since;
            }
        }
    }
    for (const history::Sticky &sticky : all) {
        found[{sticky.station.mac.text(), sticky.at.device->text()}] = {sticky.times, sticky.seconds};
    }
    EXPECT_EQ(found, expected);
}

TEST_F(ARecordedWeek, HasItsGapWithTheCause) {
    const auto gaps = week_.past().gaps(week_.home(), kWeek);
    ASSERT_EQ(gaps.size(), 1U);
    EXPECT_EQ(gaps[0].since, kStart + (kGapFrom - 1) * kCycle);
    EXPECT_EQ(gaps[0].until, kStart + kGapUntil * kCycle);
    EXPECT_EQ(gaps[0].part, "model");
    EXPECT_EQ(gaps[0].cause, "/tmp/qo1905.json: No such file or directory");
    EXPECT_FALSE(week_.past().at(week_.home(), gaps[0].since + 1000));
}

TEST_F(ARecordedWeek, HasWhatHappenedToDevices) {
    std::vector<std::string> found;
    for (const history::Happening &happening : week_.past().happenings(week_.home(), kWeek, 100)) {
        found.push_back(std::to_string(happening.time) + ' ' + happening.who.mac.text() + ' ' + happening.kind);
    }
    const std::string down = week_.device(kDown).text();
    EXPECT_THAT(found, testing::ElementsAre(std::to_string(kStart + kDownUntil * kCycle) + ' ' + down + " up",
                                            std::to_string(kStart + kDownFrom * kCycle) + ' ' + down + " down"));
}

TEST_F(ARecordedWeek, ShowsTheMeshAsItWasAtAnyMoment) {
    std::size_t compared = 0;
    for (const auto &[time, moment] : week_.moments()) {
        const auto found = week_.past().at(week_.home(), time + 7);
        ASSERT_EQ(found.has_value(), moment.has_value()) << time;
        if (moment) {
            auto expected = reader::to_json(*moment), is = reader::to_json(*found);
            is["read_at"] = expected["read_at"];
            is["age"] = expected["age"];
            ASSERT_EQ(is, expected);
            ++compared;
        }
    }
    EXPECT_GT(compared, 50U);
}

TEST_F(ARecordedWeek, HasEverySample) {
    for (const std::size_t place : {kSticky, kBouncing, std::size_t{5}, std::size_t{19}}) {
        for (const Number from : {kStart, kStart + 200000, kEnd - 7000}) {
            const Span span{from, from + 7200};
            std::vector<std::string> expected, found;
            for (const Heard &heard : week_.log().stations[place].heard) {
                if (heard.time >= span.from && heard.time < span.until) {
                    expected.push_back(std::to_string(heard.time) + ' ' + std::to_string(heard.signal) + ' ' +
                                       std::to_string(heard.rate));
                }
            }
            const auto curve = week_.past().curve(week_.home(), week_.station(place).node, span, 600);
            EXPECT_EQ(curve.step, 0);
            for (const history::Point &point : curve.points) {
                found.push_back(std::to_string(point.time) + ' ' + std::to_string(point.signal.sum) + ' ' +
                                std::to_string(point.rate.sum));
            }
            EXPECT_EQ(found, expected);
        }
    }
}

TEST_F(ARecordedWeek, RollsUpFiveMinutesAndHoursOfEachDevice) {
    for (const auto &[step, days] : {std::pair<Number, Number>{300, 2}, {3600, 7}}) {
        const Span span{kEnd - days * 86400 + 1, kEnd + 1};
        for (const std::size_t place : {kBouncing, std::size_t{7}}) {
            std::map<std::pair<Number, std::string>, std::vector<int>> expected;
            for (const Heard &heard : week_.log().stations[place].heard) {
                const Number begin = heard.time / step * step;
                if (begin >= span.from) {
                    expected[{begin, week_.device(heard.device).text()}].push_back(heard.signal);
                }
            }
            std::map<Number, std::string> devices;
            for (const auto &session : week_.past().sessions(week_.station(place).node, kWeek)) {
                devices[session.link] = session.spot.device->text();
            }
            const auto curve = week_.past().curve(week_.home(), week_.station(place).node, span, 600);
            EXPECT_EQ(curve.step, step);
            EXPECT_EQ(curve.points.size(), expected.size());
            for (const history::Point &point : curve.points) {
                const auto &signals = expected[{point.time, devices[point.link]}];
                ASSERT_EQ(point.signal.n, static_cast<Number>(signals.size())) << point.time;
                EXPECT_EQ(point.signal.min, *std::min_element(signals.begin(), signals.end()));
                EXPECT_EQ(point.signal.max, *std::max_element(signals.begin(), signals.end()));
                EXPECT_EQ(point.signal.sum, std::accumulate(signals.begin(), signals.end(), 0));
            }
        }
    }
}

}  // namespace
