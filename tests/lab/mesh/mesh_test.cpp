// Whole meshes, end to end: the real module in real processes, judged by what its files say. The worlds that the files
// are compared with are read from the scenarios by this test's own code.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <httplib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/lab/mesh/lab_process.h"

using namespace lab_test;
using nlohmann::json;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

const std::string kScenarios = QO1905_SOURCE_DIR "/lab/scenarios/";

const char kTv[] = "02:57:00:00:00:14";
const char kPhoneBen[] = "02:57:00:00:00:15";
const char kTablet[] = "02:57:00:00:00:16";
const char kWeather[] = "02:57:00:00:00:22";
const char kLaptopBen[] = "02:57:00:00:00:23";
const char kPhoneAnna[] = "02:57:00:00:00:24";

// ---- what the files say ----

struct Seen {
    int rate;
    int signal;
    std::string device;  // AL MAC
};

std::vector<json> remote_devices(const json &model) {
    std::vector<json> devices;
    if (model.is_discarded()) {
        return devices;
    }
    const json topology = model.value("/Device/X_0A3C5E_IEEE1905/AL/NetworkTopology"_json_pointer, json::object());
    for (const auto &[key, value] : topology.items()) {
        if (key.rfind("IEEE1905Device.", 0) == 0) {
            devices.push_back(value);
        }
    }
    return devices;
}

// The Wi-Fi stations of a data model by MAC.
std::map<std::string, Seen> stations_in(const json &model) {
    std::map<std::string, Seen> stations;
    for (const json &device : remote_devices(model)) {
        for (const auto &[key, value] : device.items()) {
            if (key.rfind("NonIEEE1905Neighbor.", 0) == 0 && value.contains("RATE")) {
                stations[value["NeighborInterfaceId"]] = {value["RATE"], value["RSSI"], device["IEEE1905Id"]};
            }
        }
    }
    return stations;
}

// The lines of an association list by MAC.
std::map<std::string, std::string> lines_by_mac(const std::string &text) {
    std::map<std::string, std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines[line.substr(0, 17)] = line;
    }
    return lines;
}

json read_scenario(const std::string &name) { return json::parse(text_of(kScenarios + name + ".json")); }

// ---- the tests ----

class MeshTest : public InOwnFolder {
protected:
    static std::string write_scenario(const json &scenario) {
        std::ofstream("scenario.json") << scenario;
        return fs::absolute("scenario.json");
    }

    static void expect_nothing_left(const std::string &folder) {
        EXPECT_THAT(processes_of(folder), IsEmpty());
        EXPECT_FALSE(fs::exists(folder));
    }
};

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

pid_t host_of(const Lab &lab, const std::string &device) {
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const std::string process = entry.path();
        const bool is_host = text_of(process + "/comm") == "qo1905-host\n" &&
                             text_of(process + "/environ").find("QO1905_LAB=" + lab.folder()) != std::string::npos;
        if (is_host && fs::equivalent(process + "/root/tmp", lab.folder() + "/devices/" + device + "/tmp")) {
            return std::stoi(entry.path().filename());
        }
    }
    throw std::runtime_error(device + " has no host");
}

TEST_F(MeshTest, ADeviceThatIsTakenDownIsNotWaitedFor) {
    Lab early({"home", "--still", "--speed", "max", "--cycles", "2"});
    (void)early.order({"down", "attic"});
    EXPECT_EQ(early.wait(), 0) << early.output();
}

TEST_F(MeshTest, NoDeadProcessStays) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(lab.order({"down", "attic"}).status, 0);
        EXPECT_EQ(lab.order({"up", "attic"}).status, 0);
        ASSERT_TRUE(wait_until([&] { return lab.device("attic")["running"] == true; }));
    }
    const std::string children =
        "/proc/" + std::to_string(lab.pid()) + "/task/" + std::to_string(lab.pid()) + "/children";
    EXPECT_TRUE(wait_until([&] {
        std::istringstream pids(text_of(children));
        return std::distance(std::istream_iterator<std::string>(pids), {}) == 3;
    })) << text_of(children);
}

