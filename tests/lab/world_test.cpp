// The lab's scenarios, its world and what devices get to see of it: no processes, no sockets.
#include "lab/mesh/world.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "lab/common/error.h"
#include "lab/mesh/generate.h"
#include "lab/mesh/views.h"

using lab::Scenario;
using lab::World;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string kScenarios = QO1905_SOURCE_DIR "/lab/scenarios/";

Scenario home() { return Scenario::read_file(kScenarios + "home.json"); }

// Tests run side by side, so each process writes into a folder of its own.
void go_to_own_folder() {
    static const bool there = [] {
        std::string folder = testing::TempDir() + "qo1905-world.XXXXXX";
        return mkdtemp(folder.data()) != nullptr && chdir(folder.c_str()) == 0 &&
               std::atexit([] { std::filesystem::remove_all(std::filesystem::current_path()); }) == 0;
    }();
    ASSERT_TRUE(there);
}

Scenario from_text(const std::string &text) {
    go_to_own_folder();
    std::ofstream("scenario.json") << text;
    return Scenario::read_file("scenario.json");
}

std::string mistake_in(const std::string &text) {
    try {
        from_text(text);
    } catch (const lab::Error &error) {
        return error.what();
    }
    return "none";
}

std::size_t device(const World &world, const std::string &name) { return world.find_device(name).value(); }
std::size_t station(const World &world, const std::string &last) {
    return world.find_station("02:57:00:00:00:" + last).value();
}

json dump_of(const World &world, const std::string &name) {
    return json::parse(lab::topology_dump(world, device(world, name)));
}

std::vector<std::string> al_macs(const json &dump) {
    std::vector<std::string> macs;
    for (const json &entry : dump["topology information"]) {
        macs.push_back(entry["AL MAC"]);
    }
    return macs;
}

std::vector<std::string> stations_of(const json &bss) {
    std::vector<std::string> macs;
    for (const json &item : bss["connected sta info"]) {
        macs.push_back(item["STA MAC address"]);
    }
    return macs;
}

const char kGateway[] = "02:c0:00:00:00:01";
const char kLivingRoom[] = "02:0a:00:00:00:01";
const char kAttic[] = "02:0b:00:00:00:01";

// ---- scenarios ----

// A device with one BSS per band, which more can be added to.
const std::string kGood =
    R"("name": "a", "role": "controller", "al_mac": "02:00:00:00:00:01", "firmware_version": "1", "ip": "10.0.0.1",
       "radios": [{"channel": 6, "bss": [{"bssid": "02:00:00:00:06:00"}]}, {"channel": 36, "bss": [{"bssid": "02:00:00:00:36:00"}]}])";
const std::string kAgent =
    R"("name": "b", "role": "agent", "al_mac": "02:00:00:00:01:01", "firmware_version": "1", "ip": "10.0.0.2")";

std::string with_station(const std::string &station) {
    return "{\"devices\": [{" + kGood + "}], \"stations\": [" + station + "]}";
}

std::string with_devices(const std::string &more) { return "{\"devices\": [{" + kGood + "}" + more + "]}"; }

