// The index gives what a plain walk through the list gives, which is written down here once more, on random lists with
// many doubles.
#include "module/model/mac_index.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>
#include <vector>

#include "qo1905.h"
#include "tests/support/failing_allocations.h"

using qo1905::Mac;
using qo1905::mac_key;
using qo1905::MacIndex;

namespace {

using StationIndex = qo1905::NodeIndex<qo1905_sta_info>;

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

std::vector<const qo1905_sta_info *> all_of(const StationIndex &index, const Mac &mac) {
    std::vector<const qo1905_sta_info *> found;
    for (const MacIndex::Entry *match = index.find(mac); match != nullptr; match = index.next(match)) {
        found.push_back(StationIndex::node(match));
    }
    return found;
}

TEST(MacIndex, FindsWhatAWalkFindsInTheSameOrder) {
    std::mt19937 random(1905);
    StationIndex index;  // kept, as the writers keep it from device to device
    for (int round = 0; round < 2000; ++round) {
        std::vector<qo1905_sta_info> stations(random() % 200);
        for (std::size_t i = 0; i < stations.size(); ++i) {
            stations[i] = {};
            draw_mac(random, stations[i].STAMac);
            stations[i].next = i + 1 < stations.size() ? &stations[i + 1] : nullptr;
        }
        const qo1905_sta_info *head = stations.empty() ? nullptr : stations.data();
        ASSERT_TRUE(index.build(head, &qo1905_sta_info::STAMac));
        for (int i = 0; i < 20; ++i) {
            Mac mac;
            draw_mac(random, mac);
            const auto expected = walk(head, mac);
            ASSERT_EQ(all_of(index, mac), expected);
            ASSERT_EQ(index.first(mac), expected.empty() ? nullptr : expected[0]);
            if (!expected.empty()) {
                ASSERT_EQ(index.find(mac)->order, static_cast<std::size_t>(expected[0] - head));
            }
        }
    }
}

TEST(MacIndex, AnEmptyOneFindsNothing) {
    MacIndex index;
    EXPECT_EQ(index.find(1), nullptr);
    index.sort();
    EXPECT_EQ(index.find(0), nullptr);
    EXPECT_EQ(index.begin(), index.end());
}

TEST(MacIndex, ThereIsMemoryAgainAfterThereWasNone) {
    const int record = 0;
    MacIndex index;
    fail_allocations_from(1);
    EXPECT_FALSE(index.add(7, &record));
    allocate_again();
    index.clear();
    EXPECT_TRUE(index.add(7, &record));
    index.sort();
    ASSERT_NE(index.find(7), nullptr);
    EXPECT_EQ(index.find(7)->record, &record);
    EXPECT_EQ(index.next(index.find(7)), nullptr);
}

TEST(MacIndex, EveryByteOfAMacCounts) {
    const Mac macs[] = {{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, 1}, {0, 0, 0, 0, 1}, {0, 0, 0, 0, 0, 1}, {}};
    for (const Mac &a : macs) {
        EXPECT_EQ(mac_key(a) >> 48U, 0U);
        for (const Mac &b : macs) {
            EXPECT_EQ(mac_key(a) == mac_key(b), &a == &b);
        }
    }
}

}  // namespace