// A pager that is paused must stop neither the world nor its end.
TEST_F(MeshTest, AReaderThatDoesNotReadHoldsNothingUp) {
    ASSERT_EQ(mkfifo("screen", 0600), 0);
    const int unread = open("screen", O_RDWR);
    const Result result =
        run({"sh", "-c", kLab + " run villa --speed max --cycles 12 --log-level 7 >screen 2>/dev/null; echo ended $?"});
    EXPECT_EQ(result.output, "ended 0\n");
    close(unread);
}

TEST_F(MeshTest, AHostThatDiesIsToldAndMakesTheRunFail) {
    Lab lab({"home", "--still", "--speed", "max", "--cycles", "10"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    kill(host_of(lab, "attic"), SIGSEGV);
    EXPECT_EQ(lab.wait(), 1);
    EXPECT_THAT(lab.output(), testing::ContainsRegex("!! attic DIED with status [0-9]+; the last it said:\n"));
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
    EXPECT_EQ(json::parse(log)["ChangeLogNumberOfEntries"], 0);

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

// ---- orders ----

TEST_F(MeshTest, OrdersAnswerAsPeopleExpect) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    const struct {
        Words words;
        int status;
        const char *output;
    } cases[] = {
        {{"status"}, 0, "DEVICE           ROLE        STATE "},
        {{"stations"},
         0,
         "\nphone-anna           02:57:00:00:00:24  192.168.1.136    attic            rai0          -60     650\n"},
        {{"files", "attic"}, 0, "/devices/attic/tmp/qo1905.json\n"},
        {{"files", "cellar"}, 1, "qo1905-lab: there is no device \"cellar\"; there are: gateway, living-room, attic\n"},
        {{"send", "cellar", "{}"}, 1, "there is no device"},
        {{"send", "attic"}, 2, "JSON is required"},
        {{"send", "attic", "no JSON at all"}, 0, "delivered to attic, though it is no JSON\n"},
        {{"send", "attic", "\xff"}, 2, "words have to be UTF-8"},
        {{"role", "attic", "boss"}, 2, "boss not in {controller,agent}"},
        {{"role", "attic", "agent"}, 0, "attic is that already\n"},
        {{"wifi", "attic", "ra0", "off"},
         0,
         "attic switches ra0 off; its Controller, whose own ra0 is on, undoes that within a cycle: wifi gateway ra0 "
         "switches all\n"},
        {{"wifi", "attic", "ra9", "on"}, 1, "attic has no \"ra9\"; it has: ra0, rai0\n"},
        {{"wifi", "attic", "ra0", "maybe"}, 2, "maybe not in {on,off}"},
        {{"move", "02:57:00:00:00:99", "attic"}, 1, "there is no station"},
        {{"move", "phone-anna", "gateway"}, 0, "phone-anna is on gateway rai0\n"},
        {{"move", "02:57:00:00:00:24", "attic"}, 0, "phone-anna is on attic rai0\n"},
        {{"move", kTv, "cellar"}, 1, "there is no device"},
        {{"up", "attic"}, 0, "attic is up already\n"},
        {{"down", "attic"}, 0, "attic is down\n"},
        {{"down", "attic"}, 0, "attic is down already\n"},
        {{"restart-mapd", "attic"}, 1, "attic is down\n"},
        {{"frobnicate"}, 2, "Run with --help for more information.\n"},
        {{}, 2, "A subcommand is required\n"},
    };
    for (const auto &item : cases) {
        const Result result = lab.order(item.words);
        EXPECT_EQ(result.status, item.status) << result.output;
        EXPECT_THAT(result.output, HasSubstr(item.output));
    }
    for (const char *command : {"run", "generate", "status", "stations", "files", "send", "role", "down", "up",
                                "restart-mapd", "wifi", "move"}) {
        const Result help = run({kLab, command, "--help"});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_THAT(help.output, HasSubstr("Usage: ")) << command;
    }
}

TEST_F(MeshTest, AnOrderWithoutALabSaysHowToStartOne) {
    const Result result = run({kLab, "--lab", "/tmp/none", "status"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "qo1905-lab: /tmp/none: no lab answers there\n");
}

TEST_F(MeshTest, WrongArgumentsAndScenariosEndWithStatus2) {
    const struct {
        Words words;
        const char *output;
    } cases[] = {
        {{"nope"}, "qo1905-lab: nope: no such file, and no scenario of the lab's: home office villa\n"},
        {{"--cycles", "x"}, "--cycles"},
        {{"--speed", "0"}, "--speed"},
        {{"--speed", "nan"}, "--speed: must be max, or a number from 0.05 to 1000"},
        {{"--speed", "2x"}, "--speed"},
        {{"--cycles", "0"}, "--cycles: Value 0 not in range 1 to 2147483647"},
        {{"--log-level", "10"}, "--log-level"},
        {{"home", "villa"}, "villa"},
    };
    for (const auto &item : cases) {
        Words words = {kLab, "run"};
        words.insert(words.end(), item.words.begin(), item.words.end());
        const Result result = run(words);
        EXPECT_EQ(result.status, 2) << result.output;
        EXPECT_THAT(result.output, HasSubstr(item.output));
    }
    std::ofstream("scenario.json") << "{\"devices\": []}";
    EXPECT_EQ(run({kLab, "run", "scenario.json"}).output,
              "qo1905-lab: scenario.json: devices: must have 1 to 255 items\n");
}

// Two devices with all that a scenario allows at its least or at its most.
json corner_scenario(bool most, int drift) {
    const std::string text(127, 'w');
    json bss = json::array();
    for (int i = 0; i < 4; ++i) {
        bss.push_back({{"bssid", "02:c0:00:00:95:0" + std::to_string(i)}, {"use", i == 3 ? "backhaul" : "fronthaul"}});
    }
    const json gateway = {
        {"name", most ? std::string(32, 'g') : "g"},
        {"role", "controller"},
        {"al_mac", "02:c0:00:00:00:01"},
        {"firmware_version", most ? text : ""},
        {"host_name", most ? text : "h"},
        {"ip", most ? "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255" : "::"},
        {"radios",
         {{{"channel", most ? 196 : 36}, {"bss", bss}}, {{"channel", most ? 35 : 1}, {"bss", json::array()}}}}};
    json agent = {
        {"name", "agent"},
        {"role", "agent"},
        {"al_mac", "02:0a:00:00:00:01"},
        {"firmware_version", "1"},
        {"ip", "10.0.0.2"},
        {"radios", {{{"channel", 36}, {"bss", {{{"bssid", "02:0a:00:00:95:00"}}}}}}},
        {"backhaul",
         {{"to", gateway["name"]}, {"over", "5 GHz"}, {"signal", most ? -20 : -95}, {"rate", most ? 65535 : 1}}}};
    json stations = json::array();
    for (const char *device : {"agent", "gateway"}) {
        stations.push_back({{"mac", "02:57:00:00:00:0" + std::to_string(stations.size())},
                            {"device", device == std::string("agent") ? json(device) : gateway["name"]},
                            {"band", "5 GHz"},
                            {"signal", most ? -20 : -95},
                            {"rate", most ? 65535 : 1},
                            {"host_name", most ? text : "s"},
                            {"ip", "10.0.0.3"}});
    }
    return {
        {"seed", most ? 2147483647 : 0},
        {"pace", {{"roam", most ? 50 : 0}, {"leave", most ? 50 : 0}, {"come_back", most ? 100 : 0}, {"drift", drift}}},
        {"devices", {gateway, agent}},
        {"stations", stations}};
}

TEST_F(MeshTest, TheCornersOfEveryRangeOfAScenarioAreTakenByRealHosts) {
    for (const bool most : {false, true}) {
        for (const int drift : {0, 20}) {
            Lab lab({write_scenario(corner_scenario(most, drift)), "--speed", "max", "--cycles", "6", "--keep"});
            EXPECT_EQ(lab.wait(), 0) << lab.output();
            const std::string devices = lab.kept_folder() + "/devices/";
            for (const std::string &name : {std::string(most ? 32 : 1, 'g'), std::string("agent")}) {
                EXPECT_THAT(text_of(devices + name + "/host.log"), Not(HasSubstr("refused"))) << name;
                EXPECT_TRUE(json::accept(text_of(devices + name + "/tmp/qo1905.json"))) << name;
            }
            fs::remove_all(lab.kept_folder());
        }
    }
}

TEST_F(MeshTest, AGeneratedScenarioRuns) {
    const Result generated = run({kLab, "generate", "4", "30", "--shape", "chain", "--seed", "3"});
    ASSERT_EQ(generated.status, 0);
    std::ofstream("scenario.json") << generated.output;
    Lab lab({"./scenario.json", "--speed", "max", "--cycles", "3"});
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_THAT(lab.output(), HasSubstr("cycle    3  gateway       Controller  5 devices, 4 Agents, "));
}

TEST_F(MeshTest, AtLogLevel7TheModulesAreHeardAndAPipeGetsNoColour) {
    Lab lab({"home", "--speed", "max", "--cycles", "1", "--log-level", "7"});
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_THAT(
        lab.output(),
        HasSubstr("gateway | [qo1905] [checkUpdate1905Information:3152] ~~~~~~ Update 1905 information! ~~~~~~\n"));
    EXPECT_THAT(lab.output(), Not(HasSubstr("\033")));
}

// ---- nothing is left behind ----

TEST_F(MeshTest, CtrlCAtAnyMomentLeavesNothingBehind) {
    for (const int delay : {0, 3, 10, 30, 60, 100, 200, 400, 800, 1300}) {
        Lab lab({"home", "--speed", "max"});
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        kill(lab.pid(), SIGINT);
        std::this_thread::sleep_for(5ms);
        EXPECT_EQ(lab.end(SIGINT), 128 + SIGINT) << "an impatient second one changes nothing";
        expect_nothing_left(lab.folder());
    }
}

TEST_F(MeshTest, AReaderThatGoesEndsTheLab) {
    const Result result = run({"sh", "-c", kLab + " run --speed max | head -3"});
    const std::size_t at = result.output.find("/tmp/qo1905-lab.");
    ASSERT_NE(at, std::string::npos);
    const std::string folder = result.output.substr(at, 22);
    EXPECT_TRUE(wait_until([&] { return !fs::exists(folder); }));
    expect_nothing_left(folder);
}

TEST_F(MeshTest, ALabThatIsKilledTakesItsProcessesWithItAndTheNextTidiesUp) {
    std::string folder;
    {
        Lab lab({"home", "--speed", "max"});
        folder = lab.folder();
        ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["cycles"] >= 1; }));
        EXPECT_EQ(lab.end(SIGKILL), 128 + SIGKILL);
    }
    EXPECT_TRUE(wait_until([&] { return processes_of(folder).empty(); }));
    // Too young a folder may be a lab that is about to start.
    EXPECT_EQ(run({"touch", "-d", "1 minute ago", folder}).status, 0);
    Lab next({"home", "--speed", "max", "--cycles", "1"});
    EXPECT_EQ(next.wait(), 0);
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(MeshTest, WhatWasToBeKeptIsAlsoAfterAKill) {
    std::string folder;
    {
        Lab lab({"home", "--speed", "max", "--keep"});
        folder = lab.folder();
        ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["cycles"] >= 1; }));
        EXPECT_EQ(lab.end(SIGKILL), 128 + SIGKILL);
        EXPECT_EQ(run({"touch", "-d", "1 minute ago", folder}).status, 0);
        Lab next({"home", "--speed", "max", "--cycles", "1"});
        EXPECT_EQ(next.wait(), 0);
        EXPECT_THAT(next.output(), HasSubstr("== a lab that was killed has left " + lab.kept_folder() + ", as --keep"));
        EXPECT_TRUE(fs::exists(lab.kept_folder() + "/devices/gateway/tmp/qo1905.json"));
        fs::remove_all(lab.kept_folder());
    }
    EXPECT_FALSE(fs::exists(folder));
}

