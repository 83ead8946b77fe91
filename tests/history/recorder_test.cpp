// What a recorder makes of moments that are not as they should be: gaps, clocks that are set, files that are full,
// homes beside each other, old and new tables, strangers' names.

#include "history/recorder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "history/past.h"
#include "history/schema.h"

namespace {

using history::Failure;
using history::Keep;
using history::Number;
using history::Past;
using history::Recorder;
using history::RecorderOptions;
using history::Span;
using reader::Mac;
using reader::Snapshot;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr Number kStart = 1760000000;
constexpr Span kEver = {0, 4000000000};

Mac mac(const std::string &text) { return Mac::parse(text).value(); }
const Mac kGateway = mac("02:c0:00:00:00:01");
const Mac kAttic = mac("02:0b:00:00:00:01");
const Mac kPhone = mac("02:57:00:00:00:24");

reader::Device gateway() {
    reader::Device device{kGateway, true, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    device.name = "gateway";
    device.role = reader::Role::kController;
    device.firmware = "1.0";
    device.hops = 0;
    return device;
}

reader::Device attic() {
    reader::Device device{kAttic, false, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    device.name = "attic";
    device.parent = kGateway;
    device.medium = reader::Medium::k5GHz;
    device.hops = 1;
    device.signal = -60;
    return device;
}

reader::Station phone(Mac device, int signal) {
    return {kPhone, device, "phone", {}, {}, {}, reader::Band::k5GHz, signal, 400, false};
}

Snapshot moment(Number time, std::vector<reader::Station> stations = {phone(kAttic, -60)}) {
    Snapshot moment;
    moment.source = "home";
    moment.time = moment.read_at = reader::time_of(time);
    moment.knows_local_stations = true;
    moment.devices = {attic(), gateway()};
    moment.stations = std::move(stations);
    return moment;
}

class RecorderTest : public testing::Test {
protected:
    RecorderTest() { start({}); }
    ~RecorderTest() override {
        recorder_.reset();
        std::filesystem::remove_all(folder_);
    }

    void start(const RecorderOptions &options) {
        recorder_.reset();
        recorder_ = std::make_unique<Recorder>(file_, options);
    }

    void take(const Snapshot &snapshot) {
        const auto time = static_cast<double>(history::seconds_of(snapshot.time));
        recorder_->take("home", snapshot, time);
        recorder_->look_after(history::seconds_of(snapshot.time), time);
    }

    // A moment every 20 s, [from, until).
    void live(Number from, Number until, int signal = -60) {
        for (Number time = from; time < until; time += 20) {
            take(moment(time, {phone(kAttic, signal)}));
            recorder_->commit_if_due(static_cast<double>(time));
        }
    }

    Past past() {
        recorder_->commit();
        return Past(file_);
    }

    // "start 1760000000 - " and so on, of the phone.
    std::vector<std::string> sessions() {
        const Past past = this->past();
        std::vector<std::string> texts;
        const auto somebody = past.find(past.homes().at(0).id, kPhone, true);
        if (!somebody) {
            return texts;
        }
        for (const history::Session &session : past.sessions(somebody->node, kEver)) {
            texts.push_back(std::string(word(session.came)) + ' ' + std::to_string(session.since - kStart) + ' ' +
                            (session.until ? std::to_string(*session.until - kStart) : "-") + ' ' +
                            (session.went ? word(*session.went) : "-"));
        }
        return texts;
    }

    std::vector<std::string> gaps() {
        const Past past = this->past();
        std::vector<std::string> texts;
        for (const history::Gap &gap : past.gaps(past.homes().at(0).id, kEver)) {
            texts.push_back(gap.part + ' ' + std::to_string(gap.since - kStart) + ' ' +
                            (gap.until ? std::to_string(*gap.until - kStart) : "-") + ' ' + gap.cause);
        }
        return texts;
    }

    static std::string make_folder() {
        char name[] = "/tmp/qo1905-recorder-XXXXXX";
        return mkdtemp(name);
    }

    const std::string folder_ = make_folder();
    const std::string file_ = folder_ + "/history.db";
    std::unique_ptr<Recorder> recorder_;
};

// --- gaps and clocks ---

TEST_F(RecorderTest, AMinuteWithoutAMomentIsNoGap) {
    take(moment(kStart));
    take(moment(kStart + 80));
    EXPECT_THAT(sessions(), ElementsAre("start 0 - -"));
    EXPECT_THAT(gaps(), IsEmpty());
}

TEST_F(RecorderTest, AGapEndsEverySessionWhereItWasSeenLast) {
    take(moment(kStart));
    take(moment(kStart + 20));
    take(moment(kStart + 620));
    EXPECT_THAT(sessions(), ElementsAre("start 0 20 gap", "start 620 - -"));
    EXPECT_THAT(gaps(), ElementsAre("model 20 620 the model was not written"));
}

TEST_F(RecorderTest, AGapHasTheCauseThatWasToldLast) {
    take(moment(kStart));
    recorder_->miss("home", "cut");
    recorder_->miss("home", "gone");
    take(moment(kStart + 620));
    EXPECT_THAT(gaps(), ElementsAre("model 0 620 gone"));
}

TEST_F(RecorderTest, WhatWasMissingForAMomentIsNoCauseLater) {
    take(moment(kStart));
    recorder_->miss("home", "cut");
    take(moment(kStart + 40));
    take(moment(kStart + 640));
    EXPECT_THAT(gaps(), ElementsAre("model 40 640 the model was not written"));
}

TEST_F(RecorderTest, AClockThatIsSetForwardIsTheCauseOfAGap) {
    recorder_->take("home", moment(kStart), 100);
    recorder_->take("home", moment(kStart + 7200), 120);
    EXPECT_THAT(gaps(), ElementsAre("model 0 7200 the clock was set forward"));
}

TEST_F(RecorderTest, AClockThatIsSetBackBeginsAnEraWithoutLosingTheOneBefore) {
    live(kStart, kStart + 4000);
    recorder_->take("home", moment(kStart + 1000), 5000);
    recorder_->take("home", moment(kStart + 1020), 5020);
    EXPECT_THAT(sessions(), ElementsAre("start 0 3980 gap", "start 1000 - -"));
    EXPECT_THAT(gaps(), ElementsAre("clock 1000 3980 the clock was set back by 2980 s"));
    const Past past = this->past();
    const Number home = past.homes().at(0).id;
    const auto phone = past.find(home, kPhone, true).value();
    // Both lived through the second quarter of an hour.
    EXPECT_EQ(past.curve(home, phone.node, {kStart, kStart + 4000}, 600).points.size(), 202U);
    EXPECT_TRUE(past.at(home, kStart + 500));
    EXPECT_TRUE(past.at(home, kStart + 1010));
    EXPECT_TRUE(past.at(home, kStart + 3000)) << "that time has not come yet again: it is the one of before";
    EXPECT_FALSE(past.at(home, kStart + 3981 + 120));
}

// As after a loss of power, until the network tells the time.
TEST_F(RecorderTest, AClockThatBeginsIn1970HidesNothing) {
    live(kStart, kStart + 1000);
    recorder_->take("home", moment(100), 2000);
    recorder_->take("home", moment(120), 2020);
    recorder_->take("home", moment(kStart + 2000), 2040);
    const Past past = this->past();
    const Number home = past.homes().at(0).id;
    EXPECT_TRUE(past.at(home, kStart + 500));
    EXPECT_TRUE(past.at(home, 110));
    EXPECT_TRUE(past.at(home, kStart + 2000));
    EXPECT_FALSE(past.at(home, kStart + 1500));
    EXPECT_FALSE(past.at(home, kStart - 500));
}

TEST_F(RecorderTest, ErasAreToldApartHoweverOldTheyAre) {
    RecorderOptions options;
    options.keep = Keep{history::kHour, history::kHour, history::kDay, history::kDay};
    start(options);
    live(kStart, kStart + 1000);
    recorder_->take("home", moment(kStart + 500), 2000);
    live(kStart + 520, kStart + 4 * history::kDay);
    const Past past = this->past();
    const Number home = past.homes().at(0).id;
    ASSERT_TRUE(past.at(home, kStart + 4 * history::kDay - 100));
    EXPECT_EQ(past.at(home, kStart + 4 * history::kDay - 100)->stations.size(), 1U);
    EXPECT_EQ(past.gaps(home, kEver).size(), 1U);
}

TEST_F(RecorderTest, AClockThatIsSetBackTwiceKeepsAllThree) {
    live(kStart, kStart + 4000);
    recorder_->take("home", moment(kStart), 5000);
    recorder_->take("home", moment(kStart - 500), 5020);
    EXPECT_EQ(sessions().size(), 3U);
    EXPECT_EQ(gaps().size(), 2U);
}

TEST_F(RecorderTest, MomentsOfOneSecondAreOne) {
    take(moment(kStart, {phone(kAttic, -60)}));
    take(moment(kStart, {phone(kGateway, -40)}));
    take(moment(kStart + 1, {phone(kGateway, -40)}));
    EXPECT_THAT(sessions(), ElementsAre("start 0 1 roam", "roam 1 - -"));
}

// --- what is unknown ---

TEST_F(RecorderTest, WithoutTheDumpStationsOfTheGatewayNeitherLeaveNorJoin) {
    take(moment(kStart, {phone(kGateway, -50)}));
    Snapshot blind = moment(kStart + 20, {});
    blind.knows_local_stations = false;
    blind.missing = {{reader::Missing::Part::kDump, {reader::Problem::Kind::kMissing, "/tmp/dump.txt", "gone"}}};
    take(blind);
    take(moment(kStart + 40, {phone(kGateway, -52)}));
    EXPECT_THAT(sessions(), ElementsAre("start 0 - -"));
    EXPECT_THAT(gaps(), ElementsAre("dump 20 40 /tmp/dump.txt: gone"));
    const Past past = this->past();
    const Number home = past.homes().at(0).id;
    EXPECT_EQ(past.curve(home, past.find(home, kPhone, true)->node, {kStart, kStart + 60}, 600).points.size(), 2U);
    const auto then = past.at(home, kStart + 30);
    ASSERT_TRUE(then);
    EXPECT_FALSE(then->knows_local_stations);
    EXPECT_THAT(then->missing.at(0).problem.reason, HasSubstr("gone"));
}

TEST_F(RecorderTest, WhatAMomentDoesNotTellHasNotChanged) {
    take(moment(kStart));
    Snapshot vague = moment(kStart + 20);
    vague.stations[0].name.reset();
    vague.stations[0].band.reset();
    vague.devices[0].parent.reset();
    vague.devices[0].hops.reset();
    vague.devices[1].firmware.reset();
    take(vague);
    take(moment(kStart + 40));
    EXPECT_THAT(sessions(), ElementsAre("start 0 - -"));
    const Past past = this->past();
    EXPECT_THAT(past.happenings(past.homes().at(0).id, kEver, 100), IsEmpty());
    EXPECT_EQ(past.at(past.homes().at(0).id, kStart + 20)->find_device(kAttic)->parent, kGateway);
}

TEST_F(RecorderTest, WhoIsNotSeenAfterAGapIsNotTakenOverFromBeforeIt) {
    take(moment(kStart, {phone(kGateway, -50)}));
    Snapshot blind = moment(kStart + 5000, {});
    blind.knows_local_stations = false;
    take(blind);
    take(moment(kStart + 5020, {}));
    EXPECT_THAT(sessions(), ElementsAre("start 0 0 gap"));
}

TEST_F(RecorderTest, ABandThatIsToldLateIsTakenOver) {
    Snapshot vague = moment(kStart), clear = moment(kStart + 20), other = moment(kStart + 40);
    vague.stations[0].band.reset();
    other.stations[0].band = reader::Band::k2_4GHz;
    take(vague);
    take(clear);
    take(other);
    EXPECT_THAT(sessions(), ElementsAre("start 0 20 moved", "moved 20 40 roam", "roam 40 - -"));
    const Past past = this->past();
    EXPECT_EQ(past.roamers(past.homes().at(0).id, kEver).size(), 1U);
}

TEST_F(RecorderTest, AnotherInterfaceOfTheSameDeviceIsNoRoam) {
    Snapshot before = moment(kStart), after = moment(kStart + 20);
    before.stations[0].interface = mac("02:0b:00:00:00:50");
    after.stations[0].interface = mac("02:0b:00:00:00:51");
    take(before);
    take(after);
    EXPECT_THAT(sessions(), ElementsAre("start 0 20 moved", "moved 20 - -"));
    const Past past = this->past();
    EXPECT_THAT(past.roamers(past.homes().at(0).id, kEver), IsEmpty());
}

TEST_F(RecorderTest, FirmwareThatChangedBehindAGapIsTold) {
    take(moment(kStart));
    Snapshot after = moment(kStart + 900);
    after.devices[1].firmware = "2.0";
    take(after);
    const Past past = this->past();
    const auto events = past.happenings(past.homes().at(0).id, kEver, 100);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].kind, "firmware");
    EXPECT_EQ(events[0].old_value, "1.0");
    EXPECT_EQ(events[0].new_value, "2.0");
}

// --- starting again ---

TEST_F(RecorderTest, ARestartIsAGapOfItsOwnWhenItTookLong) {
    live(kStart, kStart + 100);
    start({});
    take(moment(kStart + 100));
    start({});
    take(moment(kStart + 1000));
    EXPECT_THAT(sessions(), ElementsAre("start 0 100 gap", "start 1000 - -"));
    EXPECT_THAT(gaps(), ElementsAre("model 100 1000 not recorded"));
}

TEST_F(RecorderTest, OneRecorderAtATime) {
    try {
        Recorder second(file_, {});
        FAIL() << "two write the same file";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.kind(), Failure::Kind::kBusy);
        EXPECT_THAT(failure.what(), HasSubstr("another process records into it"));
    }
}