TEST(Scenario, EveryMistakeIsToldWithFilePlaceAndWhatIsWrong) {
    const struct {
        std::string text;
        const char *message;
    } mistakes[] = {
        {"{", "line 1: no JSON: "},
        {"[]", "scenario.json: must be an object"},
        {"{}", "key \"devices\" is missing"},
        {R"({"devices": [], "colour": 1})", "unknown key \"colour\""},
        {R"({"devices": 1})", "devices: must be an array"},
        {R"({"devices": []})", "devices: must have 1 to 255 items"},
        {R"({"devices": [1]})", "devices[0]: must be an object"},
        {R"({"seed": -1, "devices": []})", "seed: must be a whole number from 0 to 2147483647"},
        {R"({"seed": 1e400, "devices": []})", "scenario.json: no JSON: "},
        {R"({"seed": 18446744073709551615, "devices": []})", "seed: must be a whole number from 0 to 2147483647"},
        {R"({"a\n\u001b[31mb": 1})", "unknown key \"a??[31mb\""},
        {R"({"pace": {"roam": 60, "leave": 41}, "devices": []})", "pace: roam and leave must be at most 100 together"},
        {R"({"pace": {"roam": 101}, "devices": []})", "pace.roam: must be a whole number from 0 to 100"},
        {R"({"pace": {"haste": 1}, "devices": []})", "pace: unknown key \"haste\""},
        {R"({"devices": [{"name": "a b"}]})", "devices[0].name: must be 1 to 32 letters, digits"},
        {R"({"devices": [{"name": "../a"}]})", "devices[0].name: must be 1 to 32 letters, digits"},
        {R"({"devices": [{"name": "a", "role": "boss"}]})", "devices[0].role: must be \"agent\" or \"controller\""},
        {R"({"devices": [{"name": "a", "role": "agent", "al_mac": "1"}]})", "devices[0].al_mac: must be a MAC address"},
        {with_devices(", {" + kGood + "}"), "devices[1].name: \"a\" is there twice"},
        {with_devices(R"(, {"name": "b", "role": "agent", "al_mac": "02:00:00:00:00:01"})"),
         "devices[1].al_mac: 02:00:00:00:00:01 is there twice"},
        {with_devices(R"(, {"name": "b", "role": "agent", "al_mac": "02:00:00:00:36:F5"})"),
         "devices[1]: needs \"uplink_mac\": 02:00:00:00:36:00, which it would be, is there already"},
        {with_devices(R"(, {"name": "b", "role": "agent", "al_mac": "02:00:00:00:01:01"})"),
         "devices[1]: key \"firmware_version\" is missing"},
        {with_devices(", {" + kAgent + "}"), "devices: must have one device without \"backhaul\", has 2"},
        {"{\"devices\": [{" + kAgent + "}]}", "devices: must have one Controller, has 0"},
        {with_devices(
             R"(, {"name": "b", "role": "agent", "al_mac": "02:00:00:00:01:01", "firmware_version": "1\u0000"})"),
         "devices[1].firmware_version: must not hold a zero byte"},
        {with_devices(", {" + kAgent + R"(, "backhaul": {"to": "a", "over": "Ethernet", "rate": 1, "signal": "x"}})"),
         "devices[1].backhaul.signal: an Ethernet link has none"},
        {with_devices(", {" + kAgent + R"(, "ip": "10.0.0.2 x"})"), "devices[1].ip: must be a word without blanks"},
        {with_devices(", {" + kAgent + R"(, "radios": [{"channel": 0, "bss": []}]})"),
         "devices[1].radios[0].channel: must be a whole number from 1 to 196"},
        {with_devices(", {" + kAgent + R"(, "radios": [{"channel": 1, "bss": []}, {"channel": 13, "bss": []}]})"),
         "devices[1].radios[1]: a second radio of the same band"},
        {with_devices(", {" + kAgent + R"(, "radios": [{"channel": 1, "bss": [{"interface": "rai0", "bssid": ""}]}]})"),
         "devices[1].radios[0].bss[0]: interface \"rai0\": must be ra0 to ra3"},
        {with_devices(
             ", {" + kAgent +
             R"(, "radios": [{"channel": 1, "bss": [{"bssid": "02:00:00:00:01:06"}, {"interface": "ra0", "bssid": ""}]}]})"),
         "devices[1].radios[0].bss[1]: interface ra0 is there twice"},
        {with_devices(", {" + kAgent +
                      R"(, "radios": [{"channel": 1, "bss": [{"bssid": "02:00:00:00:01:06", "use": "x"}]}]})"),
         "devices[1].radios[0].bss[0].use: must be \"backhaul\" or \"fronthaul\""},
        {with_devices(", {" + kAgent + R"(, "backhaul": {"to": "c", "over": "Ethernet", "rate": 1}})"),
         "devices[1].backhaul.to: there is no device \"c\""},
        {with_devices(", {" + kAgent + R"(, "backhaul": {"to": "a", "over": "air", "rate": 1}})"),
         "devices[1].backhaul.over: must be \"2.4 GHz\" or \"5 GHz\" or \"Ethernet\""},
        {with_devices(", {" + kAgent + R"(, "backhaul": {"to": "a", "over": "5 GHz", "rate": 1}})"),
         "devices[1].backhaul: key \"signal\" is missing"},
        {with_devices(", {" + kAgent + R"(, "backhaul": {"to": "a", "over": "5 GHz", "rate": 1, "signal": -50}})"),
         "devices[1].backhaul.over: a has no backhaul BSS on that band"},
        {with_devices(", {" + kAgent + R"(, "backhaul": {"to": "b", "over": "Ethernet", "rate": 1}})"),
         "devices[1].backhaul: goes round in a circle"},
        {with_station(R"({"mac": "02:57:00:00:00:01"})"), "stations[0]: key \"device\" is missing"},
        {with_station(R"({"mac": "02:57:00:00:00:01", "device": "a", "band": "6 GHz"})"),
         "stations[0].band: must be \"2.4 GHz\" or \"5 GHz\""},
        {with_station(R"({"mac": "02:57:00:00:00:01", "device": "a", "band": "5 GHz", "signal": 5})"),
         "stations[0].signal: must be a whole number from -95 to -20"},
        {with_station(R"({"mac": "02:57:00:00:00:01", "device": "a", "band": "5 GHz", "signal": -50, "rate": 0})"),
         "stations[0].rate: must be a whole number from 1 to 65535"},
        {with_station(
             R"({"mac": "02:57:00:00:00:01", "device": "a", "band": "5 GHz", "signal": -50, "rate": 9, "ip": "1", "host_name": ""})"),
         "stations[0].host_name: must be a word without blanks"},
    };
    for (const auto &mistake : mistakes) {
        const std::string told = mistake_in(mistake.text);
        EXPECT_THAT(told, StartsWith("scenario.json: ")) << mistake.text;
        EXPECT_THAT(told, HasSubstr(mistake.message)) << mistake.text;
        EXPECT_EQ(told.find('\n'), std::string::npos) << told;
    }
    EXPECT_EQ(mistake_in(with_devices("")), "none");
    EXPECT_THROW(Scenario::read_file("/tmp"), lab::Error);
}

TEST(Scenario, WhatIsPrintedReadsBackAsTheSame) {
    for (const char *name : {"home", "villa", "office"}) {
        const Scenario scenario = Scenario::read_file(kScenarios + name + ".json");
        EXPECT_EQ(from_text(scenario.text()).text(), scenario.text()) << name;
    }
}

TEST(Scenario, TheLabsOwnAreAsLargeAsTheyAreSaidToBe) {
    const auto size = [](const std::string &name) {
        const Scenario scenario = Scenario::read_file(kScenarios + name + ".json");
        return std::pair(scenario.devices.size(), scenario.stations.size());
    };
    EXPECT_EQ(size("home"), std::pair(std::size_t{3}, std::size_t{12}));
    EXPECT_EQ(size("villa"), std::pair(std::size_t{8}, std::size_t{60}));
    EXPECT_EQ(size("office"), std::pair(std::size_t{17}, std::size_t{400}));
}

TEST(Scenario, GeneratedOnesOfEverySizeAndShapeAreValid) {
    for (const lab::Shape shape : {lab::Shape::kStar, lab::Shape::kChain, lab::Shape::kTree}) {
        for (const auto &[agents, stations] : {std::pair(0, 0), {1, 1}, {10, 100}, {11, 300}, {200, 20000}}) {
            lab::Plan plan;
            plan.agents = static_cast<std::size_t>(agents);
            plan.stations = static_cast<std::size_t>(stations);
            plan.shape = shape;
            const Scenario scenario = from_text(lab::generate(plan).text());
            EXPECT_EQ(scenario.devices.size(), plan.agents + 1);
            EXPECT_EQ(scenario.stations.size(), plan.stations);
        }
    }
    EXPECT_EQ(lab::generate({}).text(), lab::generate({}).text());
}

// ---- the world ----

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
                for (auto &spec : scenario.stations) {
                    spec.signal = signal;
                    spec.rate = rate;
                    spec.stays = false;
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

// ---- what is seen of it ----

TEST(Dump, BeginsWithTheDeviceItselfAndHoldsWhomItReaches) {
    World world(home());
    EXPECT_THAT(al_macs(dump_of(world, "gateway")), ElementsAre(kGateway, kLivingRoom, kAttic));
    EXPECT_THAT(al_macs(dump_of(world, "attic")), ElementsAre(kAttic, kGateway, kLivingRoom));
    world.set_up(device(world, "living-room"), false);
    EXPECT_THAT(al_macs(dump_of(world, "gateway")), ElementsAre(kGateway));
}

TEST(Dump, TellsStationsAndBackhaulInTheDaemonsWords) {
    const World world(home());
    const json entry = dump_of(world, "gateway")["topology information"][1];
    EXPECT_EQ(entry["Device role"], "02");
    EXPECT_EQ(entry["Upstream device"], kGateway);
    EXPECT_EQ(entry["BH Interface(APCLI)"][0]["MAC address"], "02:0a:00:00:00:0c");
    EXPECT_EQ(entry["Number of radios"], 2);
    const json &radio = entry["Radio Info"][1];
    EXPECT_EQ(radio["channel"], "149");
    EXPECT_THAT(stations_of(radio["BSSINFO"][0]),
                ElementsAre("02:57:00:00:00:14", "02:57:00:00:00:15", "02:57:00:00:00:16"));
    EXPECT_THAT(stations_of(radio["BSSINFO"][1]), ElementsAre("02:0b:00:00:00:0c"));
    const json &tv = radio["BSSINFO"][0]["connected sta info"][0];
    EXPECT_EQ(tv["BH STA"], "No");
    EXPECT_EQ(tv["Medium"], "5G");
    EXPECT_EQ(tv["uplink rssi"], "-52");
    EXPECT_EQ(radio["BSSINFO"][1]["connected sta info"][0]["BH STA"], "Yes");
    EXPECT_EQ(entry["Other Clients Info"][1]["Client Address"], "02:e7:00:00:00:12");
    EXPECT_EQ(entry["BH Info"][0]["neighbor almac addr"], kGateway);
    EXPECT_EQ(entry["BH Info"][0]["connected iface addr"], "02:0a:00:00:00:0c");
    EXPECT_EQ(entry["BH Info"][0]["Backhaul Medium Type"], "5G");
    EXPECT_EQ(entry["BH Info"][1]["connected iface addr"], "02:0a:00:00:95:01");
    EXPECT_EQ(entry["backhaul link metrics"][1]["neighbor_al"], kAttic);
    EXPECT_EQ(entry["backhaul link metrics"][1]["metrics"][0]["neighbor_if_mac"], "02:0b:00:00:00:0c");
}

TEST(Dump, ABssThatIsOffIsNotListed) {
    World world(home());
    world.set_enabled(device(world, "living-room"), "rai0", false);
    const json entry = dump_of(world, "gateway")["topology information"][1];
    ASSERT_EQ(entry["Radio Info"][1]["BSSINFO"].size(), 1U);
    EXPECT_EQ(entry["Radio Info"][1]["BSSINFO"][0]["BSSID"], "02:0a:00:00:95:01");
}

TEST(Description, TellsADeviceWhatItsHostHasToKnow) {
    World world(home());
    world.set_enabled(device(world, "living-room"), "ra0", false);
    const json own = lab::device_description(world, device(world, "living-room"));
    EXPECT_EQ(own["role"], "agent");
    EXPECT_EQ(own["controller_mac"], kGateway);
    EXPECT_EQ(own["wifi"][0]["enable"], false);
    EXPECT_EQ(own["wifi"][1]["instance"], 5);
    EXPECT_EQ(own["stations"].count("ra0"), 0U);
    EXPECT_EQ(own["stations"]["rai0"][1]["rate"], 390);
    EXPECT_EQ(own["stations"]["rai1"][0]["mesh_al_mac"], kAttic);
    EXPECT_EQ(own["known_devices"], json({kGateway, kAttic}));
}

TEST(Leases, FollowDevicesAndStations) {
    World world(home());
    EXPECT_THAT(lab::leases(world), HasSubstr(" 02:0b:00:00:00:01 192.168.1.121 attic 01:02:0b:00:00:00:01\n"));
    EXPECT_THAT(lab::leases(world),
                HasSubstr("1795262400 02:57:00:00:00:24 192.168.1.136 phone-anna 01:02:57:00:00:00:24\n"));
    world.set_up(device(world, "attic"), false);
    EXPECT_THAT(lab::leases(world), testing::Not(HasSubstr("attic")));
    EXPECT_THAT(lab::leases(world), testing::Not(HasSubstr("phone-anna")));
}

}  // namespace
