// Whole meshes, end to end: the real module in real processes, judged by what its files say. The worlds that the files
// are compared with are read from the scenarios by this test's own code.
#include <gmock/gmock.h>
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "tests/lab/mesh/mesh_fixture.h"

using namespace lab_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST_F(MeshTest, AfterTwoCyclesTheModelAgreesWithTheWorld) {
    Lab lab({"home", "--still", "--cycles", "2", "--keep"});
    ASSERT_EQ(lab.wait(), 0) << lab.output();
    const std::string folder = lab.kept_folder() + "/devices/gateway/tmp/";
    const json model = json::parse(text_of(folder + "qo1905.json"));
    const std::string low = text_of(folder + "ecnt_agent_assoc_list.24g");
    const std::string high = text_of(folder + "ecnt_agent_assoc_list.5g");
    fs::remove_all(lab.kept_folder());

    json scenario = read_scenario("home");
    const std::vector<json> devices = remote_devices(model);
    ASSERT_EQ(devices.size(), 2U);
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const json &expected = scenario["devices"][i + 1];
        EXPECT_EQ(devices[i]["IEEE1905Id"], expected["al_mac"]);
        EXPECT_EQ(devices[i]["FirmwareVersion"], expected["firmware_version"]);
        EXPECT_EQ(devices[i]["Hostname"], expected["name"]);
        EXPECT_EQ(devices[i]["DeviceIP"], expected.value("lease_ip", expected["ip"]));
    }
    const auto stations = stations_in(model);
    std::size_t with_agents = 0;
    for (const json &station : scenario["stations"]) {
        const std::string mac = station["mac"];
        const std::string where = station["device"];
        if (where == "gateway") {  // its own stations are no remote device's
            EXPECT_EQ(stations.count(mac), 0U) << mac;
            continue;
        }
        ++with_agents;
        ASSERT_EQ(stations.count(mac), 1U) << mac;
        EXPECT_EQ(stations.at(mac).rate, station["rate"]) << mac;
        EXPECT_EQ(stations.at(mac).signal, station["signal"]) << mac;
        EXPECT_EQ(stations.at(mac).device, named(scenario["devices"], "name", where)["al_mac"]) << mac;
        const bool is_high = station["band"] == "5 GHz";
        const auto lines = lines_by_mac(is_high ? high : low);
        ASSERT_EQ(lines.count(mac), 1U) << mac;
        std::istringstream line(lines.at(mac));
        std::string column;
        int rate = 0, signal = 0, zero = 0, level = 0;
        std::string interface;
        line >> column >> rate >> signal >> zero >> level >> interface;
        EXPECT_EQ(rate, station["rate"]) << mac;
        EXPECT_EQ(signal, station["signal"]) << mac;
        EXPECT_EQ(interface, is_high ? "rai0" : "ra0") << mac;
        EXPECT_EQ(lines_by_mac(is_high ? low : high).count(mac), 0U) << mac;
    }
    EXPECT_EQ(stations.size(), with_agents);
    EXPECT_EQ(lines_by_mac(low).size() + lines_by_mac(high).size(), with_agents);
}

// What the devices of a lab, kept by its end, were told of the world.

std::map<std::string, std::string> told(const std::string &folder) {
    std::map<std::string, std::string> files;
    for (const char *device : {"gateway", "living-room", "attic"}) {
        for (const char *file : {"/tmp/dump.txt", "/dnsmasq/dnsmasq.leases"}) {
            files[std::string(device) + file] = text_of(folder + "/devices/" + device + file);
        }
    }
    return files;
}

TEST_F(MeshTest, TheSameSeedGivesTheSameDumpsAtEverySpeed) {
    for (const char *cycles : {"1", "4"}) {
        Lab slow({"home", "--speed", "20", "--cycles", cycles, "--keep"});
        Lab fast({"home", "--speed", "max", "--cycles", cycles, "--keep"});
        ASSERT_EQ(slow.wait(), 0) << slow.output();
        ASSERT_EQ(fast.wait(), 0) << fast.output();
        const auto expected = told(slow.kept_folder());
        EXPECT_EQ(told(fast.kept_folder()), expected) << cycles;
        EXPECT_THAT(expected.at("gateway/tmp/dump.txt"), HasSubstr("topology information"));
        fs::remove_all(slow.kept_folder());
        fs::remove_all(fast.kept_folder());
    }
}

