// The device list: defaults, reports of Agents, leases, and the lock between the two threads.
#include <sys/stat.h>

#include <thread>

#include "tests/support/module_test.h"

using testing::HasSubstr;
using testing::Not;

namespace {

// Two Agents with a station each.
const char kTwoAgents[] =
    R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02", "Number of radios": 1, "Radio Info": [{"channel": "6",
        "BSSINFO": [{"BSSID": "02:0a:00:00:06:00", "connected sta info": [
            {"STA MAC address": "02:57:00:00:00:01", "BH STA": "No", "Medium": "2.4G"}]}]}]},
       {"AL MAC": "02:0b:00:00:00:01", "Device role": "02", "Number of radios": 1, "Radio Info": [{"channel": "36",
        "BSSINFO": [{"BSSID": "02:0b:00:00:95:00", "connected sta info": [
            {"STA MAC address": "02:57:00:00:00:02", "BH STA": "No", "Medium": "5G"}]}]}]})";

std::string report(const std::string &agent, const std::string &version, int rate) {
    return "{\"SrcAlMac\": \"" + agent + "\", \"FWVersion\": \"" + version +
           "\", \"HostName\": \"name\", \"DeviceIP\": \"192.168.1.20\", \"STAInfo\": [{\"STAMac\": \"2:57:0:0:0:1\", "
           "\"PhyRate\": " +
           std::to_string(rate) + "}]}";
}

class DeviceTableTest : public ModuleTest {
protected:
    DeviceTableTest() { fake::host.role = "1"; }
    static void put_leases(const std::string &lines) { write_file(kLeases, lines); }
};

TEST_F(DeviceTableTest, WithoutAnyReportNamesAreUnknownAndRatesZero) {
    for (const qo1905_device *device : build(kTwoAgents)) {
        EXPECT_STREQ(device->Info.Hostname, "Unknown");
        EXPECT_STREQ(device->Info.FirmwareVersion, "");
        EXPECT_STREQ(device->Info.DeviceIP, "");
        ASSERT_NE(device->STAInfo, nullptr);
        EXPECT_EQ(device->STAInfo->PhyRate, 0);
    }
}

TEST_F(DeviceTableTest, OneReportIsMergedInEveryLaterCycle) {
    receive(report("02:0a:00:00:00:01", "1.2", 72));
    for (int cycle = 0; cycle < 3; ++cycle) {
        const auto devices = build(kTwoAgents);
        ASSERT_EQ(devices.size(), 2U);
        EXPECT_STREQ(devices[0]->Info.FirmwareVersion, "1.2");
        EXPECT_STREQ(devices[0]->Info.Hostname, "name");
        EXPECT_STREQ(devices[0]->Info.DeviceIP, "192.168.1.20");
        EXPECT_EQ(devices[0]->STAInfo->PhyRate, 72);
        // There is a copy now, so the other one's name is empty and no longer "Unknown".
        EXPECT_STREQ(devices[1]->Info.Hostname, "");
    }
}

TEST_F(DeviceTableTest, ACountOfThreeWithThreeElementsFailsAtTheThird) {
    build("");
    qo1905_network_topology *network = module_.getNetTopolTable();
    network->IEEE1905DeviceNumberOfEntries = 3;
    const Json topology = parse_json("[{}," + std::string(kTwoAgents) + "]");
    int32_t result = 0;
    EXPECT_EQ(printed_by([&] { result = module_.getIeee1905DevTable(topology.get()); }),
              "getNbrDevInfo: dev1905 == NULL !!!!!!!!!!!!!\n");
    EXPECT_EQ(result, 16);
    const auto devices = nodes(network->IEEE1905Device);
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(mac_text(devices[1]->IEEE1905Id), "02:0b:00:00:00:01");
    EXPECT_EQ(mac_text(devices[2]->IEEE1905Id), "00:00:00:00:00:00");
    EXPECT_STREQ(devices[2]->Info.DeviceMode, "Agent");
    EXPECT_EQ(devices[2]->Interface, nullptr);
    EXPECT_STREQ(devices[2]->Info.Hostname, "Unknown");
    EXPECT_EQ(devices[2]->Info.EnableReboot, 1);
    EXPECT_EQ(devices[2]->Info.DeviceType, 1);
    EXPECT_EQ(devices[2]->Info.Ap_autoconfig, 1);
}

TEST_F(DeviceTableTest, ALeaseOverridesTheReportedAddress) {
    receive(report("02:0a:00:00:00:01", "1.2", 72));
    put_leases(
        "1700000000 02:57:00:00:00:01 192.168.1.5 phone *\n1700000000 02:0a:00:00:00:01 192.168.1.99 attic *\n"
        "1700000000 02:0a:00:00:00:01 192.168.1.100 attic *\n");
    const auto devices = build(kTwoAgents);
    EXPECT_STREQ(devices[0]->Info.DeviceIP, "192.168.1.99");
    EXPECT_STREQ(devices[1]->Info.DeviceIP, "");
}

