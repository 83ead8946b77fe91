// The data model file: its exits, its lists and every code.
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

const char kAgent[] = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})";

class DataModelTest : public ModuleTest {
protected:
    std::string written() const {
        EXPECT_EQ(module_.writeJsonDataModel(), 0);
        return read_file(kModel);
    }
    qo1905_al_table &al() const { return *module_.getAlTable(); }
    static void build_three_interfaces(const char *devices = "") {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}, {"rai0", "02:00:00:00:00:12"}};
        fake::host.links = {{"Up", "Device.Bridging.Bridge.1.Port.1", "02:00:00:00:00:10"}};
        build(devices);
    }
};

TEST_F(DataModelTest, WithoutInterfacesLowerLayersIsEmptyAndNetworkTopologyFollows) {
    build("");
    fake::host.ssids = {{"eth", ""}};
    EXPECT_EQ(module_.initALTable(), 16);  // the new table has no interfaces
    const std::string text = written();
    EXPECT_THAT(text, HasSubstr("\t\t\t\t\"LowerLayers\": [  ],\n\t\t\t\t\"InterfaceNumberOfEntries\": 0,\n"));
    EXPECT_THAT(text, HasSubstr("\t\t\t\t\"SendResponseMsg\": 0,\n\t\t\t\t\"NetworkTopology\": {\n"));
    parse_json(text);
}

TEST_F(DataModelTest, TheSecondLinkHasALineEndInsideItsQuotes) {
    build_three_interfaces();
    al().Interface->LinkNumberOfEntries = 2;
    EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\"LowerLayers\": [ \"Device.X_0A3C5E_IEEE1905.AL.Interface.1.Link.1\", "
                                     "\"Device.X_0A3C5E_IEEE1905.AL.Interface.1.Link.2\n\" ],\n"));
}

TEST_F(DataModelTest, AnInterfaceWithoutLinksRepeatsTheListOfTheOneBefore) {
    build_three_interfaces();
    al().Interface->next->LinkNumberOfEntries = 1;
    const std::string text = written();
    EXPECT_THAT(object_text(text, "Interface.1"), HasSubstr("\"LowerLayers\": [  ],"));
    EXPECT_THAT(object_text(text, "Interface.2"),
                HasSubstr("\"LowerLayers\": [ \"Device.X_0A3C5E_IEEE1905.AL.Interface.2.Link.1\" ],"));
    EXPECT_THAT(object_text(text, "Interface.3"),
                HasSubstr("\"LowerLayers\": [ \"Device.X_0A3C5E_IEEE1905.AL.Interface.2.Link.1\" ],"));
}

TEST_F(DataModelTest, StatusOfTheALIsUpInCapitalsAndThatOfAnInterfaceIsNot) {
    const char *kNames[] = {nullptr, "Down", "Unknown", "Dormant", "NotPresent", "LowerLayerDown", "Error", "Unknown"};
    build("");
    for (uint32_t code = 0; code < 8; ++code) {
        al().Status = code;
        al().Interface->Status = code;
        const std::string text = written();
        EXPECT_THAT(text,
                    HasSubstr("\n\t\t\t\t\"Status\": \"" + std::string(code == 0 ? "UP" : kNames[code]) + "\",\n"));
        EXPECT_THAT(text, HasSubstr("\n\t\t\t\t\t\"Status\": \"" + std::string(code == 0 ? "Up" : kNames[code]) +
                                    "\",\n\t\t\t\t\t\"LastChange\""));
    }
}

TEST_F(DataModelTest, ADeviceCountOfZeroWritesNoDeviceOfTheList) {
    build(kAgent);
    al().NetworkTopology.IEEE1905DeviceNumberOfEntries = 0;
    const std::string text = written();
    EXPECT_THAT(text, Not(HasSubstr("IEEE1905Device.")));
    EXPECT_THAT(text, HasSubstr("\"IEEE1905DeviceNumberOfEntries\": 0\n\t\t\t\t},\n\t\t\t\t\"Security\": {"));
    parse_json(text);
}

TEST_F(DataModelTest, ACountThatIsNotZeroWritesTheWholeList) {
    build(std::string(kAgent) + "," + kAgent);
    al().NetworkTopology.IEEE1905DeviceNumberOfEntries = 1;
    EXPECT_THAT(written(), HasSubstr("\"IEEE1905Device.2\": {"));
}

