// The index gives what a plain walk through the list gives, which is written down here once more, on random lists with
// many doubles; with and without memory.
#include "module/model/mac_index.h"

#include <cstring>
#include <random>
#include <vector>

#include "qo1905.h"
#include "tests/support/failing_allocations.h"
#include "tests/support/module_test.h"

using qo1905::IndexedNodes;
using qo1905::Mac;
using qo1905::MacIndex;
using qo1905::RecordMatch;

namespace {

constexpr std::size_t kMacAt = offsetof(qo1905_sta_info, STAMac);
using StationMatch = RecordMatch<qo1905_sta_info>;

// MACs of a small choice, so that many are the same, in all bytes.
void draw_mac(std::mt19937 &random, Mac &mac) {
    std::memset(mac, 0, sizeof(Mac));
    mac[random() % 6] = static_cast<uint8_t>(random() % 3);
    mac[5] = static_cast<uint8_t>(random() % 4);
}

std::vector<const qo1905_sta_info *> walk(const qo1905_sta_info *head, const Mac &mac) {
    std::vector<const qo1905_sta_info *> found;
    for (const qo1905_sta_info *station = head; station != nullptr; station = station->next) {
        if (std::memcmp(station->STAMac, mac, sizeof(Mac)) == 0) {
            found.push_back(station);
        }
    }
    return found;
}

std::vector<const qo1905_sta_info *> all_of(StationMatch match) {
    std::vector<const qo1905_sta_info *> found;
    for (; match.record() != nullptr; match.advance()) {
        found.push_back(match.record());
    }
    return found;
}

void compare_with_walk(bool with_memory) {
    std::mt19937 random(1905);
    IndexedNodes list(kMacAt);  // kept, as the writers keep it from device to device
    for (int round = 0; round < 2000; ++round) {
        std::vector<qo1905_sta_info> stations(random() % 60);
        for (std::size_t i = 0; i < stations.size(); ++i) {
            stations[i] = {};
            draw_mac(random, stations[i].STAMac);
            stations[i].next = i + 1 < stations.size() ? &stations[i + 1] : nullptr;
        }
        const qo1905_sta_info *head = stations.empty() ? nullptr : stations.data();
        if (!with_memory) {
            fail_allocations_from(1);
        }
        list.enter(head);
        allocate_again();
        for (int i = 0; i < 20; ++i) {
            Mac mac;
            draw_mac(random, mac);
            const auto expected = walk(head, mac);
            ASSERT_EQ(all_of(StationMatch(list, mac)), expected);
            ASSERT_EQ(all_of(StationMatch(head, kMacAt, mac)), expected);
        }
    }
}

TEST(MacIndex, FindsWhatAWalkFindsInTheSameOrder) { compare_with_walk(true); }

TEST(MacIndex, WithoutMemoryTheListIsWalked) { compare_with_walk(false); }

TEST(MacIndex, AnEmptyOneFindsNothing) {
    const Mac mac = {};
    MacIndex index;
    EXPECT_EQ(index.find(mac), nullptr);
    index.sort();
    EXPECT_EQ(index.find(mac), nullptr);
    const IndexedNodes list(kMacAt);
    EXPECT_EQ(StationMatch(list, mac).record(), nullptr);
}

TEST(MacIndex, ThereIsMemoryAgainAfterThereWasNone) {
    const Mac mac = {1};
    MacIndex index;
    fail_allocations_from(1);
    index.add(mac, &mac, 0);
    allocate_again();
    EXPECT_FALSE(index.complete());
    index.clear();
    index.add(mac, &mac, 0);
    index.sort();
    EXPECT_TRUE(index.complete());
    ASSERT_NE(index.find(mac), nullptr);
    EXPECT_EQ(index.find(mac)->record, &mac);
}

TEST(MacIndex, EachRecordIsTakenOnce) {
    const Mac one = {1};
    const Mac other = {2};
    int records[3] = {};
    MacIndex index;
    EXPECT_EQ(index.take(one), nullptr);
    index.add(one, &records[1], 1);
    index.add(other, &records[2], 0);
    index.add(one, &records[0], 0);
    index.sort();
    EXPECT_EQ(index.take(one), &records[0]);
    EXPECT_EQ(index.take(one), &records[1]);
    EXPECT_EQ(index.take(one), nullptr);
    EXPECT_EQ(index.take(one), nullptr);
    EXPECT_EQ(index.take(other), &records[2]);
    EXPECT_EQ(index.take(other), nullptr);
}

}  // namespace
