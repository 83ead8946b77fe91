// The table build: the local AL and its interfaces, what a bad dump leaves, the destroy.
#include <cstring>

#include "tests/support/module_test.h"

using testing::HasSubstr;

namespace {

const char kBridge[] = "Device.Bridging.Bridge.1.Port.1";

class BuildTest : public ModuleTest {
protected:
    std::vector<qo1905_al_interface *> interfaces() const { return nodes(module_.getIntfTable()); }
};

TEST_F(BuildTest, ALMacBecomesTheIdAndTheOuiIsZero) {
    build("");
    const qo1905_al_table *al = module_.getAlTable();
    ASSERT_NE(al, nullptr);
    EXPECT_EQ(mac_text(al->IEEE1905Id), "02:00:00:00:00:01");
    EXPECT_EQ(al->OUI[0] | al->OUI[1] | al->OUI[2], 0);
    EXPECT_EQ(al->InformationLength, 0U);
    EXPECT_EQ(al->Information, nullptr);
}

TEST_F(BuildTest, TwoSsidsAndABridgeGiveBridgeThen24GThen5G) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}, {"rai0", "02:00:00:00:00:12"}};
    fake::host.links = {{"Up", kBridge, "02:00:00:00:00:10"}};
    build("");
    const auto found = interfaces();
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(module_.getAlTable()->InterfaceNumberOfEntries, 3);
    EXPECT_EQ(mac_text(found[0]->InterfaceId), "02:00:00:00:00:10");
    EXPECT_EQ(found[0]->MediaType, 0U);
    EXPECT_EQ(mac_text(found[1]->InterfaceId), "02:00:00:00:00:11");
    EXPECT_EQ(found[1]->MediaType, 0x103U);
    EXPECT_EQ(mac_text(found[2]->InterfaceId), "02:00:00:00:00:12");
    EXPECT_EQ(found[2]->MediaType, 0x104U);
}

TEST_F(BuildTest, ALowerLayersTextOfPort10MatchesTheBridgeToo) {
    fake::host.ssids = {{"wl0", "02:00:00:00:00:11"}};
    fake::host.links = {{"Up", "Device.Bridging.Bridge.1.Port.10", "02:00:00:00:00:10"}};
    build("");
    ASSERT_EQ(interfaces().size(), 1U);
    EXPECT_EQ(mac_text(interfaces()[0]->InterfaceId), "02:00:00:00:00:10");
}

TEST_F(BuildTest, ADumpWithoutAgentsIsAvailableAndHasNoDevices) {
    build("");
    const qo1905_network_topology *network = module_.getNetTopolTable();
    EXPECT_EQ(network->Status, 1U);
    EXPECT_EQ(network->Enable, 1U);
    EXPECT_EQ(network->IEEE1905DeviceNumberOfEntries, 0);
    EXPECT_EQ(network->IEEE1905Device, nullptr);
}

TEST_F(BuildTest, FillsTheLocalInformationBlock) {
    fake::host.now = 1234567890;
    build("");
    const qo1905_al_table &al = *module_.getAlTable();
    EXPECT_EQ(al.LastChangeTime, 1234567890U);
    EXPECT_EQ(al.Status, 0U);
    EXPECT_EQ(al.Info.EnableReboot, 0);
    EXPECT_EQ(al.Info.EnableInterfacePowerControl, 0);
    EXPECT_STREQ(al.Info.FirmwareVersion, "");
    EXPECT_STREQ(al.Info.Hostname, "");
    EXPECT_STREQ(al.Info.DeviceIP, "");
    EXPECT_STREQ(al.Info.DeviceMode, "Router");
    for (const char *text : {al.Info.Version, al.Info.L2DeviveCtrl, al.Info.WiFiAutoCfg, al.Info.WiFiOnOff,
                             al.Info.FwUpgrade, al.Info.LEDOnOff}) {
        EXPECT_STREQ(text, "NA");
    }
    EXPECT_EQ(al.Info.ResetAfterDistribution, 0);
    EXPECT_EQ(al.Security.Password, nullptr);
}

