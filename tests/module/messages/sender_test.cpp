// What a device sends in a cycle: an Agent's report, the Controller's enable messages.
#include <json-c/json.h>

#include <cstdlib>

#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const char kHead[] =
    R"({ \"SrcAlMac\": \"02:0a:00:00:00:01\", \"FWVersion\": \"1.0\", \"HostName\": \"agent\", \"DeviceIP\": \"192.168.1.20\", \"STAInfo\": [)";

std::string send_command(const std::string &destination, const std::string &payload) {
    return "mapd_cli /tmp/mapd_ctrl tx_higher_layer_data \"" + destination + "\" 1 " + std::to_string(payload.size()) +
           " \"" + payload + "\"";
}

// The words of a command as a shell hands them to its program.
std::vector<std::string> shell_words(const std::string &command) {
    setenv("QO1905_TEST_COMMAND", ("printf '%s\\0' " + command).c_str(), 1);
    fake::host.real_shell = true;
    FILE *pipe = popen("sh -c \"$QO1905_TEST_COMMAND\"", "r");
    std::vector<std::string> words(1);
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        if (c == '\0') {
            words.emplace_back();
        } else {
            words.back() += static_cast<char>(c);
        }
    }
    pclose(pipe);
    fake::host.real_shell = false;
    words.pop_back();
    return words;
}

class AgentTest : public ModuleTest {
protected:
    AgentTest() { fake::host.role = "2"; }

    std::string sent() {
        EXPECT_EQ(module_.highLayerDataSend(), 1);
        const auto commands = fake::commands();
        return commands.empty() ? "" : commands.back();
    }
};

TEST_F(AgentTest, WithoutStationsTheReportEndsInAnEmptyArray) {
    EXPECT_EQ(sent(), send_command("02:c0:00:00:00:01", std::string(kHead) + "]}"));
}

TEST_F(AgentTest, AMeshAgentIsNoStationOfTheReport) {
    put_dump(R"({"AL MAC": "02:0b:00:00:00:01", "Device role": "02"})");
    module_.initALTable();
    fake::host.stations["ra0"] = {{"02:57:00:00:00:0a", 72, {}},
                                  {"02:0b:00:00:00:0c", 866, "02:0b:00:00:00:01"},
                                  {"02:57:00:00:00:0b", 65, "02:0c:00:00:00:01"}};
    // The third is an interface of a mesh device, but of none that the dump calls an Agent.
    EXPECT_EQ(sent(), send_command("02:c0:00:00:00:01", std::string(kHead) +
                                                            R"({ \"STAMac\": \"2:57:0:0:0:a\", \"PhyRate\": 72}, )" +
                                                            R"({ \"STAMac\": \"2:57:0:0:0:b\", \"PhyRate\": 65}]})"));
}

TEST_F(AgentTest, AStationIsNotLeftOutForItsOwnMac) {
    put_dump(R"({"AL MAC": "02:0b:00:00:00:01", "Device role": "02"})");
    module_.initALTable();
    fake::host.stations["ra0"] = {{"02:0b:00:00:00:01", 72, {}}};
    EXPECT_THAT(sent(), HasSubstr("2:b:0:0:0:1"));
}

