#include "lab/mesh/air.h"

#include <gmock/gmock.h>

#include "tests/lab/world/scenarios.h"

using lab::Air;
using lab::Loss;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

const char kGateway[] = "02:c0:00:00:00:01";

class AirTest : public testing::Test {
protected:
    lab::World world_{home()};
    bool somebody_listens_ = true;
    std::vector<std::pair<std::size_t, std::string>> taken_;
    Air air_{world_, [this](std::size_t device, const std::string &payload) {
                 taken_.emplace_back(device, payload);
                 return somebody_listens_;
             }};
    const std::size_t attic_ = device(world_, "attic");
};

TEST_F(AirTest, CarriesAMessageToTheDeviceWithThatAddress) {
    air_.transmit(attic_, kGateway, "hello");
    EXPECT_THAT(taken_, ElementsAre(Pair(0U, "hello")));
    air_.delivered(0, true);
    EXPECT_EQ(air_.traffic(attic_).sent, 1U);
    EXPECT_EQ(air_.traffic(attic_).lost_in_all(), 0U);
    EXPECT_EQ(air_.traffic(0).received, 1U);
}

TEST_F(AirTest, CarriesAThousandBytesAndNotOneMore) {
    air_.transmit(attic_, kGateway, std::string(1001, 'x'));
    EXPECT_THAT(taken_, IsEmpty());
    EXPECT_EQ(air_.lost(Loss::kTooLong), 1U);
    air_.transmit(attic_, kGateway, std::string(1000, 'x'));
    EXPECT_EQ(taken_.size(), 1U);
    EXPECT_EQ(air_.traffic(attic_).sent, 2U);
}

TEST_F(AirTest, CountsWhatGetsLostAndWhy) {
    air_.transmit(attic_, "02:c0:00:00:00:99", "to nobody");
    world_.set_up(device(world_, "living-room"), false);
    air_.transmit(attic_, kGateway, "no way");
    EXPECT_THAT(taken_, IsEmpty());
    world_.set_up(device(world_, "living-room"), true);
    somebody_listens_ = false;
    air_.transmit(attic_, kGateway, "unheard");
    EXPECT_EQ(air_.lost(Loss::kUnknown), 1U);
    EXPECT_EQ(air_.lost(Loss::kOutOfReach), 1U);
    EXPECT_EQ(air_.lost(Loss::kNoListener), 1U);
    EXPECT_EQ(air_.traffic(attic_).lost_in_all(), 3U);
    EXPECT_EQ(air_.traffic(attic_).sent, 3U);
}

TEST_F(AirTest, CountsAMessageThatNobodyTookAfterAllAsLostThere) {
    air_.transmit(attic_, kGateway, "late");
    air_.delivered(0, false);
    EXPECT_EQ(air_.traffic(0).received, 0U);
    EXPECT_EQ(air_.lost(Loss::kNoListener), 1U);
}

}  // namespace
