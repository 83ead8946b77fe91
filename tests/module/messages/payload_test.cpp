// The payload handler. What it stores shows in the next build; what it runs is in the record.
#include <algorithm>

#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

const char kAgent[] = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})";
const char kNoSender[] = "higherLayerDataRcvHandle: Error, SrcAlMac == NULL !!\n";

class PayloadTest : public ModuleTest {
protected:
    PayloadTest() {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Up", 1, 1, "02:00:00:00:06:00"},
                            {"rai0", "02:00:00:00:00:12", "Up", 5, 0, "02:00:00:00:95:00"},
                            {"ra10", "02:00:00:00:00:13", "Up", 9, 1, ""}};
    }

    // What an Agent runs and switches for a payload.
    std::vector<std::string> executed(const std::string &payload) {
        fake::host.role = "2";
        const std::size_t before = fake::calls().size();
        EXPECT_EQ(receive(payload), 0);
        auto calls = fake::calls();
        calls.erase(calls.begin(), calls.begin() + static_cast<long>(before));
        calls.erase(std::remove(calls.begin(), calls.end(), "EasyMeshGetDeviceRole 8"), calls.end());
        return calls;
    }

    // The level-7 trace of storing a payload on the Controller.
    std::string stored(const std::string &payload) {
        fake::host.role = "1";
        log_level = 7;
        std::string printed = printed_by([&] { EXPECT_EQ(receive(payload), 0); });
        log_level = 0;
        return printed;
    }
};

// ---- reboot ----

TEST_F(PayloadTest, RebootIsHonouredInEveryRoleAndWithoutAnythingElse) {
    for (const char *role : {"1", "2", "3", ""}) {
        fake::reset();
        fake::host.role = role;
        EXPECT_EQ(printed_by([] { EXPECT_EQ(receive(R"({"Reboot": 1})"), 0); }),
                  std::string(kNoSender) + "higherLayerDataRcvHandle: device to reboot !!\n");
        EXPECT_THAT(fake::calls(), ElementsAre("system reboot"));
    }
}

TEST_F(PayloadTest, OnlyTheIntegerOneReboots) {
    struct Case {
        const char *value;
        bool reboots;
    };
    for (const Case &order :
         {Case{"1", true}, Case{"\"1\"", true}, Case{"1.9", true}, Case{"true", true}, Case{"2", false},
          Case{"0", false}, Case{"-1", false}, Case{"\"one\"", false}, Case{"null", false}, Case{"4294967297", false},
          Case{"false", false}, Case{"[1]", false}, Case{"{\"a\":1}", false}}) {
        fake::reset();
        fake::host.role = "3";
        receive("{\"SrcAlMac\": \"2:0:0:0:0:1\", \"Reboot\": " + std::string(order.value) + "}");
        EXPECT_EQ(fake::count("system reboot"), order.reboots ? 1 : 0) << order.value;
    }
}

TEST_F(PayloadTest, RebootsBeforeItSaysSo) {
    fake::host.role = "3";
    fake::host.on_command = [] { std::printf("(rebooting)\n"); };
    EXPECT_EQ(printed_by([] { receive(R"({"SrcAlMac": "x", "Reboot": 1})"); }),
              "(rebooting)\nhigherLayerDataRcvHandle: device to reboot !!\n");
}

// ---- commands to an Agent ----

TEST_F(PayloadTest, EnableIsComparedWithItsCapitalsAndOnlyItsFirstFiveCharacters) {
    struct Case {
        const char *value;
        bool enables;
    };
    for (const Case &enable : {Case{"\"False\"", true}, Case{"\"false\"", false}, Case{"\"falsehood\"", false},
                               Case{"\"fals\"", true}, Case{"\"true\"", true}, Case{"\"\"", true}, Case{"false", false},
                               Case{"true", true}, Case{"0", true}, Case{"null", true}}) {
        fake::host.ssids[0].enable = enable.enables ? 0 : 1;
        EXPECT_THAT(
            executed("{\"SrcAlMac\": \"x\", \"Interface\": \"ra0\", \"Enable\": " + std::string(enable.value) + "}"),
            ElementsAre(std::string("configWlanEnable 1 ") + (enable.enables ? "1" : "0") +
                        " /etc/wireless/mt7603/mt7603.dat ra"))
            << enable.value;
    }
}