// ---- where scenarios come from and output goes ----

TEST_F(MeshTest, AScenarioComesFromAnyKindOfFile) {
    const std::string run_it = kLab + " run --speed max --cycles 1 ";
    const std::string generate = kLab + " generate 1 3";
    for (const std::string &command :
         {generate + " | " + run_it + "-", "mkfifo pipe; " + generate + " >pipe & " + run_it + "./pipe",
          run_it + "<(" + generate + ")"}) {
        const Result result = run({"bash", "-c", command});
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_THAT(result.output, HasSubstr(": 2 devices, 3 stations; ")) << command;
    }
}

TEST_F(MeshTest, AFileInTheWayOfANameIsMentioned) {
    std::ofstream("home") << "{}";
    Lab lab({"home", "--speed", "max", "--cycles", "1"});
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_THAT(lab.output(), StartsWith("== home is the lab's own; for the file of that name: ./home\n"));
    EXPECT_EQ(run({kLab, "run", "./home"}).output, "qo1905-lab: ./home: key \"devices\" is missing\n");
}

TEST_F(MeshTest, WhatCannotBeWrittenIsAnError) {
    const Lab lab({"home", "--still", "--speed", "max"});
    for (const std::string command : {"generate 2 10", "run --speed max --cycles 3", "--version"}) {
        const Result result = run({"sh", "-c", kLab + " " + command + " >/dev/full"});
        EXPECT_EQ(result.status, 2) << command;
        EXPECT_THAT(result.output, HasSubstr("qo1905-lab: ")) << command;
    }
    const Result status = run({"sh", "-c", kLab + " --lab " + lab.folder() + " status >/dev/full"});
    EXPECT_EQ(status.status, 2) << status.output;
}