TEST_F(AgentTest, StationsOfAllEightInterfacesAreAskedInOrder) {
    fake::host.stations["ra3"] = {{"02:57:00:00:00:03", 3, {}}};
    fake::host.stations["rai0"] = {{"02:57:00:00:00:04", 4, {}}, {"02:57:00:00:00:05", 65541, {}}};
    fake::host.stations["rai4"] = {{"02:57:00:00:00:06", 6, {}}};
    EXPECT_THAT(
        sent(),
        EndsWith(
            R"([{ \"STAMac\": \"2:57:0:0:0:3\", \"PhyRate\": 3}, { \"STAMac\": \"2:57:0:0:0:4\", \"PhyRate\": 4}, )"
            R"({ \"STAMac\": \"2:57:0:0:0:5\", \"PhyRate\": 5}]}")"));
    std::vector<std::string> asked;
    for (const std::string &call : fake::calls()) {
        if (call.rfind("StaInfo ra", 0) == 0) {
            asked.push_back(call.substr(8));
        }
    }
    EXPECT_THAT(asked, ElementsAre("ra0 1", "ra1 1", "ra2 1", "ra3 1", "ra3 2", "rai0 1", "rai0 2", "rai0 3", "rai1 1",
                                   "rai2 1", "rai3 1"));
}

TEST_F(AgentTest, AStationQueryOrASubInterfaceAnswersYesWithOneOnly) {
    fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 72, "02:0b:00:00:00:01"}};
    put_dump(R"({"AL MAC": "02:0b:00:00:00:01", "Device role": "02"})");
    module_.initALTable();
    EXPECT_THAT(sent(), Not(HasSubstr("STAMac")));
    EXPECT_EQ(fake::count("lanmon_db_is_subIntf 65"), 1);
    fake::host.sub_interface_result = 2;
    EXPECT_THAT(sent(), HasSubstr("2:57:0:0:0:1"));
    fake::host.station_result = 2;
    EXPECT_THAT(sent(), Not(HasSubstr("STAMac")));
}

// After a station that is listed, not after one that is left out.
TEST_F(AgentTest, TheQueryRecordIsClearedBehindAListedStation) {
    put_dump(R"({"AL MAC": "02:0b:00:00:00:01", "Device role": "02"})");
    module_.initALTable();
    fake::host.stations["ra0"] = {
        {"02:57:00:00:00:01", 1, {}}, {"", 0, {}}, {"02:0b:00:00:00:0c", 2, "02:0b:00:00:00:01"}, {"", 0, {}}};
    sent();
    std::vector<std::string> found;
    for (const std::string &call : fake::calls()) {
        if (call.rfind("StaInfo finds", 0) == 0) {
            found.push_back(call.substr(13));
        }
    }
    EXPECT_THAT(found, ElementsAre(" ", " ", " ", " 02:0b:00:00:00:0c"));
}

TEST_F(AgentTest, StationsOfEveryAgentOfTheLastDumpAreLeftOut) {
    const auto station_of = [&](const char *al_mac) {
        fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 72, al_mac}};
        return sent();
    };
    build(
        R"({"AL MAC": "02:0b:00:00:00:01", "Device role": "02"}, {"AL MAC": "02:0c:00:00:00:01", "Device role": "02"})");
    EXPECT_THAT(station_of("02:0c:00:00:00:01"), Not(HasSubstr("STAMac")));
    build(R"({"AL MAC": "02:0c:00:00:00:01", "Device role": "02"})");
    EXPECT_THAT(station_of("02:0c:00:00:00:01"), Not(HasSubstr("STAMac")));
    EXPECT_THAT(station_of("02:0b:00:00:00:01"), HasSubstr("STAMac"));
}

TEST_F(AgentTest, ValuesAreAskedInOrderAndTheFirstThatFailsEndsTheSending) {
    struct Case {
        fake::Text fake::Host::*source;
        const char *message;
        std::size_t asked;
    };
    const char *kSources[] = {"getControllerMac 32", "getFWVersion 128", "getHostName 128", "getDeviceIP 128",
                              "qoUtilIGetBaseMACwithColon 32"};
    for (const Case &failing :
         {Case{&fake::Host::controller_mac, "highLayerDataSend: getControllerMac fail !!\n", 1},
          Case{&fake::Host::firmware_version, "highLayerDataSend: getFWVersion fail !!\n", 2},
          Case{&fake::Host::host_name, "highLayerDataSend: gethostName fail !!\n", 3},
          Case{&fake::Host::address, "highLayerDataSend: getDeviceIP fail !!\n", 4},
          Case{&fake::Host::base_mac, "highLayerDataSend: qoUtilIGetBaseMACwithColon fail !!, sourceAlMac = \n", 5}}) {
        fake::reset();
        fake::host.role = "2";
        fake::host.*failing.source = std::nullopt;
        int32_t result = 0;
        EXPECT_EQ(printed_by([&] { result = module_.highLayerDataSend(); }), failing.message);
        EXPECT_EQ(result, -1);
        EXPECT_THAT(fake::commands(), IsEmpty());
        for (std::size_t i = 0; i < std::size(kSources); ++i) {
            EXPECT_EQ(fake::count(kSources[i]), i < failing.asked ? 1 : 0) << kSources[i];
        }
    }
}