TEST_F(PayloadTest, AFilterListWithBothSeparatorsRunsTwoBlockCommandsWithColons) {
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "ra0", "Enable": "true", "FilterMode": 0,
                             "FilterLists": "02-57-00-00-00-01,02:57:00:00:00:02"})"),
                ElementsAre("system mapd_cli /tmp/mapd_ctrl block_acl 2 1 02:57:00:00:00:01 02:00:00:00:06:00",
                            "system mapd_cli /tmp/mapd_ctrl block_acl 2 1 02:57:00:00:00:02 02:00:00:00:06:00"));
}

TEST_F(PayloadTest, FilterMode2RunsNothingAndTheEnableChangeHappens) {
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "rai0", "Enable": "true", "FilterMode": 2,
                             "FilterLists": "02:57:00:00:00:01"})"),
                ElementsAre("configWlanEnable 5 1 /etc/wireless/mt7615/mt7615.2.dat rai"));
}

TEST_F(PayloadTest, FilterMode1TakesStationsOutOfTheList) {
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "rai0", "Enable": "false", "FilterMode": 1,
                             "FilterLists": ",,02-57-00-00-00-01,,02:57:00:00:00:02,"})"),
                ElementsAre("system mapd_cli /tmp/mapd_ctrl block_acl 2 0 0 02:57:00:00:00:01 02:00:00:00:95:00",
                            "system mapd_cli /tmp/mapd_ctrl block_acl 2 0 0 02:57:00:00:00:02 02:00:00:00:95:00"));
}

TEST_F(PayloadTest, AMissingFilterModeAdds) {
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "ra10", "FilterLists": "aa"})"),
                ElementsAre("system mapd_cli /tmp/mapd_ctrl block_acl 2 1 aa "));
}

TEST_F(PayloadTest, BlockCommandsAreAsLongAsTheirBuffer) {
    EXPECT_THAT(
        executed(R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": ")" + std::string(300, 'a') + ",bb\"}"),
        ElementsAre("system mapd_cli /tmp/mapd_ctrl block_acl 2 1 " + std::string(127 - 38, 'a'),
                    "system mapd_cli /tmp/mapd_ctrl block_acl 2 1 bb 02:00:00:00:06:00"));
}

TEST_F(PayloadTest, ATokenThatIsNotPlainTextIsRefusedAndTheRestOfTheListIsHandled) {
    fake::host.role = "2";
    for (const char *token : {";reboot", "$(reboot)", "`reboot`", "a&&b", "a|b", "a>b", "*", "~", "a'b", "a\\\"b",
                              "a\\nreboot", "a\\\\b", "\\u00e9", "a b#c", "(a)", "a\\rb"}) {
        fake::reset();
        fake::host.role = "2";
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Up", 1, 1, "02:00:00:00:06:00"}};
        const std::string payload =
            R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": ")" + std::string(token) + ",bb\"}";
        EXPECT_EQ(printed_by([&] { receive(payload); }),
                  "higherLayerDataRcvHandle: block_acl not run, station or interface is not plain text\n")
            << token;
        EXPECT_THAT(fake::commands(), ElementsAre("mapd_cli /tmp/mapd_ctrl block_acl 2 1 bb 02:00:00:00:06:00"))
            << token;
    }
}

TEST_F(PayloadTest, AnInterfaceTextThatIsNotPlainIsRefused) {
    fake::host.ssids[0].bssid = "$(reboot)";
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": "aa"})"), IsEmpty());
    fake::host.ssids[0].bssid = "-x";
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": "aa"})"), IsEmpty());
}

TEST_F(PayloadTest, TheInstanceDecidesWhichSettingsBelongToTheInterface) {
    struct Case {
        int instance;
        const char *settings;
    };
    for (const Case &wlan :
         {Case{1, "/etc/wireless/mt7603/mt7603.dat ra"}, Case{4, "/etc/wireless/mt7603/mt7603.dat ra"},
          Case{5, "/etc/wireless/mt7615/mt7615.2.dat rai"}, Case{8, "/etc/wireless/mt7615/mt7615.2.dat rai"},
          Case{0, ""}, Case{9, ""}, Case{255, ""}}) {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Up", wlan.instance, 1}};
        const auto calls = executed(R"({"SrcAlMac": "x", "Interface": "ra0", "Enable": "false"})");
        if (*wlan.settings == '\0') {
            EXPECT_THAT(calls, IsEmpty()) << wlan.instance;
        } else {
            EXPECT_THAT(calls,
                        ElementsAre("configWlanEnable " + std::to_string(wlan.instance) + " 0 " + wlan.settings));
        }
    }
}