TEST_F(BuildTest, ASsidThatIsNotUpDoesNotCount) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Down"}, {"rai0", "02:00:00:00:00:12", "Upstream"}};
    build("");
    // The status need only begin with "Up"; by position, the one interface carries the bridge's empty slot.
    ASSERT_EQ(interfaces().size(), 1U);
    EXPECT_EQ(mac_text(interfaces()[0]->InterfaceId), "00:00:00:00:00:00");
    EXPECT_EQ(interfaces()[0]->MediaType, 0U);
}

TEST_F(BuildTest, ALaterSsidOverwritesTheSlotAndCountsAgain) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11"},
                        {"ra01", "02:00:00:00:00:21"},
                        {"ra0.1", "02:00:00:00:00:31"},
                        {"rai0", "02:00:00:00:00:12"}};
    build("");
    const auto found = interfaces();
    ASSERT_EQ(found.size(), 4U);
    EXPECT_EQ(mac_text(found[1]->InterfaceId), "02:00:00:00:00:31");
    EXPECT_EQ(mac_text(found[2]->InterfaceId), "02:00:00:00:00:12");
    EXPECT_EQ(mac_text(found[3]->InterfaceId), "00:00:00:00:00:00");
    EXPECT_EQ(found[3]->MediaType, 0U);
}

TEST_F(BuildTest, TheCountOfInterfacesIsAsWideAsItsField) {
    fake::host.ssids.assign(257, {"ra0", "02:00:00:00:00:11"});
    build("");
    EXPECT_EQ(interfaces().size(), 1U);
    fake::host.ssids.assign(256, {"ra0", "02:00:00:00:00:11"});
    EXPECT_EQ(module_.initALTable(), 16);
    EXPECT_EQ(interfaces().size(), 0U);
}

TEST_F(BuildTest, AMacInASlotThatHeldOneChangesOnlyTheBytesThatParse) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}, {"ra01", "0a:0b"}};
    build("");
    ASSERT_EQ(interfaces().size(), 2U);
    EXPECT_EQ(mac_text(interfaces()[1]->InterfaceId), "0a:0b:00:00:00:11");
}

TEST_F(BuildTest, TheFirstLinkThatIsExactlyUpIsTheBridge) {
    fake::host.links = {{"Upper", kBridge, "02:00:00:00:00:0e"},
                        {"Up", "Device.Bridging.Bridge.2.Port.1", "02:00:00:00:00:0f"},
                        {"Up", std::string("Device.X.1,") + kBridge, "02:00:00:00:00:10"},
                        {"Up", kBridge, "02:00:00:00:00:13"}};
    build("");
    ASSERT_EQ(interfaces().size(), 2U);
    EXPECT_EQ(mac_text(interfaces()[0]->InterfaceId), "02:00:00:00:00:10");
}

TEST_F(BuildTest, TextsOfTheConfigurationMayFillTheirFields) {
    fake::host.ssids = {
        {std::string("ra0") + std::string(40, 'x'), std::string(40, '1'), std::string("Up") + std::string(40, 'x')}};
    build("");
    EXPECT_EQ(interfaces().size(), 1U);
}

TEST_F(BuildTest, NoInterfaceFailsAndLeavesTheNewTable) {
    build("");
    fake::host.ssids = {{"ra1", "02:00:00:00:00:11"}};
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), "");
    const qo1905_al_table *al = module_.getAlTable();
    ASSERT_NE(al, nullptr);
    EXPECT_EQ(al->InterfaceNumberOfEntries, 0);
    EXPECT_EQ(al->Interface, nullptr);
    EXPECT_EQ(al->NetworkTopology.Enable, 0U);
    EXPECT_EQ(mac_text(al->IEEE1905Id), "02:00:00:00:00:01");
}