TEST_F(DeviceTableTest, GivesEveryDeviceItsDefaults) {
    const auto devices = build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})");
    ASSERT_EQ(devices.size(), 1U);
    const qo1905_device_info &info = devices[0]->Info;
    EXPECT_EQ(info.EnableReboot, 1);
    EXPECT_EQ(info.EnableInterfacePowerControl, 1);
    EXPECT_EQ(info.Ap_autoconfig, 1);
    EXPECT_EQ(info.DeviceType, 1);
    EXPECT_EQ(info.SendSearchMsg, 0);
    EXPECT_EQ(info.SendResponseMsg, 0);
    EXPECT_EQ(info.Newfirmware, 0);
    EXPECT_EQ(info.NewfirmwareUpgradeState, 0);
    EXPECT_STREQ(info.DeviceMode, "Agent");
    for (const char *text : {info.Newfirmwareversion, info.Newfirmwaredate, info.ReleaseVersion,
                             info.ReleaseVersionOverride, info.LEDstatus, info.Version, info.L2DeviveCtrl,
                             info.WiFiAutoCfg, info.WiFiOnOff, info.FwUpgrade, info.LEDOnOff, info.ChannelReserved}) {
        EXPECT_STREQ(text, "");
    }
    EXPECT_EQ(devices[0]->Ap_autoconfig_2_4G, 0);
    EXPECT_EQ(devices[0]->Ap_autoconfig_5G, 0);
    EXPECT_EQ(devices[0]->BridgingTuple, nullptr);
}

TEST_F(DeviceTableTest, TheLaterReportOfAnAgentWinsAlsoWithATextThatItLacks) {
    receive(report("02:0a:00:00:00:01", "1.2", 72));
    receive(R"({"SrcAlMac": "02:0a:00:00:00:01", "FWVersion": "1.3", "STAInfo": [
        {"STAMac": "02:57:00:00:00:09", "PhyRate": 5}]})");
    const auto devices = build(kTwoAgents);
    EXPECT_STREQ(devices[0]->Info.FirmwareVersion, "1.3");
    EXPECT_STREQ(devices[0]->Info.Hostname, "");
    EXPECT_STREQ(devices[0]->Info.DeviceIP, "");
    EXPECT_EQ(devices[0]->STAInfo->PhyRate, 72);  // of the last report that holds the station
}

TEST_F(DeviceTableTest, ReportsThatArriveReplaceTheCopyOfEarlierCycles) {
    receive(report("02:0a:00:00:00:01", "1.2", 72));
    build(kTwoAgents);
    receive(report("02:0b:00:00:00:01", "2.0", 10));
    const auto devices = build(kTwoAgents);
    EXPECT_STREQ(devices[0]->Info.FirmwareVersion, "");
    EXPECT_STREQ(devices[1]->Info.FirmwareVersion, "2.0");
}

TEST_F(DeviceTableTest, WithoutAgentsReportsWaitForACycleThatHasSome) {
    receive(report("02:0a:00:00:00:01", "1.2", 72));
    build("");
    log_level = 7;
    // Not moved out: the table is not empty, so the next report does not find it cleared.
    EXPECT_THAT(printed_by([] { receive(report("02:0a:00:00:00:01", "1.3", 72)); }),
                Not(HasSubstr("High layer table was cleared")));
    log_level = 0;
    EXPECT_STREQ(build(kTwoAgents)[0]->Info.FirmwareVersion, "1.3");
}

TEST_F(DeviceTableTest, TextsOfExactly128BytesAreKeptWhole) {
    const std::string text(128, 'v');
    receive(report("02:0a:00:00:00:01", text + "beyond", 72));
    put_leases("1 02:0a:00:00:00:01 " + std::string(200, '7') + " n *\n");
    const auto devices = build(kTwoAgents);
    EXPECT_EQ(std::string(devices[0]->Info.FirmwareVersion, 128), text);
    EXPECT_EQ(std::string(devices[0]->Info.DeviceIP, 128), std::string(128, '7'));
}

TEST_F(DeviceTableTest, ALeaseLineThatDoesNotParseKeepsTheValuesOfTheLineBefore) {
    put_leases("1 02:0b:00:00:00:02 10.0.0.1 a *\nrubbish\n1 02:0b:00:00:00:01\n");
    // The third line has a MAC and no address: the address of the first line stands.
    EXPECT_STREQ(build(kTwoAgents)[1]->Info.DeviceIP, "10.0.0.1");
}

TEST_F(DeviceTableTest, AnAddressAtTheLineEndTakesTheLineEndAlong) {
    put_leases("1 02:0a:00:00:00:01 10.0.0.7\n");
    EXPECT_STREQ(build(kTwoAgents)[0]->Info.DeviceIP, "10.0.0.7\n");
}

