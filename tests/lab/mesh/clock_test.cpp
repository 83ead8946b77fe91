// The clock without a mesh: three devices, the first of them the Controller, that do what a test says.
#include "lab/mesh/clock.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

using lab::Clock;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Devices : public lab::ClockedDevices {
public:
    std::size_t count() const override { return 3; }
    std::optional<std::size_t> controller() const override { return controller_; }
    bool is_idle(std::size_t device) const override { return !busy_[device]; }
    void begin_cycle() override { log_.emplace_back("world"); }
    void tick(std::size_t device, unsigned cycle) override {
        busy_[device] = up_[device];
        log_.push_back(std::to_string(device) + '@' + std::to_string(cycle));
    }

    void be_done(std::size_t device) { busy_[device] = false; }
    std::vector<std::string> said() { return std::exchange(log_, {}); }

    std::optional<std::size_t> controller_ = 0;
    bool up_[3] = {true, true, true};

private:
    bool busy_[3] = {};
    std::vector<std::string> log_;
};

class ClockTest : public testing::Test {
protected:
    void be_done(std::initializer_list<std::size_t> which) {
        for (const std::size_t device : which) {
            devices_.be_done(device);
            clock_.look();
        }
    }

    Devices devices_;
    Clock clock_{devices_, 0};
};

TEST_F(ClockTest, TheWorldStepsThenComeTheAgentsAndTheControllerWhenTheyAreDone) {
    clock_.begin_cycle();
    EXPECT_THAT(devices_.said(), ElementsAre("world", "1@1", "2@1"));
    be_done({1});
    EXPECT_THAT(devices_.said(), IsEmpty());
    EXPECT_FALSE(clock_.all_done());
    be_done({2});
    EXPECT_THAT(devices_.said(), ElementsAre("0@1"));
    EXPECT_FALSE(clock_.all_done());
    be_done({0});
    EXPECT_TRUE(clock_.all_done());
}

TEST_F(ClockTest, ABusyDeviceSkipsWhatPassesMeanwhileAndThenDoesTheLatest) {
    clock_.begin_cycle();
    be_done({1});
    clock_.begin_cycle();
    clock_.begin_cycle();
    (void)devices_.said();
    be_done({2});
    EXPECT_THAT(devices_.said(), ElementsAre("2@3"));
    be_done({2});
    EXPECT_THAT(devices_.said(), IsEmpty()) << "it owes nothing any more";
}

TEST_F(ClockTest, AControllerWhoseAgentHangsHasItsCycleWithoutIt) {
    clock_.begin_cycle();
    be_done({1});
    (void)devices_.said();
    clock_.begin_cycle();  // device 2 is still in the first
    EXPECT_THAT(devices_.said(), ElementsAre("world", "0@1", "1@2"));
}

TEST_F(ClockTest, ADeviceThatIsDownIsNotWaitedFor) {
    devices_.up_[2] = false;
    clock_.begin_cycle();
    be_done({1});
    EXPECT_THAT(devices_.said(), ElementsAre("world", "1@1", "2@1", "0@1"));
    be_done({0});
    EXPECT_TRUE(clock_.all_done());
}

TEST_F(ClockTest, OneThatGoesDownInTheMiddleLetsTheOthersGoOn) {
    clock_.begin_cycle();
    be_done({1});
    devices_.up_[2] = false;
    (void)devices_.said();
    be_done({2});
    EXPECT_THAT(devices_.said(), ElementsAre("0@1"));
}

TEST_F(ClockTest, WithoutAControllerTheAgentsGoOn) {
    devices_.controller_.reset();
    clock_.begin_cycle();
    EXPECT_THAT(devices_.said(), ElementsAre("world", "0@1", "1@1", "2@1"));
    be_done({0, 1, 2});
    EXPECT_TRUE(clock_.all_done());
    EXPECT_THAT(devices_.said(), IsEmpty());
}

TEST_F(ClockTest, ANewControllerInTheMiddleOfACycleHasItWhenTheOthersAreDone) {
    clock_.begin_cycle();
    be_done({1, 2});  // now device 0 is in its cycle
    (void)devices_.said();
    devices_.controller_ = 1;
    be_done({0});
    EXPECT_TRUE(clock_.all_done());
    clock_.begin_cycle();
    EXPECT_THAT(devices_.said(), ElementsAre("world", "0@2", "2@2"));
    be_done({0, 2});
    EXPECT_THAT(devices_.said(), ElementsAre("1@2"));
}

TEST_F(ClockTest, CountsHowManyCyclesInARowBeganTooEarly) {
    clock_.begin_cycle();
    EXPECT_EQ(clock_.behind(), 0U);
    clock_.begin_cycle();
    clock_.begin_cycle();
    EXPECT_EQ(clock_.behind(), 2U);
    for (int i = 0; i < 3; ++i) {
        be_done({1, 2, 0});
    }
    ASSERT_TRUE(clock_.all_done());
    clock_.begin_cycle();
    EXPECT_EQ(clock_.behind(), 0U);
}

TEST_F(ClockTest, TheLastCycleIsTheOneThatWasAskedFor) {
    Clock two(devices_, 2);
    two.begin_cycle();
    EXPECT_FALSE(two.is_last());
    two.begin_cycle();
    EXPECT_TRUE(two.is_last());
    for (int i = 0; i < 1000; ++i) {
        clock_.begin_cycle();
    }
    EXPECT_FALSE(clock_.is_last()) << "0 is for ever";
}

}  // namespace