TEST_F(PayloadTest, AnEnableFlagThatIsAlreadyRightIsLeftAlone) {
    struct Case {
        int current;
        const char *requested;
        bool changes;
    };
    for (const Case &flag :
         {Case{1, "true", false}, Case{0, "false", false}, Case{2, "true", true}, Case{2, "false", true},
          Case{-1, "true", true}, Case{0, "true", true}, Case{1, "false", true}}) {
        fake::host.ssids[0].enable = flag.current;
        EXPECT_EQ(executed(std::string(R"({"SrcAlMac": "x", "Interface": "ra0", "Enable": ")") + flag.requested + "\"}")
                      .size(),
                  flag.changes ? 1U : 0U)
            << flag.current << flag.requested;
    }
}

TEST_F(PayloadTest, APayloadNameMayBeginWithTheObjectsName) {
    fake::host.ssids[0].enable = 0;
    fake::host.ssids[2].enable = 0;
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "ra0.1"})"), ElementsAre(HasSubstr("configWlanEnable 1 1")));
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "ra"})"), IsEmpty());
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "eth0"})"), IsEmpty());
    // An object without a name matches every payload; the first in walk order wins.
    fake::host.ssids.insert(fake::host.ssids.begin(), {"", "02:00:00:00:00:14", "Up", 2, 0});
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "eth0"})"), ElementsAre(HasSubstr("configWlanEnable 2 1")));
}

TEST_F(PayloadTest, WithoutAnInterfaceAnAgentDoesNothing) {
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Enable": "false", "FilterLists": "aa"})"), IsEmpty());
    EXPECT_THAT(executed("no json"), IsEmpty());
    EXPECT_THAT(executed("[1, 2]"), IsEmpty());
}

TEST_F(PayloadTest, TracesOfACommandAtLevel7) {
    fake::host.role = "2";
    fake::host.ssids[0].name = "ra0";
    log_level = 7;
    EXPECT_EQ(printed_by(
                  [] { receive(R"({"SrcAlMac": "x", "Interface": "ra0x", "Enable": "false", "FilterLists": "aa"})"); }),
              "Enter higherLayerDataRcvHandle\n"
              "higherLayerDataRcvHandle: device_role = 2\n"
              "higherLayerDataRcvHandle: Disable ra0\n"
              "higherLayerDataRcvHandle: exec cmd = mapd_cli /tmp/mapd_ctrl block_acl 2 1 aa 02:00:00:00:06:00\n");
    EXPECT_EQ(printed_by([] { receive(R"({"SrcAlMac": "x", "Interface": "rai0"})"); }),
              "Enter higherLayerDataRcvHandle\n"
              "higherLayerDataRcvHandle: device_role = 2\n"
              "higherLayerDataRcvHandle: Enable rai0\n");
}

// ---- reports to the Controller ----

TEST_F(PayloadTest, TracesOfAStoredReportAtLevel7) {
    EXPECT_EQ(stored(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": "1.2", "HostName": "attic", "DeviceIP": "10.0.0.2",
                         "STAInfo": [{"STAMac": "2:57:0:0:0:1", "PhyRate": 866}, {"STAMac": "2:57:0:0:0:2", "PhyRate": 70000}]})"),
              "Enter higherLayerDataRcvHandle\n"
              "higherLayerDataRcvHandle: device_role = 1\n"
              "higherLayerDataRcvHandle: High layer table was cleared due to Main table already update!\n"
              "higherLayerDataRcvHandle: This is number 1 struct:\n"
              "higherLayerDataRcvHandle: agentAlMac = 02:0a:00:00:00:01\n"
              "higherLayerDataRcvHandle: enableReboot= 1\n"
              "higherLayerDataRcvHandle: enableIntfPwrCtrl= 1\n"
              "higherLayerDataRcvHandle: AP_autoconfig= 1\n"
              "higherLayerDataRcvHandle: firmwareversion= 1.2\n"
              "higherLayerDataRcvHandle: hostname= attic\n"
              "higherLayerDataRcvHandle: deviceIP= 10.0.0.2\n"
              "higherLayerDataRcvHandle: client info 02:57:00:00:00:01, phyRate = 866\n"
              "higherLayerDataRcvHandle: client info 02:57:00:00:00:02, phyRate = 4464\n");
}