TEST_F(AgentTest, WhatTheShellHandsOverIsExactlyTheValues) {
    const std::string nasty = "a\"b\\c$HOME`id`$(id)'!\x01\t\n\xc3\xa9;&|<>*~#";
    fake::host.firmware_version = nasty;
    fake::host.host_name = "\\\\\"\"";
    fake::host.address = "";
    fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 72, {}}};
    const auto words = shell_words(sent());
    ASSERT_EQ(words.size(), 7U);
    EXPECT_EQ(words[3], "02:c0:00:00:00:01");
    const Json report = parse_json(words[6]);
    EXPECT_EQ(std::string(json_object_get_string(json_object_object_get(report.get(), "FWVersion"))), nasty);
    EXPECT_EQ(std::string(json_object_get_string(json_object_object_get(report.get(), "HostName"))), "\\\\\"\"");
    EXPECT_EQ(std::string(json_object_get_string(json_object_object_get(report.get(), "DeviceIP"))), "");
    EXPECT_EQ(json_object_array_length(json_object_object_get(report.get(), "STAInfo")), 1U);
}

TEST_F(AgentTest, BytesThatAreNoUtf8BecomeTheReplacementCharacter) {
    fake::host.firmware_version = "v\xff\xc3(\xed\xa0\x80\xf5";
    const Json report = parse_json(shell_words(sent()).at(6));
    EXPECT_EQ(std::string(json_object_get_string(json_object_object_get(report.get(), "FWVersion"))),
              "v\xEF\xBF\xBD\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST_F(AgentTest, StationsThatDoNotFitAreLeftOutWhole) {
    for (int i = 0; i < 200; ++i) {
        fake::host.stations["rai0"].push_back({"02:57:00:00:00:" + std::to_string(10 + i % 80), 866, {}});
    }
    const std::string command = sent();
    EXPECT_LE(command.size(), 4095U);
    const Json report = parse_json(shell_words(command).at(6));
    const std::size_t listed = json_object_array_length(json_object_object_get(report.get(), "STAInfo"));
    EXPECT_GT(listed, 50U);
    EXPECT_LT(listed, 200U);
    // One station more would not have fitted: an element takes 56 bytes at most.
    EXPECT_GT(command.size() + 58, 4095U);
}

TEST_F(AgentTest, ValuesOfTheLongestAndWorstKindStillMakeAWholeReport) {
    fake::host.firmware_version = std::string(127, '\x01');
    fake::host.host_name = std::string(127, '\x02');
    fake::host.address = std::string(127, '\x03');
    fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 72, {}}};
    const Json report = parse_json(shell_words(sent()).at(6));
    EXPECT_EQ(std::string(json_object_get_string(json_object_object_get(report.get(), "DeviceIP"))),
              std::string(127, '\x03'));
}

TEST_F(AgentTest, AMacThatIsNotPlainTextIsNotSentTo) {
    const char kRefused[] = "highLayerDataSend: message not sent, a MAC is not plain text\n";
    for (fake::Text fake::Host::*source : {&fake::Host::controller_mac, &fake::Host::base_mac}) {
        for (const char *mac : {"$(reboot)", "\"; reboot; \"", "a\nb", "-x", "`id`"}) {
            fake::reset();
            fake::host.role = "2";
            fake::host.*source = mac;
            EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.highLayerDataSend(), 1); }), kRefused) << mac;
            EXPECT_THAT(fake::commands(), IsEmpty()) << mac;
        }
    }
}

TEST_F(AgentTest, ARoleThatWasNotReadOrIsAnotherDoesNothing) {
    fake::host.role_result = 0;
    EXPECT_EQ(module_.highLayerDataSend(), 0);
    fake::host.role_result = -3;
    EXPECT_EQ(module_.highLayerDataSend(), -3);
    fake::host.role_result = 1;
    fake::host.role = "22";
    EXPECT_EQ(module_.highLayerDataSend(), 1);
    EXPECT_THAT(fake::commands(), IsEmpty());
    EXPECT_EQ(fake::count("popen cat /var/run/rest_api_server.pid"), 0);
}