TEST_F(DataModelTest, TheReleaseVersionIsTheOverrideUnlessThatIsEmpty) {
    qo1905_device_info &info = build(kAgent).at(0)->Info;
    std::strcpy(info.ReleaseVersion, "3.0");
    EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\t\"ReleaseVersion\": \"3.0\",\n"));
    std::strcpy(info.ReleaseVersionOverride, "4.0");
    EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\t\"ReleaseVersion\": \"4.0\",\n"));
}

TEST_F(DataModelTest, AppVersionTextsPrintAsNumbers) {
    qo1905_device_info &info = build(kAgent).at(0)->Info;
    std::strcpy(info.L2DeviveCtrl, "3");
    std::memset(info.WiFiOnOff, '1',
                sizeof(info.WiFiOnOff));  // to the brim: more than an integer holds, nothing beyond is read
    EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\t\t\"L2DeviveCtrl\": 3,\n\t\t\t\t\t\t\t\"WiFiAutoCfg\": 0,\n"));
}

TEST_F(DataModelTest, EveryNumberOfADeviceIsItsOwn) {
    qo1905_device &device = *build(kAgent).at(0);
    std::strcpy(device.Info.L2DeviveCtrl, "11");
    std::strcpy(device.Info.WiFiAutoCfg, "12");
    std::strcpy(device.Info.WiFiOnOff, "13");
    std::strcpy(device.Info.FwUpgrade, "14");
    std::strcpy(device.Info.LEDOnOff, "15");
    device.Info.Ap_autoconfig = 16;
    device.Ap_autoconfig_2_4G = 17;
    device.Ap_autoconfig_5G = 18;
    const std::string text = written();
    EXPECT_THAT(text, HasSubstr("\"Ap-autoconfig\": 16,\n\t\t\t\t\t\t\"Ap-autoconfig_2.4G\": "
                                "17,\n\t\t\t\t\t\t\"Ap-autoconfig_5G\": 18,\n"));
    EXPECT_EQ(
        object_text(text, "AppVersion"),
        "{\n\t\t\t\t\t\t\t\"Version\": \"\",\n\t\t\t\t\t\t\t\"L2DeviveCtrl\": 11,\n\t\t\t\t\t\t\t\"WiFiAutoCfg\": 12,\n"
        "\t\t\t\t\t\t\t\"WiFiOnOff\": 13,\n\t\t\t\t\t\t\t\"FwUpgrade\": 14,\n\t\t\t\t\t\t\t\"LEDOnOff\": "
        "15\n\t\t\t\t\t\t}");
}

// ---- single codes ----

TEST_F(DataModelTest, EveryCodeOfTheNetworkTopologyAndOfSecurity) {
    build("");
    const std::vector<std::pair<uint32_t, std::string>> enables = {
        {0, "false"}, {1, "true"}, {2, "null"}, {0xffffffff, "null"}};
    for (const auto &[code, word] : enables) {
        al().NetworkTopology.Enable = code;
        EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\"Enable\": " + word + ",\n"));
    }
    const std::vector<std::pair<uint32_t, std::string>> statuses = {
        {0, "Incomplete"}, {1, "Available"}, {2, "Error_Misconfigured"}, {3, "Unknown"}};
    for (const auto &[code, name] : statuses) {
        al().NetworkTopology.Status = code;
        EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\"Status\": \"" + name + "\",\n\t\t\t\t\t\"IEEE1905Device"));
    }
    const std::vector<std::pair<uint32_t, std::string>> methods = {
        {0, "UCPK"}, {1, "PBC"}, {2, "NFCNK"}, {3, "Unknown"}};
    for (const auto &[code, name] : methods) {
        al().Security.SetupMethod = code;
        EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\"SetupMethod\": \"" + name + "\",\n"));
    }
}

