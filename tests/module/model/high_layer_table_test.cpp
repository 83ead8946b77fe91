// The reports between the receiver thread and the timer thread.
#include "module/model/high_layer_table.h"

#include <gmock/gmock.h>

#include <vector>

#include "module/base/owned.h"
#include "module/model/list.h"
#include "tests/support/failing_allocations.h"

using namespace qo1905;
using testing::ElementsAre;

namespace {

// A report whose client list is that of one station.
qo1905_report *make_report(std::uint8_t agent, std::uint8_t station, std::uint16_t rate) {
    auto *report = record_new<qo1905_report>();
    report->agentAlMac[5] = agent;
    auto *client = record_new<qo1905_client>();
    client->Mac[5] = station;
    client->phyRate = rate;
    report->clientList = client;
    return report;
}

void append(qo1905_report *report) {
    int failures = 0;
    if (!update_lock.try_acquire(0, failures)) {
        FAIL();
    }
    append_report(report);
    update_lock.release();
}

bool is_empty() {
    int failures = 0;
    if (!update_lock.try_acquire(0, failures)) {
        return false;
    }
    const bool empty = !has_reports();
    update_lock.release();
    return empty;
}

std::vector<int> imported_agents() {
    std::vector<int> found;
    for (const qo1905_report &report : ListNodes(imported_reports())) {
        found.push_back(report.agentAlMac[5]);
    }
    return found;
}

class HighLayerTableTest : public testing::Test {
protected:
    ~HighLayerTableTest() override {
        allocate_again();
        import_reports();
        destroyDupEcnt1905Table();
    }
};

TEST_F(HighLayerTableTest, IsTakenOverAsItIsNewestFirst) {
    EXPECT_TRUE(is_empty());
    qo1905_report *first = make_report(1, 1, 10);
    append(first);
    append(make_report(2, 1, 20));
    append(make_report(3, 1, 30));
    EXPECT_FALSE(is_empty());
    import_reports();
    EXPECT_TRUE(is_empty());
    EXPECT_THAT(imported_agents(), ElementsAre(3, 2, 1));
    EXPECT_EQ(imported_reports()->next->next, first);  // the very records: nothing is copied, nothing can get lost
    EXPECT_EQ(first->clientList->phyRate, 10);
}

TEST_F(HighLayerTableTest, StaysImportedUntilThereIsAnother) {
    append(make_report(1, 1, 10));
    import_reports();
    import_reports();
    EXPECT_THAT(imported_agents(), ElementsAre(1));
    append(make_report(2, 1, 10));
    import_reports();
    EXPECT_THAT(imported_agents(), ElementsAre(2));
}

TEST_F(HighLayerTableTest, NeedsNoMemoryToBeTakenOver) {
    append(make_report(1, 1, 10));
    fail_allocations_from(1);
    import_reports();
    EXPECT_FALSE(allocation_failed());
    EXPECT_THAT(imported_agents(), ElementsAre(1));
}

TEST_F(HighLayerTableTest, IsLeftAloneWhileTheLockIsTaken) {
    append(make_report(1, 1, 10));
    int failures = 0;
    if (!update_lock.try_acquire(0, failures)) {
        FAIL();
    }
    testing::internal::CaptureStdout();
    import_reports();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    update_lock.release();
    EXPECT_EQ(imported_reports(), nullptr);
    import_reports();
    EXPECT_THAT(imported_agents(), ElementsAre(1));
}

TEST_F(HighLayerTableTest, DropsTheOldestOfTooMany) {
    for (unsigned i = 0; i < kMaxReports + 3; ++i) {
        append(make_report(static_cast<std::uint8_t>(i % 251), 1, 10));
    }
    import_reports();
    const std::vector<int> agents = imported_agents();
    ASSERT_EQ(agents.size(), kMaxReports);
    EXPECT_EQ(agents.back(), 3);
    EXPECT_EQ(agents.front(), (kMaxReports + 2) % 251);
}

TEST_F(HighLayerTableTest, ReportFreeTakesNull) { report_free(nullptr); }

}  // namespace
