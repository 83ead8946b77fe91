// A host's change log, on tables made by hand.
#include "lab/host/change_log.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A table whose devices have neighbours at one interface each; MACs differ in their last byte.
class Table {
public:
    void add_device(std::uint8_t device, const std::vector<std::uint8_t> &speaking,
                    const std::vector<std::uint8_t> &others) {
        auto &record = devices_.emplace_back();
        record.IEEE1905Id[5] = device;
        auto &group = groups_.emplace_back();
        group.LocalInterface[5] = device;
        group.LocalInterface[4] = 1;
        for (const std::uint8_t id : speaking) {
            auto &neighbour = speaking_.emplace_back();
            neighbour.NeighborDeviceId[5] = id;
            neighbour.next = group.Neighbor;
            group.Neighbor = &neighbour;
        }
        auto &other_group = other_groups_.emplace_back();
        other_group.LocalInterface[5] = device;
        other_group.LocalInterface[4] = 2;
        for (const std::uint8_t id : others) {
            auto &neighbour = others_.emplace_back();
            neighbour.NeighborInterfaceId[5] = id;
            neighbour.next = other_group.Neighbor;
            other_group.Neighbor = &neighbour;
        }
        record.IEEE1905Neighbor = &group;
        record.NonIEEE1905Neighbor = &other_group;
        record.next = network.IEEE1905Device;
        network.IEEE1905Device = &record;
    }

    // "time event reporter interface type neighbour" of every valid entry.
    std::vector<std::string> entries() const {
        std::vector<std::string> texts;
        for (unsigned i = 0; i < network.ChangeLogNumberOfEntries; ++i) {
            const qo1905_change_log_entry &entry = network.ChangeLog[i];
            texts.push_back(std::to_string(entry.TimeStamp) + (entry.EventType == 0 ? " new " : " lost ") +
                            std::to_string(entry.ReporterDeviceId[5]) + ' ' +
                            std::to_string(entry.ReporterInterfaceId[4]) + ' ' +
                            (entry.NeighborType == 0 ? "1905 " : "other ") + std::to_string(entry.NeighborId[5]));
        }
        return texts;
    }

    qo1905_network_topology network = {};

private:
    std::deque<qo1905_device> devices_;
    std::deque<qo1905_1905_group> groups_;
    std::deque<qo1905_non1905_group> other_groups_;
    std::deque<qo1905_1905_neighbor> speaking_;
    std::deque<qo1905_non1905_neighbor> others_;
};

TEST(ChangeLog, TheFirstTableIsNoChange) {
    lab::ChangeLog log;
    Table table;
    table.add_device(1, {2}, {10, 11});
    log.update(table.network, 100);
    EXPECT_THAT(table.entries(), IsEmpty());
    EXPECT_EQ(table.network.LastChange, 0);
    EXPECT_EQ(table.network.MaxChangeLogEntries, 256);
}

TEST(ChangeLog, AStationThatRoamedIsLostAndNew) {
    lab::ChangeLog log;
    Table before, after;
    before.add_device(1, {2}, {10});
    before.add_device(2, {1}, {});
    log.update(before.network, 100);
    after.add_device(1, {2}, {});
    after.add_device(2, {1}, {10});
    log.update(after.network, 120);
    EXPECT_THAT(after.entries(), ElementsAre("120 lost 1 2 other 10", "120 new 2 2 other 10"));
    EXPECT_EQ(after.network.LastChange, 2);
}

TEST(ChangeLog, EveryTableHasWhatIsKeptOfEarlierChanges) {
    lab::ChangeLog log;
    Table tables[3];
    tables[0].add_device(1, {}, {});
    tables[1].add_device(1, {}, {10});
    tables[2].add_device(1, {}, {10, 11});
    log.update(tables[0].network, 100);
    log.update(tables[1].network, 120);
    log.update(tables[2].network, 140);
    EXPECT_THAT(tables[2].entries(), ElementsAre("120 new 1 2 other 10", "140 new 1 2 other 11"));
}

TEST(ChangeLog, ADeviceThatIsGoneIsLostToItsNeighboursAndLosesNobody) {
    lab::ChangeLog log;
    Table before, after;
    before.add_device(1, {2}, {});
    before.add_device(2, {1}, {10});
    after.add_device(1, {}, {});
    log.update(before.network, 100);
    log.update(after.network, 120);
    EXPECT_THAT(after.entries(), ElementsAre("120 lost 1 1 1905 2"));
}

TEST(ChangeLog, ADeviceThatComesHasItsNeighboursAnew) {
    lab::ChangeLog log;
    Table before, after;
    before.add_device(1, {}, {});
    after.add_device(1, {2}, {});
    after.add_device(2, {1}, {10});
    log.update(before.network, 100);
    log.update(after.network, 120);
    EXPECT_THAT(after.entries(), ElementsAre("120 new 1 1 1905 2", "120 new 2 1 1905 1", "120 new 2 2 other 10"));
}

TEST(ChangeLog, RepeatedNeighboursAndThoseWithoutAMacCountOnceAndNotAtAll) {
    lab::ChangeLog log;
    Table before, after;
    before.add_device(1, {}, {});
    after.add_device(1, {2, 2, 0}, {0, 10, 10});
    log.update(before.network, 100);
    log.update(after.network, 120);
    EXPECT_THAT(after.entries(), ElementsAre("120 new 1 1 1905 2", "120 new 1 2 other 10"));
}

TEST(ChangeLog, OfMoreThanTheRecordHoldsTheNewestStayAndTheNumberGoesRound) {
    lab::ChangeLog log;
    Table empty, full;
    empty.add_device(1, {}, {});
    full.add_device(1, {}, {10});
    log.update(empty.network, 0);
    std::uint32_t time = 1;
    for (; time <= 300; ++time) {
        log.update(time % 2 == 1 ? full.network : empty.network, time);
    }
    EXPECT_EQ(empty.network.ChangeLogNumberOfEntries, 256);
    EXPECT_EQ(empty.network.LastChange, 300 - 256);
    EXPECT_EQ(empty.network.ChangeLog[300 - 256 - 1].TimeStamp, 300U);
    EXPECT_EQ(empty.network.ChangeLog[300 - 256].TimeStamp, 300U - 255U) << "the oldest that is kept";
    EXPECT_EQ(empty.network.ChangeLog[255].TimeStamp, 256U);
}

TEST(ChangeLog, OneTableMayHaveMoreChangesThanTheRecordHolds) {
    lab::ChangeLog log;
    Table before, after;
    for (int device = 1; device < 5; ++device) {
        before.add_device(static_cast<std::uint8_t>(device), {}, {});
        std::vector<std::uint8_t> all;
        for (int id = 1; id < 256; ++id) {
            all.push_back(static_cast<std::uint8_t>(id));
        }
        after.add_device(static_cast<std::uint8_t>(device), {}, all);
    }
    log.update(before.network, 100);
    log.update(after.network, 120);
    EXPECT_EQ(after.network.ChangeLogNumberOfEntries, 256);
    EXPECT_EQ(after.network.LastChange, 4 * 255 - 3 * 256);
}

}  // namespace
