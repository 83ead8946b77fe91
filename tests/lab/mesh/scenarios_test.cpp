// Where scenarios come from, what they may say, and where the output goes.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/lab/mesh/mesh_fixture.h"

using namespace lab_test;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

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

}  // namespace
