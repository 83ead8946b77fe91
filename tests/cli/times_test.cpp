#include "cli/times.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>

namespace {

using cli::read_time;

// Tuesday, 2026-11-24 14:30:00 UTC; 15:30 in Vienna.
constexpr std::int64_t kNow = 1795530600;
constexpr std::int64_t kMinute = 60, kHour = 3600, kDay = 86400;

class Times : public testing::Test {
protected:
    Times() {
        // Vienna, also where a machine has no table of zones.
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~Times() override {
        unsetenv("TZ");
        tzset();
    }

    static std::optional<std::int64_t> in_utc(const char *text) { return read_time(text, kNow, true); }
    static std::optional<std::int64_t> here(const char *text) { return read_time(text, kNow, false); }
};

TEST_F(Times, AgoIsBeforeNow) {
    EXPECT_EQ(in_utc("now"), kNow);
    EXPECT_EQ(in_utc("-2h"), kNow - 7200);
    EXPECT_EQ(in_utc("-30m"), kNow - 1800);
    EXPECT_EQ(in_utc("-45s"), kNow - 45);
    EXPECT_EQ(here("-3d"), kNow - 3 * kDay);
    EXPECT_EQ(here("-1w"), kNow - 7 * kDay);
}

TEST_F(Times, AClockAloneIsTheLastOneThatHasBeen) {
    EXPECT_EQ(in_utc("03:00"), kNow - (11 * kHour + 30 * kMinute));
    EXPECT_EQ(in_utc("14:30"), kNow);
    EXPECT_EQ(in_utc("14:30:01"), kNow - kDay + 1);
    EXPECT_EQ(here("15:00"), kNow - 30 * kMinute);
    EXPECT_EQ(here("16:00"), kNow + 30 * kMinute - kDay);
}

TEST_F(Times, TimesMayBeShortOrInUtcOrSeconds) {
    const std::int64_t midnight = kNow - (14 * kHour + 30 * kMinute);
    EXPECT_EQ(in_utc("3:00"), midnight + 3 * kHour);
    EXPECT_EQ(in_utc("mon 14:00"), midnight - kDay + 14 * kHour);
    EXPECT_EQ(here("03:00Z"), midnight + 3 * kHour);
    EXPECT_EQ(here("yesterday 03:00z"), midnight - kDay + 3 * kHour);
    EXPECT_EQ(here("1795316400"), 1795316400);
}

TEST_F(Times, DaysHaveNamesAndBeginAtMidnight) {
    const std::int64_t midnight = kNow - (14 * kHour + 30 * kMinute);
    EXPECT_EQ(in_utc("today"), midnight);
    EXPECT_EQ(in_utc("today 23:00"), midnight + 23 * kHour);
    EXPECT_EQ(in_utc("yesterday"), midnight - kDay);
    EXPECT_EQ(in_utc("Yesterday 03:00"), midnight - kDay + 3 * kHour);
    EXPECT_EQ(here("yesterday 03:00"), midnight - kDay + 2 * kHour);
    EXPECT_EQ(in_utc("monday 14:00"), midnight - kDay + 14 * kHour);
    EXPECT_EQ(in_utc("tuesday 14:00"), midnight + 14 * kHour);
    EXPECT_EQ(in_utc("tuesday 15:00"), midnight + 15 * kHour - 7 * kDay) << "today's is still to come";
    EXPECT_EQ(in_utc("wednesday"), midnight - 6 * kDay);
}

TEST_F(Times, DatesAreOfThePlaceUnlessTheySayOtherwise) {
    EXPECT_EQ(in_utc("2026-11-21 03:00"), 1795230000);
    EXPECT_EQ(here("2026-11-21 03:00"), 1795230000 - kHour);
    EXPECT_EQ(here("2026-11-21"), 1795219200 - kHour);
    EXPECT_EQ(here("2026-07-21 03:00"), 1784602800 - 7200) << "summer time";
    EXPECT_EQ(here("2026-11-21T03:00:05Z"), 1795230005);
    EXPECT_EQ(here("2026-11-21T03:00:05+01:00"), 1795230005 - kHour);
    EXPECT_EQ(here("2026-11-21T03:00-0530"), 1795230000 + 19800);
    EXPECT_EQ(in_utc("2024-02-29"), 1709164800);
}

// 2026-10-25: at 03:00 summer time it is 02:00 again.
TEST_F(Times, OfAnHourThatComesTwiceItIsTheFirst) {
    EXPECT_EQ(here("2026-10-25 02:30"), 1792888200);
    EXPECT_EQ(here("2026-10-25 01:30"), 1792884600);
    EXPECT_EQ(here("2026-10-25 03:30"), 1792895400);
}

// 2026-03-29: after 01:59:59 it is 03:00:00.
TEST_F(Times, AnHourThatNeverCameIsTakenForAnHourNearIt) {
    const auto time = here("2026-03-29 02:30");
    ASSERT_TRUE(time);
    EXPECT_TRUE(*time == 1774744200 || *time == 1774747800) << *time;
}

TEST_F(Times, WhatMeansNothingIsNone) {
    for (const char *text : {"",
                             "-",
                             "-h",
                             "2h",
                             "-2",
                             "-2x",
                             "-2h ",
                             "25:00",
                             "30:00",
                             "03:60",
                             "03",
                             "03:0",
                             "03:00:",
                             "03:00:61",
                             "tomorrow",
                             "yesterday ",
                             "yesterday03:00",
                             "yesterday 3",
                             "mo 14:00",
                             "2026",
                             "2026-11",
                             "2026-13-01",
                             "2026-02-30",
                             "2026-11-21 ",
                             "2026-11-21T",
                             "2026-11-21T03:00:05X",
                             "2026-11-21T03:00:05+1",
                             "2026-11-21T03:00:05Z!",
                             "1969-12-31",
                             "-99999999999999999999h",
                             "now now",
                             "\xff\xfe"}) {
        EXPECT_FALSE(in_utc(text)) << text;
        EXPECT_FALSE(here(text)) << text;
    }
}

TEST_F(Times, DurationsHaveOneUnit) {
    EXPECT_EQ(cli::read_duration("90m"), 5400);
    EXPECT_EQ(cli::read_duration("7d"), 604800);
    EXPECT_EQ(cli::read_duration("1y"), 31536000);
    for (const char *text : {"", "7", "d", "7 d", "-7d", "7dd", "7.5d", "1e3s", "10000000s"}) {
        EXPECT_FALSE(cli::read_duration(text)) << text;
    }
}

TEST_F(Times, DurationsAreToldInTheirTwoLargestUnits) {
    EXPECT_EQ(cli::duration_text(0), "0 s");
    EXPECT_EQ(cli::duration_text(40), "40 s");
    EXPECT_EQ(cli::duration_text(300), "5 min");
    EXPECT_EQ(cli::duration_text(4800), "1 h 20 min");
    EXPECT_EQ(cli::duration_text(kDay), "1 d");
    EXPECT_EQ(cli::duration_text(2 * kDay + 3 * kHour + 59 * kMinute), "2 d 3 h");
    EXPECT_EQ(cli::duration_text(86460), "1 d") << "the second unit is 0";
}

}  // namespace