TEST_F(DataModelTest, OnlyTheValueOneIsTrueAndOnlyZeroIsARegistrar) {
    qo1905_device_info &info = build(kAgent).at(0)->Info;
    for (const uint8_t value : {uint8_t{0}, uint8_t{1}, uint8_t{2}, uint8_t{255}}) {
        info.EnableReboot = value;
        info.EnableInterfacePowerControl = value;
        info.DeviceType = value;
        al().Info.EnableReboot = value;
        al().Info.EnableInterfacePowerControl = value;
        EXPECT_THAT(written(), HasSubstr(std::string("\n\t\t\t\t\"EnableReboot\": ") + (value == 1 ? "true" : "false") +
                                         ",\n\t\t\t\t\"EnableInterfacePowerControl\": " +
                                         (value == 1 ? "true" : "false") + ",\n"));
        const std::string device = object_text(written(), "IEEE1905Device.1");
        EXPECT_THAT(device, HasSubstr(std::string("\"EnableReboot\": ") + (value == 1 ? "true" : "false") + ",\n"));
        EXPECT_THAT(device, HasSubstr(std::string("\"EnableInterfacePowerControl\": ") +
                                      (value == 1 ? "true" : "false") + ",\n"));
        EXPECT_THAT(device,
                    HasSubstr(std::string("\"DeviceType\": \"") + (value == 0 ? "Registrar" : "Enrollee") + "\",\n"));
    }
}

TEST_F(DataModelTest, LastChangeIsTheDifferenceModulo32Bits) {
    build("");
    struct Case {
        uint32_t then;
        int64_t now;  // the low half of it where time_t has 32 bits
        const char *shown;
    };
    for (const Case &change : {Case{1700000000, 1700000000, "0"}, Case{1700000010, 1700000000, "4294967286"},
                               Case{0, 4000000000, "4000000000"}, Case{4294967295U, 4294967300, "5"}}) {
        al().LastChangeTime = change.then;
        fake::host.now = static_cast<std::time_t>(change.now);
        EXPECT_THAT(written(), HasSubstr("\n\t\t\t\t\"LastChange\": " + std::string(change.shown) + ",\n"));
    }
}

// ---- texts of strangers ----

TEST_F(DataModelTest, TextsAreEscapedWhereJsonNeedsItAndStandOtherwise) {
    qo1905_device_info &info = build(kAgent).at(0)->Info;
    struct Case {
        std::string text;
        const char *shown;
    };
    for (const Case &name :
         {Case{"plain /text\x7f", "plain /text\x7f"}, Case{"\"q\"", "\\\"q\\\""}, Case{"\\", "\\\\"},
          Case{"a\nb\tc\rd\x01\x1f", "a\\nb\\tc\\rd\\u0001\\u001f"},
          Case{"K\xc3\xbc"
               "che \xf0\x9f\x8f\xa0",
               "K\xc3\xbc"
               "che \xf0\x9f\x8f\xa0"},
          Case{"\xff", "\xEF\xBF\xBD"}, Case{"\xc3", "\xEF\xBF\xBD"}, Case{"\xe2\x82", "\xEF\xBF\xBD\xEF\xBF\xBD"},
          Case{"\xc0\xaf", "\xEF\xBF\xBD\xEF\xBF\xBD"}}) {
        std::memset(info.Hostname, 0, sizeof(info.Hostname));
        std::memcpy(info.Hostname, name.text.data(), name.text.size());
        const std::string text = written();
        EXPECT_THAT(text, HasSubstr(std::string("\"Hostname\": \"") + name.shown + "\",\n"));
        parse_json(text);
    }
}

TEST_F(DataModelTest, EveryTextFieldIsEscapedAndBounded) {
    qo1905_device &device = *build(kAgent).at(0);
    qo1905_sta_info &station = *append_node(device.STAInfo);
    append_node(append_node(device.IEEE1905Neighbor)->Neighbor);
    device.IEEE1905NeighborNumberOfEntries = 1;
    const auto fill = [](char *field, std::size_t size) { std::memset(field, '"', size); };
    std::string brim32;
    std::string brim128;
    for (int i = 0; i < 128; ++i) {
        (i < 32 ? brim32 : brim128) += "\\\"";
    }
    brim128 += brim32;
    for (qo1905_device_info *info : {&al().Info, &device.Info}) {
        fill(info->FirmwareVersion, 128);
        fill(info->Newfirmwareversion, 128);
        fill(info->Newfirmwaredate, 128);
        fill(info->Hostname, 128);
        fill(info->DeviceIP, 128);
        fill(info->DeviceMode, 32);
        fill(info->ReleaseVersion, 32);
        fill(info->LEDstatus, 32);
        fill(info->Version, 32);
    }
    fill(station.Tx, 32);
    fill(station.Rx, 32);
    const std::string text = written();
    parse_json(text);
    for (const char *key : {"FirmwareVersion", "Newfirmwareversion", "Newfirmwaredate", "Hostname", "DeviceIP"}) {
        EXPECT_THAT(text, HasSubstr(std::string("\"") + key + "\": \"" + brim128 + "\",\n")) << key;
    }
    for (const char *key : {"DeviceMode", "ReleaseVersion", "LEDstatus", "Version", "Tx", "Rx"}) {
        EXPECT_THAT(object_text(text, "IEEE1905Device.1"),
                    HasSubstr(std::string("\"") + key + "\": \"" + brim32 + "\",\n"))
            << key;
    }
    for (const char *key : {"DeviceMode", "ReleaseVersion", "LEDstatus"}) {
        EXPECT_THAT(text, HasSubstr(std::string("\n\t\t\t\t\"") + key + "\": \"" + brim32 + "\",\n")) << key;
    }
    fill(device.Info.ReleaseVersionOverride, 32);
    device.Info.ReleaseVersion[0] = 'x';
    EXPECT_THAT(object_text(written(), "IEEE1905Device.1"), HasSubstr("\"ReleaseVersion\": \"" + brim32 + "\",\n"));
}