TEST_F(MeshTest, AMachineThatCannotKeepUpIsTold) {
    const Lab lab({"home", "--still", "--speed", "1000"});  // a cycle takes longer than these 20 ms
    EXPECT_TRUE(wait_until(
        [&] { return lab.output().find("!! this machine does not keep up: 3 cycles in a row") != std::string::npos; }));
    EXPECT_THAT(lab.order({"status"}).output, HasSubstr("\nthis machine does not keep up: the last "));
}

TEST_F(MeshTest, ARoamingStationMovesWithinTwoCycles) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kTablet) != 0; }));
    EXPECT_EQ(stations_in(lab.model("gateway"))[kTablet].device, "02:0a:00:00:00:01");
    const Result moved = lab.order({"move", kTablet, "attic"});
    EXPECT_EQ(moved.output, "tablet is on attic rai0\n");
    ASSERT_TRUE(lab.wait_for_cycles("gateway", 2));
    EXPECT_EQ(stations_in(lab.model("gateway"))[kTablet].device, "02:0b:00:00:00:01");
    // The attic is on channel 36: the line stands among its stations, behind living-room's.
    EXPECT_TRUE(wait_until([&] {
        const std::string line = lines_by_mac(lab.file("gateway", "tmp/ecnt_agent_assoc_list.5g"))[kTablet];
        return line.find(" 369") != std::string::npos;
    }));
}

TEST_F(MeshTest, AStationThatLeftIsGone) {
    json scenario = read_scenario("home");
    scenario["pace"] = {{"roam", 0}, {"leave", 100}, {"come_back", 0}};
    for (json &station : scenario["stations"]) {
        station["stays"] = station["mac"] != kTablet;
    }
    const Lab lab({write_scenario(scenario), "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["cycles"] >= 2; }));
    const auto stations = stations_in(lab.model("gateway"));
    EXPECT_EQ(stations.count(kTablet), 0U);
    EXPECT_EQ(stations.count(kTv), 1U);
    EXPECT_EQ(lines_by_mac(lab.file("gateway", "tmp/ecnt_agent_assoc_list.5g")).count(kTablet), 0U);
    EXPECT_TRUE(
        wait_until([&] { return lab.file("gateway", "dnsmasq/dnsmasq.leases").find(kTv) != std::string::npos; }));
    EXPECT_THAT(lab.file("gateway", "dnsmasq/dnsmasq.leases"), Not(HasSubstr(kTablet)));
}

// A Controller tells all Agents the state of its own interfaces every cycle; here it has none that is called rai0.
TEST_F(MeshTest, APayloadSwitchesAnInterfaceOffAndOn) {
    json scenario = read_scenario("home");
    scenario["devices"][0]["radios"][1]["bss"][0]["interface"] = "rai3";
    const Lab lab({write_scenario(scenario), "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kTv) != 0; }));
    const std::string order = R"({"SrcAlMac": "02:c0:00:00:00:01", "Interface": "rai0", "Enable": )";
    EXPECT_EQ(lab.order({"send", "living-room", order + "\"false\"}"}).status, 0);
    ASSERT_TRUE(wait_until([&] { return lab.device("living-room")["off"] == json({"rai0"}); }));
    ASSERT_TRUE(lab.wait_for_cycles("gateway", 2));
    auto stations = stations_in(lab.model("gateway"));
    for (const char *mac : {kTv, kPhoneBen, kTablet}) {
        EXPECT_EQ(stations.count(mac), 0U) << mac;
    }
    EXPECT_EQ(stations.count("02:57:00:00:00:11"), 1U) << "2.4 GHz stays";
    EXPECT_EQ(stations.count(kPhoneAnna), 1U) << "the other Agent stays, uplink and all";
    EXPECT_EQ(lab.order({"send", "living-room", order + "\"true\"}"}).status, 0);
    ASSERT_TRUE(wait_until([&] { return lab.device("living-room")["off"].empty(); }));
    ASSERT_TRUE(lab.wait_for_cycles("gateway", 2));
    stations = stations_in(lab.model("gateway"));
    for (const char *mac : {kTv, kPhoneBen, kTablet}) {
        EXPECT_EQ(stations.count(mac), 1U) << mac;
    }
}

TEST_F(MeshTest, WhatIsSwitchedAtTheControllerIsSwitchedEverywhere) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kTv) != 0; }));
    EXPECT_EQ(lab.order({"wifi", "gateway", "rai0", "off"}).output, "gateway switches rai0 off\n");
    EXPECT_TRUE(wait_until([&] {
        return lab.device("living-room")["off"] == json({"rai0"}) && lab.device("attic")["off"] == json({"rai0"});
    }));
    EXPECT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kTv) == 0; }));
    EXPECT_EQ(lab.order({"wifi", "gateway", "rai0", "on"}).status, 0);
    EXPECT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kTv) == 1; }));
}