TEST_F(MeshTest, AScenarioWhoseReportsGetLostIsToldWhenItIsMadeAndWhenItRuns) {
    const Result quiet = run({"sh", "-c", kLab + " generate 10 100 2>&1 >crowd.json"});
    EXPECT_EQ(quiet.output, "");
    const Result warned = run({"sh", "-c", kLab + " generate 2 120 2>&1 >crowd.json"});
    EXPECT_EQ(warned.status, 0);
    EXPECT_EQ(warned.output,
              "== of 2 Agents 2 will have a report longer than the 1000 bytes that the air carries, which gets lost: "
              "fewer stations for each show everything\n");
    Lab lab({"./crowd.json", "--speed", "max", "--cycles", "2"});
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_THAT(lab.output(),
                HasSubstr("== 2 devices with so many stations that their reports are longer than the 1000"));
}

TEST_F(MeshTest, TwoLabsRunAtOnce) {
    Lab one({"home", "--still", "--speed", "max"});
    Lab other({"home", "--still", "--speed", "max"});
    EXPECT_NE(one.folder(), other.folder());
    ASSERT_TRUE(
        wait_until([&] { return one.device("gateway")["rest"] != "" && other.device("gateway")["rest"] != ""; }));
    EXPECT_NE(one.device("gateway")["rest"], other.device("gateway")["rest"]);
    const Result ambiguous = run({kLab, "status"});
    EXPECT_EQ(ambiguous.status, 2);
    EXPECT_THAT(ambiguous.output,
                AllOf(HasSubstr("several labs are running"), HasSubstr(one.folder()), HasSubstr(other.folder())));
    EXPECT_EQ(one.order({"move", kTv, "attic"}).status, 0);
    ASSERT_TRUE(one.wait_for_cycles("gateway", 2));
    ASSERT_TRUE(other.wait_for_cycles("gateway", 2));
    EXPECT_EQ(stations_in(one.model("gateway"))[kTv].device, "02:0b:00:00:00:01");
    EXPECT_EQ(stations_in(other.model("gateway"))[kTv].device, "02:0a:00:00:00:01");
    EXPECT_EQ(one.end(SIGINT), 130);
    expect_nothing_left(one.folder());
    ASSERT_TRUE(other.wait_for_cycles("gateway", 2));
    EXPECT_EQ(other.end(SIGINT), 130);
    expect_nothing_left(other.folder());
}