TEST_F(DataModelTest, ACharacterCutAtTheEndOfItsFieldStillMakesValidJson) {
    qo1905_device_info &info = build(kAgent).at(0)->Info;
    std::memset(info.Hostname, 'x', sizeof(info.Hostname));
    info.Hostname[127] = '\xc3';  // the first half of a two-byte character
    const std::string text = written();
    parse_json(text);
    EXPECT_THAT(text, HasSubstr(std::string(127, 'x') + "\xEF\xBF\xBD\",\n"));
}

TEST_F(DataModelTest, ThePasswordIsEscapedAndNullPrintsInBrackets) {
    build("");
    EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\"Password\": \"(null)\"\n"));
    al().Security.Password = strdup("a\"b");
    EXPECT_THAT(written(), HasSubstr("\t\t\t\t\t\"Password\": \"a\\\"b\"\n"));
}

// ---- exits ----

TEST_F(DataModelTest, WithoutATableThereAreThreeLinesAndNoMessage) {
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(written(), "{\n\t\"Device\": {\n\t\t\"X_0A3C5E_IEEE1905\": {\n"); }), "");
}

TEST_F(DataModelTest, AFileThatCannotBeOpenedIsSkippedSilently) {
    build("");
    ASSERT_EQ(mkdir(kModel, 0755), 0);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.writeJsonDataModel(), 0); }), "");
    rmdir(kModel);
}

TEST_F(DataModelTest, AShorterModelLeavesNothingOfTheLongerOne) {
    build(std::string(kAgent) + "," + kAgent);
    const std::size_t longer = written().size();
    build("");
    const std::string text = written();
    EXPECT_LT(text.size(), longer);
    parse_json(text);
}

// A reader that polls never meets a line-by-line document.
TEST_F(DataModelTest, TheTextReachesTheFileInOneWrite) {
    std::string devices = kAgent;
    for (int i = 0; i < 60; ++i) {
        devices += std::string(",") + kAgent;
    }
    build(devices);
    const std::size_t before = fake::calls().size();
    module_.writeJsonDataModel();
    auto calls = fake::calls();
    calls.erase(calls.begin(), calls.begin() + static_cast<long>(before));
    const std::size_t size = read_file(kModel).size();
    ASSERT_GT(size, 65536U);
    EXPECT_THAT(calls, ElementsAre("open /tmp/qo1905.json w", "write " + std::to_string(size)));
}

TEST_F(DataModelTest, APipeInPlaceOfTheFileDoesNotHoldTheCycleUp) {
    build(kAgent);
    ASSERT_EQ(mkfifo(kModel, 0600), 0);
    EXPECT_EQ(module_.writeJsonDataModel(), 0);
}

TEST_F(DataModelTest, ListsLongerThanTheirBufferEndAtAWholeItem) {
    build_three_interfaces();
    al().Interface->LinkNumberOfEntries = 65535;
    al().InterfaceNumberOfEntries = 255;
    const std::string text = written();
    const std::size_t begin = text.find("\"LowerLayers\": [ ") + 17;
    const std::string own = text.substr(begin, text.find(" ],", begin) - begin);
    EXPECT_LE(own.size(), 1023U);
    EXPECT_GT(own.size(), 1023U - 18U);
    EXPECT_THAT(own, testing::EndsWith("\""));
    const std::string links = object_text(text, "Interface.1");
    EXPECT_THAT(links, HasSubstr("\n\" ],\n"));
}

}  // namespace
