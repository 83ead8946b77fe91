// What the imported reports say, against the rule written down plainly.
#include "module/model/report_index.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "tests/support/failing_allocations.h"

using namespace qo1905;

namespace {

// Reports as they are imported, the newest first; each with one station.
class Reports {
public:
    void add(std::uint8_t agent, std::uint8_t station, std::uint16_t rate) {
        auto &entry = *entries_.emplace(entries_.begin(), std::make_unique<Entry>())->get();
        entry.report.agentAlMac[5] = agent;
        entry.client.Mac[5] = station;
        entry.client.phyRate = rate;
        entry.report.clientList = &entry.client;
        entry.report.next = entries_.size() > 1 ? &entries_[1]->report : nullptr;
    }
    const qo1905_report *newest() const { return entries_.empty() ? nullptr : &entries_[0]->report; }

private:
    struct Entry {
        qo1905_report report = {};
        qo1905_client client = {};
    };
    std::vector<std::unique_ptr<Entry>> entries_;
};

TEST(ReportIndexTest, GivesTheLastReportAndTheLastRate) {
    std::mt19937 random(1905);
    for (int round = 0; round < 100; ++round) {
        std::uint16_t rates[4][4] = {};
        int last[4] = {-1, -1, -1, -1};
        Reports reports;
        for (int i = 0; i < 20; ++i) {
            const auto agent = static_cast<std::uint8_t>(random() % 4);
            const auto station = static_cast<std::uint8_t>(random() % 3);
            const auto rate = static_cast<std::uint16_t>(1 + i);
            reports.add(agent, station, rate);
            rates[agent][station] = rate;
            last[agent] = rate;
        }
        ReportIndex index;
        ASSERT_TRUE(index.build(reports.newest()));
        for (std::uint8_t agent = 0; agent < 4; ++agent) {
            const auto reported = index.of({0, 0, 0, 0, 0, agent});
            ASSERT_EQ(reported.last != nullptr ? reported.last->clientList->phyRate : -1, last[agent]);
            for (std::uint8_t station = 0; station < 4; ++station) {
                ASSERT_EQ(reported.rate({0, 0, 0, 0, 0, station}), rates[agent][station]);
            }
        }
    }
}

TEST(ReportIndexTest, OfNothingKnowsNobody) {
    ReportIndex index;
    EXPECT_TRUE(index.build(nullptr));
    EXPECT_EQ(index.of({1}).last, nullptr);
    EXPECT_EQ(index.of({1}).rate({2}), 0);
}

TEST(ReportIndexTest, WithoutMemorySaysSo) {
    Reports reports;
    reports.add(1, 1, 10);
    for (const long lost : {1L, 2L}) {
        ReportIndex index;
        fail_allocation(lost);
        EXPECT_FALSE(index.build(reports.newest()));
        allocate_again();
    }
}

}  // namespace
