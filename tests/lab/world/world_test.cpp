// The world itself: no processes, no sockets.
#include "lab/world/world.h"

#include <gmock/gmock.h>

#include "lab/world/views.h"
#include "tests/lab/world/scenarios.h"

using lab::Scenario;
using lab::World;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(World, TheSameSeedAndNumberOfCyclesGiveTheSameDumps) {
    World one(home());
    World other(home());
    for (int i = 0; i < 200; ++i) {
        one.step();
        other.step();
    }
    EXPECT_EQ(lab::topology_dump(one, 0), lab::topology_dump(other, 0));
    Scenario reseeded = home();
    ++reseeded.seed;
    World third(reseeded);
    for (int i = 0; i < 200; ++i) {
        third.step();
    }
    EXPECT_NE(lab::topology_dump(one, 0), lab::topology_dump(third, 0));
}

TEST(World, StationsRoamLeaveComeBackAndDriftButThoseThatStay) {
    World world(home());
    std::size_t roamed = 0, left = 0, came_back = 0;
    for (int i = 0; i < 300; ++i) {
        const lab::Changes changes = world.step();
        roamed += changes.roamed.size();
        left += changes.left.size();
        came_back += changes.came_back.size();
    }
    EXPECT_GT(roamed, 20U);
    EXPECT_GT(left, 10U);
    EXPECT_GT(came_back, 10U);
    EXPECT_LE(came_back, left);
    const lab::StationNow &tv = world.station_now(station(world, "14"));
    EXPECT_EQ(tv.device, device(world, "living-room"));
    EXPECT_FALSE(tv.away);
    EXPECT_EQ(tv.signal, -52);
}

TEST(World, NothingMovesInOneThatStandsStillButByOrder) {
    World world(home());
    world.stand_still();
    const std::string before = lab::leases(world);
    for (int i = 0; i < 100; ++i) {
        EXPECT_THAT(world.step().roamed, IsEmpty());
    }
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        EXPECT_EQ(world.station_now(i).device, world.station(i).device);
    }
    world.move(station(world, "14"), device(world, "attic"));
    EXPECT_EQ(world.station_now(station(world, "14")).device, device(world, "attic"));
}

TEST(World, ARateFallsWithTheSignalAndNeverBelowOne) {
    Scenario scenario = home();
    scenario.pace = {0, 0, 0, 20};
    World world(scenario);
    const std::size_t phone = station(world, "15");
    for (int i = 0; i < 200; ++i) {
        world.step();
        const int percent = 100 + 2 * (world.station_now(phone).signal + 67);
        EXPECT_EQ(world.rate(phone), 390 * percent / 100);
        EXPECT_GE(world.rate(phone), 1);
        EXPECT_GE(world.station_now(phone).signal, -95);
        EXPECT_LE(world.station_now(phone).signal, -20);
    }
}

TEST(World, StaysWithinTheRangesOfAScenarioAtTheirCorners) {
    for (const int signal : {-95, -20}) {
        for (const int rate : {1, 65535}) {
            for (const int drift : {0, 20}) {
                Scenario scenario = home();
                scenario.pace = {0, 0, 0, drift};
                for (auto &start : scenario.stations) {
                    start.signal = signal;
                    start.rate = rate;
                    start.stays = false;
                }
                World world(scenario);
                for (int cycle = 0; cycle < 100; ++cycle) {
                    world.step();
                    for (std::size_t i = 0; i < scenario.stations.size(); ++i) {
                        ASSERT_GE(world.rate(i), 1);
                        ASSERT_LE(world.rate(i), 65535);
                        ASSERT_GE(world.station_now(i).signal, -95);
                        ASSERT_LE(world.station_now(i).signal, -20);
                        ASSERT_TRUE(drift != 0 || world.station_now(i).signal == signal);
                    }
                }
            }
        }
    }
}

TEST(World, ABlockedStationIsOffUntilItIsUnblockedAndDoesNotWander) {
    Scenario scenario = home();
    scenario.pace = {100, 0, 0, 0};
    World world(scenario);
    const std::size_t phone = station(world, "24");
    world.block(device(world, "attic"), "02:57:00:00:00:24", true);
    for (int i = 0; i < 10; ++i) {
        world.step();
        EXPECT_FALSE(world.bss_of(phone).has_value());
    }
    EXPECT_EQ(world.station_now(phone).device, device(world, "attic"));
    world.move(phone, device(world, "gateway"));
    EXPECT_TRUE(world.bss_of(phone).has_value()) << "the block is the attic's alone";
    world.move(phone, device(world, "attic"));
    EXPECT_FALSE(world.bss_of(phone).has_value());
    world.block(device(world, "attic"), "02:57:00:00:00:24", false);
    EXPECT_TRUE(world.bss_of(phone).has_value());
}

TEST(World, ADeviceBehindABrokenLinkIsOutOfReach) {
    World world(home());
    const std::size_t gateway = device(world, "gateway");
    const std::size_t living_room = device(world, "living-room");
    const std::size_t attic = device(world, "attic");
    EXPECT_TRUE(world.reaches(gateway, attic));
    EXPECT_TRUE(world.reaches(attic, gateway));
    world.set_enabled(living_room, "rai1", false);
    EXPECT_FALSE(world.reaches(gateway, attic));
    EXPECT_TRUE(world.reaches(gateway, living_room));
    world.set_enabled(living_room, "rai1", true);
    world.set_up(living_room, false);
    EXPECT_FALSE(world.reaches(gateway, attic));
    EXPECT_FALSE(world.reaches(gateway, living_room));
    EXPECT_FALSE(world.reaches(living_room, living_room));
    EXPECT_TRUE(world.reaches(attic, attic));
}

TEST(World, ANewControllerMakesTheOldOneAnAgent) {
    World world(home());
    world.set_role(device(world, "attic"), lab::Role::kController);
    EXPECT_EQ(world.controller(), device(world, "attic"));
    EXPECT_EQ(world.now(device(world, "gateway")).role, lab::Role::kAgent);
    world.set_role(device(world, "attic"), lab::Role::kAgent);
    EXPECT_FALSE(world.controller().has_value());
}

TEST(World, AStationIsFoundByItsNameOrItsMac) {
    Scenario scenario = home();
    scenario.stations[0].host_name = "*";
    scenario.stations[2].host_name = "tv";
    const World world(scenario);
    EXPECT_THAT(world.find_stations("phone-anna"), ElementsAre(11U));
    EXPECT_THAT(world.find_stations("02:57:00:00:00:24"), ElementsAre(11U));
    EXPECT_THAT(world.find_stations("tv"), ElementsAre(2U, 5U));
    EXPECT_THAT(world.find_stations("*"), IsEmpty());
    EXPECT_THAT(world.find_stations("nobody"), IsEmpty());
    EXPECT_EQ(world.station_name(0), "02:57:00:00:00:01");
    EXPECT_EQ(world.name_of("02:57:00:00:00:24"), "phone-anna");
    EXPECT_EQ(world.name_of("02:57:00:00:00:99"), "02:57:00:00:00:99");
}

}  // namespace