TEST_F(RecorderTest, ReadersDoNotHoldItUp) {
    live(kStart, kStart + 100);
    recorder_->commit();
    history::Database reader(file_, history::Database::Use::kRead);
    reader.run("BEGIN");
    EXPECT_GT(reader.number("SELECT count(*) FROM session"), 0);
    live(kStart + 100, kStart + 4000, -70);
    recorder_->commit();
    EXPECT_EQ(reader.number("SELECT last FROM source"), kStart + 80) << "a reader sees one state";
    reader.run("COMMIT");
    EXPECT_EQ(reader.number("SELECT last FROM source"), kStart + 3980);
}

TEST_F(RecorderTest, SeveralHomesStandBesideEachOther) {
    recorder_->take("one", moment(kStart), 0);
    recorder_->take("other", moment(kStart + 5, {}), 0);
    const Past past = this->past();
    const auto homes = past.homes();
    ASSERT_EQ(homes.size(), 2U);
    EXPECT_EQ(homes[0].name, "one");
    EXPECT_TRUE(past.find(homes[0].id, kPhone, true));
    EXPECT_FALSE(past.find(homes[1].id, kPhone, true));
}

TEST_F(RecorderTest, MomentsWithOtherNamesForTheSameAreAnotherHome) {
    Snapshot anonymous = moment(kStart);
    anonymous.anonymous = "1f2e";
    recorder_->take("home", moment(kStart), 0);
    recorder_->take("home", anonymous, 0);
    const auto homes = past().homes();
    ASSERT_EQ(homes.size(), 2U);
    EXPECT_EQ(homes[1].name, "home (1f2e)");
    EXPECT_EQ(homes[1].anonymous, "1f2e");
}