TEST_F(BuildTest, AFailedDeviceListLeavesNoTable) {
    put_dump(R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01", "Number of radios": 1,
                 "Radio Info": [{"BSSINFO": [{}]}]})");
    int32_t result = 0;
    EXPECT_EQ(printed_by([&] { result = module_.initALTable(); }),
              "bssID have not value!\nFail update Ieee1905DevTable!\n");
    EXPECT_EQ(result, 16);
    EXPECT_EQ(module_.getAlTable(), nullptr);
}

TEST_F(BuildTest, WithoutAUsableDumpTheOldTableStays) {
    build("");
    const qo1905_al_table *old = module_.getAlTable();
    const char kNotReady[] = "[initALTable] second chance - dump information is not ready. \n";
    struct Case {
        const char *dump;
        const char *message;
    };
    for (const Case &bad :
         {Case{"", kNotReady}, Case{"{\"topology information\": [", kNotReady}, Case{"\x01\xff", kNotReady},
          Case{"{}", ""}, Case{"[]", ""}, Case{"7\n", ""}, Case{"{\"topology information\": null}", ""}}) {
        write_file(kDump, bad.dump);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), bad.message) << bad.dump;
        EXPECT_EQ(module_.getAlTable(), old) << bad.dump;
    }
    std::remove(kDump);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), kNotReady);
    EXPECT_EQ(module_.getAlTable(), old);
}

TEST_F(BuildTest, AnotherTypeThanAnArrayIsAnEmptyTopology) {
    for (const char *topology : {"7", "\"x\"", "{\"a\": 1}", "true", "[]"}) {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
        write_file(kDump, std::string("{\"topology information\": ") + topology + "}");
        log_level = 7;
        const std::string printed = printed_by([&] { EXPECT_EQ(module_.initALTable(), 0); });
        EXPECT_THAT(printed, HasSubstr("[retrieveAlTable:2276] AL MAC=(null)\n")) << topology;
        EXPECT_EQ(mac_text(module_.getAlTable()->IEEE1905Id), "00:00:00:00:00:00");
        EXPECT_EQ(module_.getNetTopolTable()->Status, 1U);
    }
}

TEST_F(BuildTest, EveryBuildReplacesTheWholeTable) {
    const char kAgent[] = R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01"})";
    build(kAgent);
    qo1905_network_topology *network = module_.getNetTopolTable();
    network->ChangeLogNumberOfEntries = 3;
    network->MaxChangeLogEntries = 9;
    network->LastChange = 3;
    network->ChangeLog[2].EventType = 1;
    build(kAgent);
    network = module_.getNetTopolTable();
    EXPECT_EQ(network->ChangeLogNumberOfEntries, 0);
    EXPECT_EQ(network->MaxChangeLogEntries, 0);
    EXPECT_EQ(network->LastChange, 0);
    EXPECT_EQ(network->ChangeLog[2].EventType, 0U);
    EXPECT_EQ(nodes(network->IEEE1905Device).size(), 1U);
}

// All that a host may hang into the table is freed with it; the leak checker of the sanitizer build watches.
TEST_F(BuildTest, TheDestroyFreesEveryListAndBuffer) {
    const auto devices = build(fixture("meshes/one_agent/device.json"));
    qo1905_al_table &al = *module_.getAlTable();
    al.Security.Password = strdup("s3cret");
    al.Information = static_cast<uint8_t *>(std::calloc(1, 4));
    append_node(al.Reserved[0].Head)->Buffer = std::calloc(1, 8);
    append_node(al.Reserved[1].Head)->Buffer = std::calloc(1, 8);
    append_node(al.ReservedList);
    append_node(al.Interface->Reserved);
    append_node(al.Interface->Link);
    al.Interface->ReservedBuffer = std::calloc(1, 8);
    al.Interface->Information = static_cast<uint8_t *>(std::calloc(1, 8));
    ASSERT_EQ(devices.size(), 1U);
    devices[0]->Interface->ReservedBuffer = std::calloc(1, 8);
    append_node(devices[0]->BridgingTuple)->InterfaceList = static_cast<uint8_t(*)[6]>(std::calloc(2, 6));
    build("");
    EXPECT_EQ(module_.getNetTopolTable()->IEEE1905Device, nullptr);
}

}  // namespace