class ControllerTest : public ModuleTest {
protected:
    ControllerTest() {
        fake::host.role = "1";
        fake::host.base_mac = "02:c0:00:00:00:01";
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Up", 1, 1}, {"rai0", "02:00:00:00:00:12", "Down", 5, 0}};
        fake::host.known_devices = {"02:0a:00:00:00:01", "02:0b:00:00:00:01"};
        fake::host.pipes["ps | grep ohttpd_rest | grep -v \"grep\""] = "7 ohttpd_rest\n";
    }
};

std::string enable_message(const std::string &interface, const std::string &enable) {
    return R"({ \"SrcAlMac\": \"02:c0:00:00:00:01\", \"Interface\": \")" + interface + R"(\", \"Enable\": \")" +
           enable + R"(\"})";
}

TEST_F(ControllerTest, SendsTheStateOfEveryInterfaceToEveryKnownDevice) {
    EXPECT_EQ(module_.highLayerDataSend(), 1);
    EXPECT_THAT(fake::commands(), ElementsAre(send_command("02:0a:00:00:00:01", enable_message("ra0", "true")),
                                              send_command("02:0b:00:00:00:01", enable_message("ra0", "true")),
                                              send_command("02:0a:00:00:00:01", enable_message("rai0", "false")),
                                              send_command("02:0b:00:00:00:01", enable_message("rai0", "false"))));
}

TEST_F(ControllerTest, WithoutKnownDevicesNoMessageIsSent) {
    fake::host.known_devices.clear();
    EXPECT_EQ(module_.highLayerDataSend(), 1);
    EXPECT_THAT(fake::commands(), IsEmpty());
}

TEST_F(ControllerTest, OnlyTheFlagOneIsEnabled) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Up", 1, 2}};
    fake::host.known_devices = {"02:0a:00:00:00:01"};
    module_.highLayerDataSend();
    EXPECT_THAT(fake::commands(), ElementsAre(HasSubstr(R"(\"Enable\": \"false\")")));
}

TEST_F(ControllerTest, WithoutABaseMacNothingIsSent) {
    fake::host.base_mac.reset();
    int32_t result = 0;
    EXPECT_EQ(printed_by([&] { result = module_.highLayerDataSend(); }),
              "highLayerDataSend: qoUtilIGetBaseMACwithColon fail !!, sourceAlMac = \n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(fake::count("lanmon_db_L2Device_get"), 0);
}

TEST_F(ControllerTest, InterfaceNamesReachTheDeviceAsTheyAre) {
    fake::host.ssids = {{"a\"$(id)`\\", "02:00:00:00:00:11", "Up", 1, 1}};
    fake::host.known_devices = {"02:0a:00:00:00:01"};
    module_.highLayerDataSend();
    const Json message = parse_json(shell_words(fake::commands().at(0)).at(6));
    EXPECT_EQ(std::string(json_object_get_string(json_object_object_get(message.get(), "Interface"))), "a\"$(id)`\\");
}

TEST_F(ControllerTest, AKnownDeviceWithAHostileMacIsLeftOut) {
    fake::host.known_devices = {"\";reboot;\"", "02:0b:00:00:00:01"};
    fake::host.ssids.resize(1);
    const std::string printed = printed_by([&] { module_.highLayerDataSend(); });
    EXPECT_THAT(printed, HasSubstr("not sent"));
    EXPECT_THAT(fake::commands(),
                ElementsAre(StartsWith("mapd_cli /tmp/mapd_ctrl tx_higher_layer_data \"02:0b:00:00:00:01\" 1 ")));
}

TEST_F(ControllerTest, TheSendCommandIsNotTracedOnThisPath) {
    log_level = 7;
    EXPECT_THAT(printed_by([&] { module_.highLayerDataSend(); }), Not(HasSubstr("send cmd")));
}

}  // namespace