// --- no room ---

TEST_F(RecorderTest, AFileThatMayNotGrowSaysSoAndGoesOnWhenItMay) {
    live(kStart, kStart + 100);
    recorder_->commit();
    RecorderOptions small;
    small.most_bytes = static_cast<Number>(std::filesystem::file_size(file_));
    start(small);
    Number time = kStart + 100;
    EXPECT_THROW(
        {
            for (; time < kStart + 100000; time += 20) {
                take(moment(time, {phone(kAttic, -40 - static_cast<int>(time / 20 % 50))}));
                recorder_->commit();
            }
        },
        Failure);
    const Number last = Past(file_).homes().at(0).last;
    EXPECT_GE(last, kStart + 80);
    // It does not know better than to try again.
    EXPECT_THROW(
        {
            for (int i = 1; i < 1000; ++i) {
                take(moment(time + Number{i} * 20));
                recorder_->commit();
            }
        },
        Failure);
    const Number kept = Past(file_).homes().at(0).last;
    start({});
    take(moment(time + 100000));
    EXPECT_THAT(gaps(), testing::Contains("model " + std::to_string(kept - kStart) + ' ' +
                                          std::to_string(time + 100000 - kStart) + " not recorded"));
    EXPECT_EQ(Past(file_).homes().at(0).last, time + 100000);
}