TEST_F(MeshTest, ABlockListThrowsStationsOffUntilTheyAreTakenFromIt) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kPhoneAnna) != 0; }));
    const std::string order = R"({"SrcAlMac": "02:c0:00:00:00:01", "Interface": "rai0", "Enable": "true", )";
    const std::string list = R"("FilterLists": "02-57-00-00-00-24,02:57:00:00:00:22"})";
    EXPECT_EQ(lab.order({"send", "attic", order + R"("FilterMode": 0, )" + list}).status, 0);
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["blocked"] == json({kWeather, kPhoneAnna}); }));
    ASSERT_TRUE(lab.wait_for_cycles("gateway", 2));
    auto stations = stations_in(lab.model("gateway"));
    EXPECT_EQ(stations.count(kPhoneAnna) + stations.count(kWeather), 0U);
    EXPECT_EQ(stations.count(kLaptopBen), 1U);
    EXPECT_THAT(lab.order({"move", kPhoneAnna, "attic"}).output, HasSubstr("cannot connect there"));
    EXPECT_EQ(lab.order({"send", "attic", order + R"("FilterMode": 1, )" + list}).status, 0);
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["blocked"].empty(); }));
    ASSERT_TRUE(lab.wait_for_cycles("gateway", 2));
    stations = stations_in(lab.model("gateway"));
    EXPECT_EQ(stations.count(kPhoneAnna) + stations.count(kWeather), 2U);
}

TEST_F(MeshTest, RebootRebootsOneDeviceAndTheOthersKeepGoing) {
    Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    EXPECT_EQ(lab.order({"send", "attic", R"({"Reboot": 1})"}).status, 0);
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["up"] == false; }));
    EXPECT_EQ(lab.order({"send", "attic", "{}"}).output, "qo1905-lab: attic is down\n");
    ASSERT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kPhoneAnna) == 0; }));
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["starts"] == 2; }));
    ASSERT_TRUE(wait_until([&] { return stations_in(lab.model("gateway")).count(kPhoneAnna) != 0; }));
    EXPECT_EQ(lab.device("gateway")["starts"], 1);
    EXPECT_EQ(lab.device("living-room")["starts"], 1);
    EXPECT_EQ(lab.end(SIGTERM), 128 + SIGTERM);
    EXPECT_THAT(lab.output(),
                AllOf(HasSubstr("== attic reboots\n"), HasSubstr("== attic is up\n"), Not(HasSubstr("DIED"))));
}

// Its own words, asked over HTTP.
std::string get(const std::string &url, const std::string &path) {
    httplib::Client client(url.substr(0, url.size() - 1));
    const auto result = client.Get(path);
    return result && result->status == 200 ? result->body : "";
}

std::ptrdiff_t rest_servers_of(const Lab &lab) {
    const Words commands = processes_of(lab.folder());
    return std::count_if(commands.begin(), commands.end(), [](const std::string &command) {
        return command.compare(0, command.find('\0'), "ohttpd_rest") == 0;
    });
}

// The entries of a change log: "LostNeighbor REPORTER NEIGHBOR".
std::vector<std::string> entries_of(const std::string &text) {
    const json log = json::parse(text, nullptr, false);
    std::vector<std::string> entries;
    for (int i = 1; log.is_object() && log.contains("ChangeLog." + std::to_string(i)); ++i) {
        const json &entry = log["ChangeLog." + std::to_string(i)];
        entries.push_back(entry["EventType"].get<std::string>() + ' ' + entry["ReporterDeviceId"].get<std::string>() +
                          ' ' + entry["NeighborId"].get<std::string>());
    }
    return entries;
}

TEST_F(MeshTest, AStationThatMovesStandsInTheChangeLog) {
    const Lab lab({"home", "--still", "--speed", "max"});
    const auto entries = [&] { return entries_of(lab.file("gateway", "tmp/qo1905_log.json")); };
    const std::string lost = "LostNeighbor 02:0b:00:00:00:01 02:57:00:00:00:24";
    const std::string found = "NewNeighbor 02:0a:00:00:00:01 02:57:00:00:00:24";
    ASSERT_TRUE(wait_until(
        [&] { return lab.file("gateway", "tmp/qo1905.json").find("02:57:00:00:00:24") != std::string::npos; }));
    EXPECT_THAT(entries(), testing::Not(testing::Contains(lost)));
    lab.order({"move", "phone-anna", "living-room"});
    EXPECT_TRUE(wait_until([&] {
        const auto now = entries();
        return std::count(now.begin(), now.end(), lost) == 1 && std::count(now.begin(), now.end(), found) == 1;
    })) << testing::PrintToString(entries());
}

