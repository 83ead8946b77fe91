// What a scenario file may say, and how mistakes in it are told.
#include "lab/world/scenario.h"

#include <gmock/gmock.h>

#include "lab/common/error.h"
#include "tests/lab/world/scenarios.h"

using lab::Scenario;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string mistake_in(const std::string &text) {
    try {
        scenario_from(text);
    } catch (const lab::Error &error) {
        return error.what();
    }
    return "none";
}

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
        {R"({"seed": 1e400, "devices": []})", "scenario.json: no JSON: number overflow parsing '1e400'"},
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
        {with_devices(", {" + kAgent + R"(, "lease_ip": "999.1.2.3"})"),
         "devices[1].lease_ip: must be an IP address such as \"192.168.1.20\""},
        {with_devices(", {" + kAgent + R"(, "ip": "10.0.0.2"})"), "key \"ip\" is there twice"},
        {with_devices(R"(, {"name": "b", "role": "agent", "al_mac": "ff:ff:ff:ff:ff:ff"})"),
         "devices[1].al_mac: ff:ff:ff:ff:ff:ff is no device's MAC"},
        {with_station(R"({"mac": "00:00:00:00:00:00"})"), "stations[0].mac: 00:00:00:00:00:00 is no device's MAC"},
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
             R"({"mac": "02:57:00:00:00:01", "device": "a", "band": "5 GHz", "signal": -50, "rate": 9, "ip": "::1", "host_name": ""})"),
         "stations[0].host_name: must be a word without blanks"},
    };
    for (const auto &mistake : mistakes) {
        const std::string told = mistake_in(mistake.text);
        EXPECT_THAT(told, StartsWith("scenario.json: ")) << mistake.text;
        EXPECT_THAT(told, HasSubstr(mistake.message)) << mistake.text;
        EXPECT_EQ(told.find('\n'), std::string::npos) << told;
    }
    EXPECT_EQ(mistake_in(with_devices("")), "none");
    EXPECT_THROW(lab::JsonValue::read_file("/tmp"), lab::Error);
}

TEST(Scenario, WhatIsPrintedReadsBackAsTheSame) {
    for (const char *name : {"home", "villa", "office"}) {
        const Scenario scenario = own_scenario(name);
        EXPECT_EQ(scenario_from(scenario.text()).text(), scenario.text()) << name;
    }
}

TEST(Scenario, TheLabsOwnAreAsLargeAsTheyAreSaidToBe) {
    const auto size = [](const std::string &name) {
        const Scenario scenario = own_scenario(name);
        return std::pair(scenario.devices.size(), scenario.stations.size());
    };
    EXPECT_EQ(size("home"), std::pair(std::size_t{3}, std::size_t{12}));
    EXPECT_EQ(size("villa"), std::pair(std::size_t{8}, std::size_t{60}));
    EXPECT_EQ(size("office"), std::pair(std::size_t{17}, std::size_t{400}));
}

}  // namespace