TEST_F(RecorderTest, AfterAFullDiskTheGapSaysSo) {
    live(kStart, kStart + 100);
    recorder_->commit();
    // The disk is full for this process: no file may grow beyond what it has.
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    rlimit full = before;
    full.rlim_cur = 1;
    setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_THROW(
        {
            take(moment(kStart + 100));
            recorder_->commit();
        },
        Failure);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, ignored);
    take(moment(kStart + 700));
    ASSERT_THAT(gaps(), ElementsAre(HasSubstr("model 80 700 ")));
    EXPECT_THAT(gaps()[0], HasSubstr("history.db: disk I/O error"));
    EXPECT_THAT(sessions(), ElementsAre("start 0 80 gap", "start 700 - -"));
}

// --- tables of other versions ---

// As the first version made them, with a roam and a bounce in them.
constexpr const char *kFirstTables = R"sql(
CREATE TABLE source(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, anonymous TEXT NOT NULL, first INTEGER NOT NULL,
    last INTEGER NOT NULL, era INTEGER NOT NULL);
CREATE TABLE node(id INTEGER PRIMARY KEY, source INTEGER NOT NULL REFERENCES source, is_station INTEGER NOT NULL,
    mac TEXT NOT NULL, UNIQUE(source, is_station, mac));
CREATE VIEW device AS SELECT id, source, mac FROM node WHERE NOT is_station;
CREATE VIEW station AS SELECT id, source, mac FROM node WHERE is_station;
CREATE TABLE description(node INTEGER NOT NULL, since INTEGER NOT NULL, era INTEGER NOT NULL, name TEXT, address TEXT,
    more TEXT, PRIMARY KEY(node, since, era)) WITHOUT ROWID;
