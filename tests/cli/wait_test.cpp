#include "cli/wait.h"

#include <gtest/gtest.h>

#include "tests/reader/inputs.h"

using cli::Wanted;

namespace {

bool is_so(const std::string &words) {
    reader::Inputs inputs = two_agents();
    inputs.leases =
        input_of("leases", "1 02:57:00:00:00:01 192.168.1.101 phone *\n1 02:0b:00:00:00:01 192.168.1.22 cellar *\n");
    Wanted wanted;
    EXPECT_EQ(cli::read_wanted(words, wanted), "") << words;
    return cli::is_fulfilled(reader::make_snapshot(inputs), wanted);
}

TEST(Wanted, AStationAnywhereOrAtADevice) {
    EXPECT_TRUE(is_so("station=phone"));
    EXPECT_TRUE(is_so("station=02:57:00:00:00:01"));
    EXPECT_TRUE(is_so("station=phone@02:0a:00:00:00:01"));
    EXPECT_TRUE(is_so("station=02:57:00:00:00:03@cellar"));
    EXPECT_FALSE(is_so("station=phone@cellar"));
    EXPECT_FALSE(is_so("station=phone@nowhere"));
    EXPECT_FALSE(is_so("station=nobody"));
}

TEST(Wanted, DevicesByNameAndNumber) {
    EXPECT_TRUE(is_so("device=cellar"));
    EXPECT_FALSE(is_so("device=attic"));
    EXPECT_TRUE(is_so("devices=3"));
    EXPECT_TRUE(is_so("devices=2"));
    EXPECT_FALSE(is_so("devices=4"));
}

TEST(Wanted, OtherWordsAreMistakes) {
    for (const char *words : {"", "station", "station=", "station=@cellar", "station=phone@", "devices=0", "devices=-1",
                              "devices=x", "devices=3x", "device=", "colour=red"}) {
        Wanted wanted;
        EXPECT_NE(cli::read_wanted(words, wanted), "") << words;
    }
}

// One that shows another mesh each time it is asked.
class Changing : public reader::Source {
public:
    reader::Inputs read() override { return ++asked_ < 3 ? no_inputs() : two_agents(); }

private:
    int asked_ = 0;
};

TEST(Wanted, IsWaitedFor) {
    Changing source;
    Wanted wanted;
    ASSERT_EQ(cli::read_wanted("devices=3", wanted), "");
    EXPECT_TRUE(cli::wait_until(source, wanted, 60).is_fulfilled);
    ASSERT_EQ(cli::read_wanted("devices=4", wanted), "");
    EXPECT_FALSE(cli::wait_until(source, wanted, 0.1).is_fulfilled);
}

}  // namespace
