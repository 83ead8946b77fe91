// What a host is told to be, from nothing but a dump.
#include "lab/replay/field_device.h"

#include <gmock/gmock.h>

#include "lab/common/input.h"

using lab::look_at_dump;
using nlohmann::json;

namespace {

json device_of(const std::string &dump) { return lab::field_device(look_at_dump(dump)); }

TEST(FieldDevice, IsTheFirstOfTheDump) {
    const std::string fixtures = QO1905_SOURCE_DIR "/tests/fixtures/replay/attic.";
    EXPECT_EQ(device_of(lab::read_input(fixtures + "dump.json")),
              json::parse(lab::read_input(fixtures + "device.json")));
}

TEST(FieldDevice, IsAControllerOfWhichNothingIsKnownWithoutADump) {
    for (const char *dump : {"", "no JSON", "[]", R"({"topology information": []})"}) {
        const json device = device_of(dump);
        EXPECT_EQ(device["role"], "controller") << dump;
        EXPECT_EQ(device["base_mac"], "00:00:00:00:00:00") << dump;
        EXPECT_TRUE(device["wifi"].empty()) << dump;
    }
}

TEST(FieldDevice, HasNoMoreInterfacesThanAGatewayAsksFor) {
    std::string bsss;
    for (int i = 0; i < 9; ++i) {
        bsss += (i == 0 ? "" : ",") + std::string(R"({"BSSID": "02:0a:00:00:06:0)") + std::to_string(i) + "\"}";
    }
    const json device =
        device_of(R"({"topology information": [{"Radio Info": [{"channel": "6", "BSSINFO": [)" + bsss + R"(]}]}]})");
    EXPECT_EQ(device["wifi"].size(), 4U);
    EXPECT_EQ(device["wifi"][3]["name"], "ra3");
}

// The lab's own sample: the description that was written by hand beside it says the same.
TEST(FieldDevice, AgreesWithTheSampleThatWasWrittenByHand) {
    const std::string samples = QO1905_SOURCE_DIR "/lab/samples/";
    const json derived = device_of(lab::read_input(samples + "home.dump.json"));
    const json by_hand = json::parse(lab::read_input(samples + "controller.device.json"));
    for (const char *member : {"role", "base_mac", "wifi", "known_devices"}) {
        EXPECT_EQ(derived[member], by_hand[member]) << member;
    }
}

}  // namespace