TEST_F(PayloadTest, AStationWithoutARateOrAMacIsNotStored) {
    const std::string printed =
        stored(R"({"SrcAlMac": "2:a:0:0:0:1", "STAInfo": [{"STAMac": "2:57:0:0:0:1", "PhyRate": 0},
        {"PhyRate": 5}, {"STAMac": null, "PhyRate": 5}, {"STAMac": "2:57:0:0:0:2"}, null, 7,
        {"STAMac": "2:57:0:0:0:3", "PhyRate": "6"}]})");
    // The number is looked at before it is cut to 16 bits.
    EXPECT_THAT(stored(R"({"SrcAlMac": "2:a:0:0:0:1", "STAInfo": [{"STAMac": "2:57:0:0:0:9", "PhyRate": 65536}]})"),
                HasSubstr("client info 02:57:00:00:00:09, phyRate = 0\n"));
    EXPECT_THAT(printed, HasSubstr("client info 02:57:00:00:00:03, phyRate = 6\n"));
    EXPECT_EQ(printed.find("client info"), printed.rfind("client info"));
}

TEST_F(PayloadTest, AReportWithoutASenderIsStoredUnderAZeroMac) {
    const std::string printed = stored(R"({"FWVersion": "1.2"})");
    EXPECT_THAT(printed, HasSubstr(kNoSender));
    EXPECT_THAT(printed, HasSubstr("agentAlMac = 00:00:00:00:00:00\n"));
    EXPECT_STREQ(build(R"({"AL MAC": "", "Device role": "02"})")[0]->Info.FirmwareVersion, "1.2");
}

TEST_F(PayloadTest, TwoReportsOfOneAgentGiveTwoEntries) {
    stored(R"({"SrcAlMac": "2:a:0:0:0:1", "STAInfo": [{"STAMac": "2:57:0:0:0:1", "PhyRate": 11}]})");
    EXPECT_THAT(stored(R"({"SrcAlMac": "2:a:0:0:0:1", "STAInfo": [{"STAMac": "2:57:0:0:0:2", "PhyRate": 12}]})"),
                Not(HasSubstr("High layer table was cleared")));
    // Both are there: each knows another station.
    const auto devices =
        build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02", "Number of radios": 1, "Radio Info": [
        {"BSSINFO": [{"BSSID": "02:0a:00:00:06:00", "connected sta info": [{"STA MAC address": "02:57:00:00:00:01"},
        {"STA MAC address": "02:57:00:00:00:02"}]}]}]})");
    EXPECT_EQ(devices[0]->STAInfo->PhyRate, 11);
    EXPECT_EQ(devices[0]->STAInfo->next->PhyRate, 12);
}

TEST_F(PayloadTest, TheTableHolds1024ReportsAndDropsTheOldest) {
    const std::string agents = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"},
                                  {"AL MAC": "02:0b:00:00:00:01", "Device role": "02"})";
    receive(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": "first"})");
    receive(R"({"SrcAlMac": "2:b:0:0:0:1", "FWVersion": "second"})");
    for (int i = 2; i < 1024; ++i) {
        receive(R"({"SrcAlMac": "2:c:0:0:0:1", "FWVersion": "other"})");
    }
    receive(R"({"SrcAlMac": "2:c:0:0:0:1", "FWVersion": "one more"})");
    const auto devices = build(agents);
    EXPECT_STREQ(devices[0]->Info.FirmwareVersion, "");
    EXPECT_STREQ(devices[1]->Info.FirmwareVersion, "second");
}

TEST_F(PayloadTest, ANegativeLengthOnlyKeepsAReportFromBeingStored) {
    const char kReport[] = R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": "1.2"})";
    fake::host.role = "1";
    EXPECT_EQ(module_.higherLayerDataRcvHandle(kReport, -1), 0);
    EXPECT_STREQ(build(kAgent)[0]->Info.Hostname, "Unknown");
    EXPECT_EQ(module_.higherLayerDataRcvHandle(kReport, 1), 0);  // the whole text is parsed, whatever the length says
    EXPECT_STREQ(build(kAgent)[0]->Info.FirmwareVersion, "1.2");
    module_.higherLayerDataRcvHandle(R"({"SrcAlMac": "x", "Reboot": 1})", -5);
    EXPECT_EQ(fake::count("system reboot"), 1);
    fake::host.role = "2";
    module_.higherLayerDataRcvHandle(R"({"SrcAlMac": "x", "Interface": "rai0"})", INT32_MIN);
    EXPECT_EQ(fake::count("configWlanEnable 5 1 /etc/wireless/mt7615/mt7615.2.dat rai"), 1);
}

TEST_F(PayloadTest, WithoutAPayloadOrALengthNothingIsParsed) {
    EXPECT_EQ(printed_by([&] {
                  EXPECT_EQ(module_.higherLayerDataRcvHandle(nullptr, 5), 0);
                  EXPECT_EQ(module_.higherLayerDataRcvHandle("{\"Reboot\": 1}", 0), 0);
              }),
              "");
    EXPECT_THAT(fake::calls(), IsEmpty());
}