TEST_F(MeshTest, TheRestServerFollowsTheRole) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["rest"] != ""; }));
    const std::string first = lab.device("gateway")["rest"];
    EXPECT_THAT(first, StartsWith("http://127.0.0.1:"));
    EXPECT_EQ(lab.device("attic")["rest"], "");
    EXPECT_TRUE(wait_until([&] { return get(first, "/qo1905.json") == lab.file("gateway", "tmp/qo1905.json"); }));
    EXPECT_TRUE(wait_until([&] {
        return get(first, "/ecnt_agent_assoc_list.5g") == lab.file("gateway", "tmp/ecnt_agent_assoc_list.5g");
    }));
    EXPECT_EQ(get(first, "/host.log"), "");
    // Between two cycles: while a file is written anew it is empty.
    std::string log;
    ASSERT_TRUE(wait_until([&] { return !(log = get(first, "/qo1905_log.json")).empty(); }));
    EXPECT_EQ(json::parse(log)["MaxChangeLogEntries"], 256);

    const Result swapped = lab.order({"role", "attic", "controller"});
    EXPECT_EQ(swapped.output, "attic is the Controller now, and gateway an Agent\n");
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["rest"] != "" && lab.device("gateway")["rest"] == ""; }));
    EXPECT_FALSE(fs::exists(lab.folder() + "/devices/gateway/run/rest_api_server.pid"));
    const std::string second = lab.device("attic")["rest"];
    // The old one has been killed. Its port says nothing: another lab's server may have it by now.
    EXPECT_TRUE(wait_until([&] { return rest_servers_of(lab) == 1; }));
    EXPECT_TRUE(wait_until([&] { return get(second, "/qo1905.json") == lab.file("attic", "tmp/qo1905.json"); }));
    ASSERT_TRUE(lab.wait_for_cycles("attic", 3));
    // Once each: what a server says when it starts.
    EXPECT_THAT(lab.file("gateway", "tmp/rest_server.log"),
                testing::MatchesRegex("ohttpd_rest [0-9]+: serving [^\n]+\n"));
    EXPECT_THAT(lab.file("attic", "tmp/rest_server.log"),
                testing::MatchesRegex("ohttpd_rest [0-9]+: serving [^\n]+\n"));
}

TEST_F(MeshTest, ReportsArriveAgainAfterTheDaemonRestarts) {
    const Lab lab({"home", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["received"] >= 4; }));
    EXPECT_EQ(lab.order({"restart-mapd", "gateway"}).status, 0);
    ASSERT_TRUE(wait_until([&] { return !fs::exists(lab.folder() + "/devices/gateway/tmp/mapd_ctrl"); }));
    const unsigned before = lab.device("gateway")["received"];
    const auto start = Clock::now();
    ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["received"] > before; }));
    EXPECT_LT(Clock::now() - start, 10s);
    for (const char *name : {"gateway", "living-room", "attic"}) {
        EXPECT_EQ(lab.device(name)["starts"], 1) << name;
        EXPECT_EQ(lab.device(name)["running"], true) << name;
    }
}

TEST_F(MeshTest, LongMessagesUnknownDestinationsAndDevicesThatAreDownAreLostAndCounted) {
    json scenario = read_scenario("home");
    json &stations = scenario["stations"];
    for (int i = 10; i < 40; ++i) {  // more than a report to the Controller can carry
        json station = stations[5];
        station["mac"] = "02:57:00:00:01:" + std::to_string(i);
        stations.push_back(station);
    }
    const Lab lab({write_scenario(scenario), "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("living-room")["lost"]["too long"] >= 2; }));
    EXPECT_EQ(lab.device("attic")["lost"]["too long"], 0);
    EXPECT_EQ(lab.order({"down", "gateway"}).output, "gateway is down\n");
    EXPECT_TRUE(wait_until([&] { return lab.device("attic")["lost"]["out of reach"] >= 2; }));
    EXPECT_EQ(lab.order({"role", "gateway", "agent"}).output,
              "gateway is an Agent now; the mesh has no Controller, and without one no device writes files\n");
    EXPECT_TRUE(wait_until([&] { return lab.device("attic")["lost"]["to unknown devices"] >= 2; }));
    EXPECT_EQ(lab.order({"up", "gateway"}).output, "gateway starts\n");
    EXPECT_EQ(lab.order({"send", "attic", std::string(1001, 'x')}).status, 1);
}

}  // namespace
