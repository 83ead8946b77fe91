// What one device gets to see of the world.
#include "lab/world/views.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/lab/world/scenarios.h"

using lab::World;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

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

// As a module of the mesh sends it, byte for byte.
TEST(Report, IsWhatAnAgentSendsOfItsStations) {
    World world(home());
    world.move(station(world, "16"), device(world, "attic"));
    EXPECT_EQ(lab::agent_report(world, device(world, "living-room")),
              "{ \"SrcAlMac\": \"02:0a:00:00:00:01\", \"FWVersion\": \"2.4.1\", \"HostName\": \"living-room\", "
              "\"DeviceIP\": \"192.168.1.20\", \"STAInfo\": ["
              "{ \"STAMac\": \"2:57:0:0:0:11\", \"PhyRate\": 65}, { \"STAMac\": \"2:57:0:0:0:12\", \"PhyRate\": 39}, "
              "{ \"STAMac\": \"2:57:0:0:0:13\", \"PhyRate\": 72}, { \"STAMac\": \"2:57:0:0:0:14\", \"PhyRate\": 866}, "
              "{ \"STAMac\": \"2:57:0:0:0:15\", \"PhyRate\": 390}]}");
}

TEST(Report, IsTooLongForTheAirFromSomeStationsOn) {
    EXPECT_THAT(lab::devices_with_long_reports(World(home())), IsEmpty());
    lab::Scenario crowded = home();
    while (crowded.stations.size() < 60) {
        crowded.stations.push_back(crowded.stations[5]);  // at the living-room
    }
    World world(crowded);
    EXPECT_THAT(lab::devices_with_long_reports(world), ElementsAre(1U));
    world.set_role(1, lab::Role::kController);
    EXPECT_THAT(lab::devices_with_long_reports(world), IsEmpty()) << "a Controller reports to nobody";
}

}  // namespace