TEST_F(PayloadTest, AnotherRoleDoesNothing) {
    fake::host.role = "3";
    EXPECT_EQ(printed_by([] { receive(R"({"SrcAlMac": "x", "Interface": "rai0", "FilterLists": "aa"})"); }), "");
    EXPECT_THAT(fake::calls(), ElementsAre("EasyMeshGetDeviceRole 8"));
}

TEST_F(PayloadTest, TheRoleCountsEvenWhenReadingItFailed) {
    fake::host.role_result = 0;
    fake::host.role = "2";
    EXPECT_THAT(executed(R"({"SrcAlMac": "x", "Interface": "rai0"})"), ElementsAre(HasSubstr("configWlanEnable")));
}

// ---- the lock ----

TEST_F(PayloadTest, TheLockIsTriedElevenTimesAndOnlyTheLastWinIsTold) {
    struct Case {
        int failures;
        bool stored;
        const char *printed;
    };
    const char kLost[] = "higherLayerDataRcvHandle: try lock timeout. Lost lock.\n";
    for (const Case &lock :
         {Case{0, true, ""}, Case{9, true, ""}, Case{10, true, kLost}, Case{11, false, ""}, Case{12, false, ""}}) {
        const std::string version = "after " + std::to_string(lock.failures);
        fake::host.role = "1";
        fake::host.lock_failures = lock.failures;
        EXPECT_EQ(printed_by([&] {
                      EXPECT_EQ(receive(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": ")" + version + "\"}"), 0);
                  }),
                  lock.printed)
            << lock.failures;
        EXPECT_EQ(fake::host.lock_failures, lock.failures > 11 ? lock.failures - 11 : 0);
        fake::host.lock_failures = 0;
        EXPECT_EQ(build(kAgent)[0]->Info.FirmwareVersion == version, lock.stored) << lock.failures;
    }
}

TEST_F(PayloadTest, TheAttemptsFollowEachOtherWithoutAPause) {
    fake::host.role = "1";
    fake::host.lock_failures = 11;
    receive(R"({"SrcAlMac": "2:a:0:0:0:1"})");
    EXPECT_EQ(fake::host.lock_failures, 0);
    EXPECT_THAT(fake::calls(), ElementsAre("EasyMeshGetDeviceRole 8"));
}

// ---- bad input ----

TEST_F(PayloadTest, TextThatIsNoJsonIsAReportOfNobody) {
    for (const std::string &payload :
         {std::string("{"), std::string("\x01\x02"), std::string("{\"SrcAlMac\": \"2:a:0:0:0:1\""),
          std::string(10000, '['), std::string("{\"a\":") + std::string(5000, '{'), std::string(100000, 'x')}) {
        EXPECT_THAT(stored(payload), HasSubstr("agentAlMac = 00:00:00:00:00:00\n"));
    }
    EXPECT_THAT(stored("7"), HasSubstr(kNoSender));
    EXPECT_THAT(stored("[{\"SrcAlMac\": \"2:a:0:0:0:1\"}]"), HasSubstr(kNoSender));
}

TEST_F(PayloadTest, MembersOfTheWrongTypeAreReadAsTheirText) {
    const std::string printed =
        stored(R"({"SrcAlMac": 2, "FWVersion": [1], "HostName": {"a": null}, "DeviceIP": true, "STAInfo": {"a": 1}})");
    EXPECT_THAT(printed, HasSubstr("agentAlMac = 02:00:00:00:00:00\n"));
    EXPECT_THAT(printed, HasSubstr("firmwareversion= [ 1 ]\n"));
    EXPECT_THAT(printed, HasSubstr("deviceIP= true\n"));
}

TEST_F(PayloadTest, LongTextsFillTheirFieldsAndTracesStopAtTheirEnd) {
    const std::string text(100000, 'v');
    const std::string printed = stored(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": ")" + text + R"(", "HostName": ")" +
                                       text + R"(", "DeviceIP": ")" + text + "\"}");
    EXPECT_THAT(printed, HasSubstr("firmwareversion= " + std::string(128, 'v') + "\n"));
    EXPECT_THAT(printed, HasSubstr("hostname= " + std::string(128, 'v') + "\n"));
    EXPECT_THAT(printed, HasSubstr("deviceIP= " + std::string(128, 'v') + "\n"));
}

}  // namespace
