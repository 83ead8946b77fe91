// The local AL and its interfaces.
#include <cstring>

#include "tests/support/module_test.h"

namespace {

const char kBridge[] = "Device.Bridging.Bridge.1.Port.1";

class LocalAlTest : public ModuleTest {
protected:
    std::vector<qo1905_al_interface *> interfaces() const { return nodes(module_.getIntfTable()); }
};

TEST_F(LocalAlTest, ALMacBecomesTheIdAndTheOuiIsZero) {
    build("");
    const qo1905_al_table *al = module_.getAlTable();
    ASSERT_NE(al, nullptr);
    EXPECT_EQ(mac_text(al->IEEE1905Id), "02:00:00:00:00:01");
    EXPECT_EQ(al->OUI[0] | al->OUI[1] | al->OUI[2], 0);
    EXPECT_EQ(al->InformationLength, 0U);
    EXPECT_EQ(al->Information, nullptr);
}

TEST_F(LocalAlTest, TwoSsidsAndABridgeGiveBridgeThen24GThen5G) {
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

TEST_F(LocalAlTest, ALowerLayersTextOfPort10MatchesTheBridgeToo) {
    fake::host.ssids = {{"wl0", "02:00:00:00:00:11"}};
    fake::host.links = {{"Up", "Device.Bridging.Bridge.1.Port.10", "02:00:00:00:00:10"}};
    build("");
    ASSERT_EQ(interfaces().size(), 1U);
    EXPECT_EQ(mac_text(interfaces()[0]->InterfaceId), "02:00:00:00:00:10");
}

TEST_F(LocalAlTest, FillsTheLocalInformationBlock) {
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

TEST_F(LocalAlTest, ASsidThatIsNotUpDoesNotCount) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Down"}, {"rai0", "02:00:00:00:00:12", "Upstream"}};
    build("");
    // The status need only begin with "Up"; by position, the one interface carries the bridge's empty slot.
    ASSERT_EQ(interfaces().size(), 1U);
    EXPECT_EQ(mac_text(interfaces()[0]->InterfaceId), "00:00:00:00:00:00");
    EXPECT_EQ(interfaces()[0]->MediaType, 0U);
}

TEST_F(LocalAlTest, ALaterSsidOverwritesTheSlotAndCountsAgain) {
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

TEST_F(LocalAlTest, TheCountOfInterfacesIsAsWideAsItsField) {
    fake::host.ssids.assign(257, {"ra0", "02:00:00:00:00:11"});
    build("");
    EXPECT_EQ(interfaces().size(), 1U);
    fake::host.ssids.assign(256, {"ra0", "02:00:00:00:00:11"});
    EXPECT_EQ(module_.initALTable(), 16);
    EXPECT_EQ(interfaces().size(), 0U);
}

TEST_F(LocalAlTest, AMacInASlotThatHeldOneChangesOnlyTheBytesThatParse) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}, {"ra01", "0a:0b"}};
    build("");
    ASSERT_EQ(interfaces().size(), 2U);
    EXPECT_EQ(mac_text(interfaces()[1]->InterfaceId), "0a:0b:00:00:00:11");
}

TEST_F(LocalAlTest, TheFirstLinkThatIsExactlyUpIsTheBridge) {
    fake::host.links = {{"Upper", kBridge, "02:00:00:00:00:0e"},
                        {"Up", "Device.Bridging.Bridge.2.Port.1", "02:00:00:00:00:0f"},
                        {"Up", std::string("Device.X.1,") + kBridge, "02:00:00:00:00:10"},
                        {"Up", kBridge, "02:00:00:00:00:13"}};
    build("");
    ASSERT_EQ(interfaces().size(), 2U);
    EXPECT_EQ(mac_text(interfaces()[0]->InterfaceId), "02:00:00:00:00:10");
}

TEST_F(LocalAlTest, TextsOfTheConfigurationMayFillTheirFields) {
    fake::host.ssids = {
        {std::string("ra0") + std::string(40, 'x'), std::string(40, '1'), std::string("Up") + std::string(40, 'x')}};
    build("");
    EXPECT_EQ(interfaces().size(), 1U);
}

}  // namespace