TEST_F(DeviceTableTest, ADeviceWithoutAnIdMatchesTheFirstLineThatSetsNone) {
    const char kNoId[] = R"({"AL MAC": "", "Device role": "02"})";
    receive(R"({"DeviceIP": "10.0.0.1"})");  // from a sender without an id
    EXPECT_STREQ(build(kNoId)[0]->Info.DeviceIP, "10.0.0.1");
    put_leases("# no lease\n1 00:00:00:00:00:00 10.0.0.7 a *\n");
    EXPECT_STREQ(build(kNoId)[0]->Info.DeviceIP, "");
}

TEST_F(DeviceTableTest, ABinaryLeaseFileChangesNothing) {
    std::string noise;
    for (int i = 0; i < 20000; ++i) {
        noise += static_cast<char>(i * 7 + i / 256);
    }
    put_leases(noise);
    EXPECT_STREQ(build(kTwoAgents)[0]->Info.DeviceIP, "");
}

TEST_F(DeviceTableTest, WithoutATableThereIsNothingToBuildInto) {
    const Json topology = parse_json("[]");
    EXPECT_EQ(module_.getIeee1905DevTable(topology.get()), 16);
}

TEST_F(DeviceTableTest, AnEntryThatFailsBeforeTheLastIsNotToldAndStillMerged) {
    receive(report("02:0a:00:00:00:01", "1.2", 72));
    put_leases("1 02:0a:00:00:00:01 10.0.0.7 a *\n");
    put_dump(
        R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02", "Number of radios": 1, "Radio Info": [{"BSSINFO": [{}]}]},
                {"AL MAC": "02:0b:00:00:00:01", "Device role": "02"})");
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 0); }), "bssID have not value!\n");
    const auto devices = nodes(module_.getNetTopolTable()->IEEE1905Device);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(nodes(devices[0]->Interface).size(), 2U);
    EXPECT_STREQ(devices[0]->Info.FirmwareVersion, "1.2");
    EXPECT_STREQ(devices[0]->Info.DeviceIP, "10.0.0.7");
}

TEST_F(DeviceTableTest, TheFirstMoveIsSilent) {
    EXPECT_EQ(printed_by([&] {
                  receive(report("02:0a:00:00:00:01", "1.2", 72));
                  build(kTwoAgents);
                  receive(report("02:0a:00:00:00:01", "1.2", 72));
                  build(kTwoAgents);
              }),
              "");
}

TEST_F(DeviceTableTest, ALeaseFileThatIsAPipeDoesNotHoldTheCycleUp) {
    ASSERT_EQ(mkfifo(kLeases, 0600), 0);
    EXPECT_STREQ(build(kTwoAgents)[0]->Info.DeviceIP, "");
}

// The receiver stores while the timer thread builds: for the thread sanitizer. No report is merged twice or half.
TEST_F(DeviceTableTest, ReportsArriveWhileTablesAreBuilt) {
    std::thread receiver([] {
        for (int i = 0; i < 2000; ++i) {
            receive(report("02:0a:00:00:00:01", std::to_string(i), i + 1));
        }
    });
    int last = -1;
    for (int i = 0; i < 50; ++i) {
        const auto devices = build(kTwoAgents);
        const std::string version = devices[0]->Info.FirmwareVersion;
        if (!version.empty()) {
            EXPECT_GE(std::stoi(version), last);
            last = std::stoi(version);
            EXPECT_EQ(devices[0]->STAInfo->PhyRate, last + 1);
        }
    }
    receiver.join();
}

// ---- the lock ----

const char kLost[] = "getIeee1905DevTable: i=timeout, We lost lock.\n";

struct LockCase {
    int failures;
    bool moved;
    const char *printed;
};

TEST_F(DeviceTableTest, TheLockIsTriedTwentyOneTimesAndOnlyTheLastWinIsTold) {
    for (const LockCase &lock : {LockCase{0, true, ""}, LockCase{19, true, ""}, LockCase{20, true, kLost},
                                 LockCase{21, false, ""}, LockCase{22, false, ""}}) {
        receive(report("02:0a:00:00:00:01", "old", 72));
        build(kTwoAgents);
        receive(report("02:0a:00:00:00:01", "new", 72));
        fake::host.lock_failures = lock.failures;
        std::vector<qo1905_device *> devices;
        EXPECT_EQ(printed_by([&] { devices = build(kTwoAgents); }), lock.printed) << lock.failures;
        EXPECT_STREQ(devices[0]->Info.FirmwareVersion, lock.moved ? "new" : "old") << lock.failures;
        EXPECT_EQ(fake::host.lock_failures, lock.failures > 21 ? lock.failures - 21 : 0);
        fake::host.lock_failures = 0;
        // What was not moved waits for the next cycle.
        EXPECT_STREQ(build(kTwoAgents)[0]->Info.FirmwareVersion, "new") << lock.failures;
    }
}

TEST_F(DeviceTableTest, AnEmptyTableIsLeftAloneWithoutTheLock) {
    fake::host.lock_failures = 100;
    build(kTwoAgents);
    EXPECT_EQ(fake::host.lock_failures, 100);
}

}  // namespace