CREATE TABLE link(id INTEGER PRIMARY KEY, source INTEGER NOT NULL, device INTEGER, medium TEXT, interface TEXT,
    interface_name TEXT);
CREATE TABLE session(node INTEGER NOT NULL, since INTEGER NOT NULL, era INTEGER NOT NULL, until INTEGER,
    link INTEGER NOT NULL, came INTEGER NOT NULL, went INTEGER, first_signal INTEGER, last_signal INTEGER,
    PRIMARY KEY(node, since, era)) WITHOUT ROWID;
CREATE TABLE event(source INTEGER NOT NULL, time INTEGER NOT NULL, era INTEGER NOT NULL, node INTEGER NOT NULL,
    kind TEXT NOT NULL, old TEXT, new TEXT, PRIMARY KEY(source, time, era, node, kind)) WITHOUT ROWID;
CREATE TABLE gap(source INTEGER NOT NULL, since INTEGER NOT NULL, era INTEGER NOT NULL, part TEXT NOT NULL,
    until INTEGER, cause TEXT NOT NULL, PRIMARY KEY(source, since, era, part)) WITHOUT ROWID;
CREATE TABLE tail(id INTEGER PRIMARY KEY, source INTEGER NOT NULL, era INTEGER NOT NULL, since INTEGER NOT NULL,
    until INTEGER NOT NULL, data BLOB NOT NULL);
CREATE TABLE chunk(hour INTEGER NOT NULL, node INTEGER NOT NULL, era INTEGER NOT NULL, data BLOB NOT NULL,
    PRIMARY KEY(hour, node, era)) WITHOUT ROWID;
CREATE TABLE roll5(hour INTEGER NOT NULL, node INTEGER NOT NULL, era INTEGER NOT NULL, data BLOB NOT NULL,
    PRIMARY KEY(hour, node, era)) WITHOUT ROWID;
CREATE TABLE roll60(day INTEGER NOT NULL, node INTEGER NOT NULL, era INTEGER NOT NULL, data BLOB NOT NULL,
    PRIMARY KEY(day, node, era)) WITHOUT ROWID;
CREATE TABLE counts(source INTEGER NOT NULL, time INTEGER NOT NULL, era INTEGER NOT NULL, devices INTEGER NOT NULL,
    on_2_4ghz INTEGER NOT NULL, on_5ghz INTEGER NOT NULL, wired INTEGER NOT NULL, weak INTEGER NOT NULL,
    PRIMARY KEY(source, time, era)) WITHOUT ROWID;
INSERT INTO source VALUES(1, 'home', '', 1760000000, 1760000100, 0);
INSERT INTO node VALUES(1, 1, 0, '02:c0:00:00:00:01'), (2, 1, 0, '02:0b:00:00:00:01'), (3, 1, 1, '02:57:00:00:00:24');
INSERT INTO description VALUES(3, 1760000000, 0, 'phone', NULL, NULL);
INSERT INTO link VALUES(1, 1, 1, '5 GHz', NULL, NULL), (2, 1, 2, '5 GHz', NULL, NULL);
INSERT INTO session VALUES(3, 1760000000, 0, 1760000040, 1, 0, 2, -60, -61), (3, 1760000040, 0, 1760000060, 2, 2, 2, -70, -71),
    (3, 1760000060, 0, NULL, 1, 3, NULL, -55, NULL);
)sql";

void make_first_version(const std::string &file, Number version) {
    history::Database database(file, history::Database::Use::kWrite);
    database.run(kFirstTables);
    database.run("PRAGMA application_id = " + std::to_string(history::kApplication) +
                 "; PRAGMA user_version = " + std::to_string(version));
}

TEST_F(RecorderTest, TablesOfAnEarlierVersionAreBroughtUpToDate) {
    const std::string old = folder_ + "/old.db";
    make_first_version(old, 1);
    EXPECT_THROW(Past{old}, Failure) << "a reader changes nothing";
    Recorder(old, {}).commit();
    const Past past(old);
    const Number home = past.homes().at(0).id;
    EXPECT_EQ(past.sessions(past.find(home, kPhone, true)->node, kEver).size(), 3U);
    // Of whole days, which only the new table has.
    const auto roamers = past.roamers(home, {kStart - 2 * history::kDay, kStart + 2 * history::kDay});
    ASSERT_EQ(roamers.size(), 1U);
    EXPECT_EQ(roamers[0].roams, 2);
    EXPECT_EQ(roamers[0].backs, 1);
}