TEST_F(MeshTest, AUserWhoIsNotRootRunsALab) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "all the other tests of this run are that user's";
    }
    const Words nobody = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    Words look = nobody;
    look.insert(look.end(), {kSandbox, "--probe"});
    if (run(look).status != 0) {
        GTEST_SKIP() << "that user cannot read " << QO1905_BINARY_DIR << ", or gets no namespaces";
    }
    fs::permissions(".", fs::perms::all);
    Lab lab({"home", "--speed", "max", "--cycles", "30"}, nobody);
    // Other tests of this user may have labs, too; a third user has none.
    const Result of_another = run({"setpriv", "--reuid=65533", "--clear-groups", kLab, "status"});
    EXPECT_EQ(of_another.status, 2);
    EXPECT_THAT(of_another.output,
                StartsWith("qo1905-lab: no lab is running; ./dev run starts one. Others have one: "));
    EXPECT_THAT(of_another.output, HasSubstr(lab.folder() + " (nobody)"));
    EXPECT_EQ(lab.wait(), 0) << lab.output();
    expect_nothing_left(lab.folder());
}

// ---- the office ----

struct Load {
    long heap = LONG_MAX, resident = 0;
    int descriptors = INT_MAX, threads = 0;
};

// How much each device takes at most in any of the coming cycles. Of heap and descriptors the least, which is what
// stays: at the end of a cycle the receiver thread may be in the middle of a message, and the client library's ping
// opens a descriptor for a moment.
std::map<std::string, Load> watch_load(const Lab &lab, unsigned until_cycle) {
    std::map<std::string, Load> loads;
    wait_until(
        [&] {
            const json data = lab.data();
            for (const json &device : data["devices"]) {
                Load &load = loads[device["name"]];
                const json &last = device["last_cycle"];
                load.heap = std::min<long>(load.heap, last["heap_bytes"]);
                load.resident = std::max<long>(load.resident, last["resident_kb"]);
                load.descriptors = std::min<int>(load.descriptors, last["descriptors"]);
                load.threads = std::max<int>(load.threads, last["threads"]);
            }
            return data["cycle"] >= until_cycle;
        },
        300s, 250ms);
    return loads;
}

