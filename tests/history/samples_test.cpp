// What is packed comes back as it was, and what is no packed thing is nothing.

#include "history/samples.h"

#include <gmock/gmock.h>

#include <random>

namespace {

using history::LinkedSample;
using history::Number;
using history::RollUp;
using history::TailSample;
using testing::IsEmpty;

bool is_same(const LinkedSample &a, const LinkedSample &b) {
    return a.link == b.link && a.sample.time == b.sample.time && a.sample.signal == b.sample.signal &&
           a.sample.rate == b.sample.rate;
}

bool is_same(const history::Range &a, const history::Range &b) {
    return a.n == b.n && a.min == b.min && a.max == b.max && a.sum == b.sum;
}

// An hour with holes in it: unknown signals and rates, two links, a time that is missing.
std::vector<LinkedSample> an_hour() {
    std::vector<LinkedSample> hour;
    for (int i = 0; i < 180; ++i) {
        if (i == 77) {
            continue;
        }
        const auto signal = i % 7 == 0 ? std::nullopt : std::optional(-60 - i % 13);
        const auto rate = i % 11 == 0 ? std::nullopt : std::optional(i % 2 == 0 ? 0 : 65535);
        hour.push_back({{1760000400 + i * 20, signal, rate}, i < 90 ? 4 : 123456});
    }
    return hour;
}

TEST(Samples, AnHourComesBackAsItWas) {
    const auto hour = an_hour();
    const auto back = history::unpack_samples(history::pack(hour));
    EXPECT_TRUE(std::equal(hour.begin(), hour.end(), back.begin(), back.end(),
                           [](const auto &a, const auto &b) { return is_same(a, b); }));
}

TEST(Samples, TimesBeforeTheEpochAndSignalsOfAnySizeComeBackToo) {
    const std::vector<LinkedSample> odd = {{{-5, -2147483647, 2147483647}, -1}, {{4000000000000, 0, 0}, 0}};
    const auto back = history::unpack_samples(history::pack(odd));
    ASSERT_EQ(back.size(), 2U);
    EXPECT_TRUE(is_same(back[0], odd[0]));
    EXPECT_TRUE(is_same(back[1], odd[1]));
}

TEST(Samples, ATailComesBackAsItWas) {
    std::vector<TailSample> tail;
    for (const LinkedSample &linked : an_hour()) {
        tail.push_back({static_cast<Number>(tail.size() % 5), linked});
    }
    const auto back = history::unpack_tail(history::pack_tail(tail));
    ASSERT_EQ(back.size(), tail.size());
    for (std::size_t i = 0; i < tail.size(); ++i) {
        EXPECT_EQ(back[i].node, tail[i].node);
        EXPECT_TRUE(is_same(back[i].linked, tail[i].linked));
    }
}

TEST(Samples, FiveMinutesAreSplitByLinkAndCountWhatIsKnown) {
    const auto parts = history::roll_up(std::vector<LinkedSample>{{{1000, -60, 400}, 1},
                                                                  {{1020, std::nullopt, 500}, 1},
                                                                  {{1040, -70, std::nullopt}, 2},
                                                                  {{1060, -64, 300}, 1},
                                                                  {{1200, -50, 1}, 1}},
                                        300);
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].time, 900);
    EXPECT_EQ(parts[0].link, 1);
    EXPECT_EQ(parts[0].n, 3);
    EXPECT_TRUE(is_same(parts[0].signal, {2, -64, -124, -60}));
    EXPECT_TRUE(is_same(parts[0].rate, {3, 300, 1200, 500}));
    EXPECT_EQ(parts[1].link, 2);
    EXPECT_TRUE(is_same(parts[1].signal, {1, -70, -70, -70}));
    EXPECT_EQ(parts[1].rate.n, 0);
    EXPECT_EQ(parts[2].time, 1200);
}

TEST(Samples, RollUpsComeBackAsTheyWereAndAddUp) {
    const auto parts = history::roll_up(an_hour(), 300);
    const auto back = history::unpack_roll_ups(history::pack(parts));
    ASSERT_EQ(back.size(), parts.size());
    history::Range all;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        EXPECT_EQ(back[i].time, parts[i].time);
        EXPECT_EQ(back[i].link, parts[i].link);
        EXPECT_EQ(back[i].n, parts[i].n);
        EXPECT_TRUE(is_same(back[i].signal, parts[i].signal));
        EXPECT_TRUE(is_same(back[i].rate, parts[i].rate));
        all.add(parts[i].signal);
    }
    const auto day = history::roll_up(back, 86400);
    ASSERT_EQ(day.size(), 2U) << "one a link";
    history::Range whole = day[0].signal;
    whole.add(day[1].signal);
    EXPECT_TRUE(is_same(whole, all));
}

TEST(Samples, BytesThatAreNoneAreNothing) {
    std::mt19937 random(3);
    const std::string good = history::pack(an_hour());
    EXPECT_THAT(history::unpack_samples(""), IsEmpty());
    EXPECT_THAT(history::unpack_samples(std::string(1, '\0')), IsEmpty());
    EXPECT_THAT(history::unpack_tail(""), IsEmpty());
    // Ten numbers are said to follow, and none does.
    EXPECT_THAT(history::unpack_tail("\x01\x0a"), IsEmpty());
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_THAT(history::unpack_samples(good.substr(0, size)), IsEmpty()) << size;
    }
    for (int i = 0; i < 20000; ++i) {
        std::string bytes = good;
        for (unsigned k = 0; k < 1 + random() % 4; ++k) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        (void)history::unpack_samples(bytes);
        (void)history::roll_up(history::unpack_roll_ups(bytes), 3600);
        (void)history::unpack_tail(bytes);
    }
}

// A thousandfold of zeros in a few bytes.
TEST(Samples, WhatWouldGrowWithoutBoundIsNothing) {
    const std::vector<LinkedSample> many(400000, LinkedSample{{0, std::nullopt, std::nullopt}, 0});
    const std::string bytes = history::pack(many);
    EXPECT_LT(bytes.size(), 10000U);
    EXPECT_THAT(history::unpack_samples(bytes), IsEmpty());
}

TEST(Samples, AnHourOfARandomWalkTakesLittle) {
    std::mt19937 random(5);
    std::vector<LinkedSample> hour;
    int signal = -60;
    for (int i = 0; i < 180; ++i) {
        signal += static_cast<int>(random() % 5) - 2;
        hour.push_back({{1760000400 + i * 20, signal, 1500 + 8 * signal}, 7});
    }
    EXPECT_LT(history::pack(hour).size(), 260U);
}

}  // namespace