TEST_F(RecorderTest, TablesOfALaterVersionAreRefusedAndLeftAlone) {
    const std::string later = folder_ + "/later.db";
    make_first_version(later, history::kVersion + 1);
    const auto expect_refused = [&](const auto &open) {
        try {
            open();
            FAIL() << "it was opened";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.kind(), Failure::Kind::kNewer);
            EXPECT_THAT(failure.what(), HasSubstr("was written by a later version of qo1905"));
        }
    };
    expect_refused([&] { Recorder(later, {}); });
    expect_refused([&] { Past{later}; });
    history::Database database(later, history::Database::Use::kRead);
    EXPECT_EQ(database.number("PRAGMA user_version"), history::kVersion + 1);
    EXPECT_EQ(database.number("SELECT count(*) FROM session"), 3);
}

TEST_F(RecorderTest, DatabasesOfOthersAndWhatIsNoneAreRefused) {
    const std::string other = folder_ + "/other.db", text = folder_ + "/text.db", empty = folder_ + "/empty.db";
    history::Database(other, history::Database::Use::kWrite).run("CREATE TABLE bookmarks(url TEXT)");
    std::ofstream(text) << "This is a text of some length, and no database at all, whatever it is called.\n";
    std::ofstream(empty).flush();
    for (const std::string &file : {other, text, empty, folder_, folder_ + "/none.db"}) {
        EXPECT_THROW(Past{file}, Failure) << file;
    }
    EXPECT_THROW(Recorder(other, {}), Failure);
    EXPECT_THROW(Recorder(text, {}), Failure);
    EXPECT_EQ(history::Database(other, history::Database::Use::kRead).number("SELECT count(*) FROM sqlite_master"), 1);
}

// --- what is old ---

TEST_F(RecorderTest, SamplesBecomeFiveMinutesAndTheseHoursAndWhatIsOlderGoes) {
    RecorderOptions options;
    options.keep = Keep{2 * history::kHour, history::kDay, 3 * history::kDay, 4 * history::kDay};
    start(options);
    constexpr Number kDays = 7;
    for (Number time = kStart; time < kStart + kDays * history::kDay; time += 20) {
        // At the gateway every other hour.
        const bool is_even = time / history::kHour % 2 == 0;
        take(moment(time, {phone(is_even ? kGateway : kAttic, is_even ? -40 : -60)}));
    }
    recorder_->commit();
    history::Database database(file_, history::Database::Use::kRead);
    const Number end = kStart + kDays * history::kDay;
    EXPECT_GE(database.number("SELECT min(hour) FROM chunk"), end - 4 * history::kHour);
    EXPECT_GE(database.number("SELECT min(hour) FROM roll5"), end - 3 * history::kDay);
    EXPECT_GE(database.number("SELECT min(day) FROM roll60"), end - 6 * history::kDay);
    EXPECT_GE(database.number("SELECT min(since) FROM session WHERE until IS NOT NULL"), end - 5 * history::kDay);
    EXPECT_GE(database.number("SELECT min(time) FROM counts"), end - 6 * history::kDay);
    // Every sample is in what it became: 180 an hour, and of each hour one signal.
    const Past past(file_);
    const Number home = past.homes().at(0).id;
    const Number hour = history::start_of(history::kHour, end);
    const Span days{hour - 2 * history::kDay, hour};
    const auto curve = past.curve(home, past.find(home, kPhone, true)->node, days, 60);
    EXPECT_EQ(curve.step, history::kHour);
    Number samples = 0;
    for (const history::Point &point : curve.points) {
        samples += point.signal.n;
        EXPECT_EQ(point.signal.min, point.signal.max);
        EXPECT_EQ(point.signal.min, point.time / history::kHour % 2 == 0 ? -40 : -60);
    }
    EXPECT_EQ(samples, 2 * 24 * 180);
    // And a moment of which no sample is kept is told by what is left of it.
    const auto then = past.at(home, end - 2 * history::kDay);
    ASSERT_TRUE(then);
    EXPECT_EQ(then->find_station(kPhone)->signal, (end - 2 * history::kDay) / history::kHour % 2 == 0 ? -40 : -60);
}

// A file of before a long pause: everything in it is old at once.
TEST_F(RecorderTest, NoSampleIsLostWhenADayIsRolledUpInTwoSteps) {
    RecorderOptions options;
    options.keep = Keep{6 * history::kHour, history::kHour, 900 * history::kDay, 900 * history::kDay};
    start(options);
    live(kStart, kStart + 3 * history::kDay);
    const Past past = this->past();
    const Number home = past.homes().at(0).id;
    const Number day = history::start_of(history::kDay, kStart) + history::kDay;
    Number samples = 0;
    const auto curve = past.curve(home, past.find(home, kPhone, true)->node, {day, day + history::kDay}, 30);
    for (const history::Point &point : curve.points) {
        samples += point.signal.n;
    }
    EXPECT_EQ(samples, 24 * 180);
    history::Database database(file_, history::Database::Use::kRead);
    EXPECT_GT(database.number("SELECT count(*) FROM roll60"), 0);
}