TEST_F(MeshTest, TheOfficeNeitherDiesNorGrowsInTwoHundredCycles) {
    Lab lab({"office", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.data()["cycle"] >= 20; }, 120s));
    auto early = watch_load(lab, 80);
    auto late = watch_load(lab, 200);
    const json data = lab.data();
    unsigned long sent = 0, received = 0;
    std::map<std::string, unsigned long> lost;
    for (const json &device : data["devices"]) {
        const std::string name = device["name"];
        std::cout << name << ": heap " << early[name].heap << " -> " << late[name].heap << " bytes, resident "
                  << early[name].resident << " -> " << late[name].resident << " KiB, descriptors "
                  << early[name].descriptors << " -> " << late[name].descriptors << ", threads " << early[name].threads
                  << " -> " << late[name].threads << '\n';
        EXPECT_EQ(device["starts"], 1) << name;
        EXPECT_EQ(device["running"], true) << name;
        EXPECT_GE(device["cycles"], 150) << name;
        // The stations come and go, so what one table takes differs from cycle to cycle; nothing may add up.
        EXPECT_LE(late[name].heap, early[name].heap + 65536) << name;
        EXPECT_LE(late[name].resident, early[name].resident + 1024) << name;
        EXPECT_LE(late[name].descriptors, early[name].descriptors) << name;
        EXPECT_LE(late[name].threads, early[name].threads) << name;
        EXPECT_TRUE(wait_until([&] { return json::accept(lab.file(name, "tmp/dump.txt")); })) << name;
        sent += device["sent"].get<unsigned long>();
        received += device["received"].get<unsigned long>();
        for (const auto &[reason, count] : device["lost"].items()) {
            lost[reason] += count.get<unsigned long>();
        }
    }
    std::cout << "messages: " << sent << " sent, " << received << " received, lost " << lost["too long"]
              << " too long\n";
    EXPECT_EQ(lost["to unknown devices"] + lost["out of reach"], 0U);
    EXPECT_EQ(lost["without a listener"], 0U);
    EXPECT_EQ(sent, received + lost["too long"]);
    EXPECT_EQ(lab.end(SIGINT), 130);
    EXPECT_THAT(lab.output(),
                AllOf(Not(HasSubstr("DIED")), Not(HasSubstr("does not parse")), Not(HasSubstr("no files"))));
}

}  // namespace