TEST_F(RecorderTest, WhatIsFullRecordsAgainWhenOldThingsHaveGone) {
    RecorderOptions options;
    options.keep = Keep{8 * history::kHour, 8 * history::kHour, history::kDay, history::kDay};
    options.most_bytes = 163840;
    options.is_durable = false;
    start(options);
    std::size_t failed = 0, late = 0;
    constexpr Number kDays = 2;
    for (Number time = kStart; time < kStart + kDays * history::kDay; time += 20) {
        try {
            std::vector<reader::Station> stations;
            for (int i = 0; i < 20; ++i) {
                char text[32];
                (void)std::snprintf(text, sizeof(text), "02:57:00:00:01:%02x", static_cast<unsigned>(i));
                stations.push_back(phone(kAttic, -40 - static_cast<int>((time / 20 * time / 7 * (i + 3)) % 47)));
                stations.back().mac = mac(text);
            }
            take(moment(time, stations));
            recorder_->commit_if_due(static_cast<double>(time));
        } catch (const Failure &) {
            ++failed;
            late += time > kStart + (kDays - 1) * history::kDay ? 1 : 0;
            time += 580;  // ten minutes later
        }
    }
    EXPECT_GT(failed, 0U) << "it was never full";
    EXPECT_LT(late, 100U) << "all of its last day is 144";
    EXPECT_GE(Past(file_).homes().at(0).last, kStart + kDays * history::kDay - history::kHour)
        << "it never recorded again";
}

TEST_F(RecorderTest, AgeIsBelievedAcrossRestarts) {
    RecorderOptions options;
    options.keep = Keep{history::kDay, history::kDay, history::kDay, history::kDay};
    start(options);
    live(kStart, kStart + 7200);
    for (int i = 0; i < 20; ++i) {
        start(options);  // with a clock that is ahead each time
        recorder_->take("home", moment(kStart + 100 * history::kDay + Number{i} * 20), 20.0 * i);
        recorder_->look_after(kStart + 100 * history::kDay + Number{i} * 20, 20.0 * i);
    }
    recorder_->commit();
    history::Database database(file_, history::Database::Use::kRead);
    EXPECT_EQ(database.number("SELECT count(*) FROM chunk WHERE hour < 1760010000 AND node = (SELECT id FROM station)"),
              3);
}

TEST_F(RecorderTest, AClockSetFarAheadDropsNothingAtOnce) {
    RecorderOptions options;
    options.keep = Keep{history::kDay, history::kDay, history::kDay, history::kDay};
    start(options);
    live(kStart, kStart + 7200);
    double uptime = kStart + 7200;
    for (int i = 0; i < 100; ++i, uptime += 20) {
        recorder_->take("home", moment(kStart + 100 * history::kDay + Number{i} * 20), uptime);
        recorder_->look_after(kStart + 100 * history::kDay + Number{i} * 20, uptime);
    }
    EXPECT_EQ(sessions().size(), 2U);
    history::Database database(file_, history::Database::Use::kRead);
    EXPECT_EQ(database.number("SELECT count(*) FROM chunk WHERE hour < 1760010000 AND node = (SELECT id FROM station)"),
              3);
}

TEST_F(RecorderTest, GuestsAreForgottenWithTheirSessions) {
    RecorderOptions options;
    options.keep = Keep{history::kHour, history::kHour, history::kDay, history::kDay};
    start(options);
    for (Number i = 0; i < 50; ++i) {
        char text[32];
        (void)std::snprintf(text, sizeof(text), "02:99:00:00:00:%02x", static_cast<unsigned>(i));
        reader::Station guest = phone(kAttic, -50);
        guest.mac = mac(text);
        take(moment(kStart + i * 20, {guest}));
    }
    live(kStart + 1000, kStart + 4 * history::kDay);
    recorder_->commit();
    history::Database database(file_, history::Database::Use::kRead);
    EXPECT_EQ(database.number("SELECT count(*) FROM station"), 1);
    EXPECT_EQ(database.number("SELECT count(*) FROM description WHERE node NOT IN (SELECT id FROM node)"), 0);
    // Numbers of who was forgotten are nobody's again.
    EXPECT_GT(database.number("SELECT seq FROM sqlite_sequence WHERE name = 'node'"), 50);
}

// --- strangers ---

TEST_F(RecorderTest, NamesAreKeptAsTheyAreAndNoLongerThanALeaseHasRoomFor) {
    Snapshot hostile = moment(kStart);
    hostile.stations[0].name = "'); DROP TABLE session; --\x1b[2J";
    take(hostile);
    hostile = moment(kStart + 20);
    hostile.stations[0].name = std::string(253, 'x') + "\u00e4\u00e4\u00e4" + std::string(100000, 'y');
    take(hostile);
    const Past past = this->past();
    const Number home = past.homes().at(0).id;
    EXPECT_EQ(past.at(home, kStart + 5)->stations[0].name, "'); DROP TABLE session; --\x1b[2J");
    EXPECT_EQ(past.at(home, kStart + 25)->stations[0].name, std::string(253, 'x') + "\u00e4");
    EXPECT_EQ(past.find(home, "'); drop table session; --\x1b[2j").size(), 1U);
}

TEST_F(RecorderTest, TextsOfEventsAreCutAndTheSameAfterARestart) {
    const auto called = [](Number time, const std::string &name) {
        Snapshot moment = ::moment(time);
        moment.stations[0].name = name;
        moment.devices[0].firmware = name + "\xff";
        return moment;
    };
    take(called(kStart, std::string(100000, 'a')));
    take(called(kStart + 20, std::string(100000, 'b')));
    recorder_->commit();
    start({});
    take(called(kStart + 40, std::string(100000, 'b')));
    const Past past = this->past();
    const auto events = past.happenings(past.homes().at(0).id, kEver, 100);
    ASSERT_EQ(events.size(), 2U) << "a name and a firmware, once";
    EXPECT_EQ(events[0].new_value, std::string(255, 'b'));
}

TEST_F(RecorderTest, FilesThatAreNotWhatTheySayAreRefused) {
    const std::string endless =
        "DROP TABLE session; CREATE VIEW session AS WITH RECURSIVE r(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM r) "
        "SELECT x "
        "AS node, x AS since, 0 AS era, NULL AS until, 1 AS link, 0 AS came, 0 AS went FROM r";
    const std::string changes[] = {"PRAGMA user_version = -5", "PRAGMA user_version = 0", "DROP TABLE session", endless,
                                   "CREATE TRIGGER t AFTER INSERT ON session BEGIN DELETE FROM chunk; END"};
    for (const std::string &change : changes) {
        const std::string file = folder_ + "/tampered-" + std::to_string(&change - changes) + ".db";
        Recorder(file, {}).commit();
        history::Database(file, history::Database::Use::kWrite).run(change);
        EXPECT_THROW(Past{file}, Failure) << change;
        EXPECT_THROW(Recorder(file, {}), Failure) << change;
    }
}

// What somebody has put into a file of ours must not do more than be wrong.
TEST_F(RecorderTest, TablesFullOfNonsenseAreReadWithoutHarm) {
    live(kStart, kStart + 8000);
    recorder_->commit();
    history::Database database(file_, history::Database::Use::kWrite);
    recorder_->commit();
    database.run("UPDATE chunk SET data = randomblob(300)");
    database.run("UPDATE tail SET data = x'01ffffffffffffffffff7f'");
    database.run("INSERT INTO roll5 VALUES(1759996800, 3, 0, x'01'), (1759993200, 3, 0, x'02ff')");
    database.run("INSERT INTO node VALUES(99, 1, 1, 'no mac'), (98, 77, 0, '02:00:00:00:00:98')");
    database.run("INSERT INTO session VALUES(99, 1760000000, 0, NULL, 1, 77, 78, 'text', x'00')");
    database.run("INSERT INTO session VALUES(3, 9223372036854775807, 0, -9223372036854775808, 12345, 0, 0, 0, 0)");
    database.run("UPDATE description SET more = '{\"interfaces\": [[[[[', name = x'ff00fe'");
    database.run("UPDATE link SET device = 4711 WHERE id = 1");
    const Past past(file_);
    const Number home = past.homes().at(0).id;
    (void)past.at(home, kStart + 100);
    (void)past.roams(home, kEver, 10);
    (void)past.roamers(home, kEver);
    (void)past.sticky(home, kEver, 0, 10);
    (void)past.names(home);
    for (Number node = 0; node < 100; ++node) {
        (void)past.sessions(node, kEver);
        (void)past.curve(home, node, {kStart, kStart + 8000}, 600);
        (void)past.curve(home, node, {kStart, kStart + 8000000}, 600);
    }
    recorder_.reset();
    Recorder again(file_, {});
    again.take("home", moment(kStart + 8000), 0);
    again.commit();
}

}  // namespace
