// Every code and the gaps between, once more by hand. What a whole file shows of them is in the mesh "every_code".
#include "module/output/code_names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace qo1905;

namespace {

// The names of the codes from 0 on, then of some far beyond.
void expect_names(CodeTable table, const std::vector<std::string> &names, const std::string &otherwise) {
    for (std::uint32_t code = 0; code < names.size(); ++code) {
        EXPECT_EQ(code_name(table, code), names[code]) << code;
    }
    for (const std::uint32_t code : {static_cast<std::uint32_t>(names.size()), 255U, 0xfffeU, 0xffffU, 0x10000U, ~0U}) {
        EXPECT_EQ(code_name(table, code), otherwise) << code;
    }
}

TEST(CodeNames, OfEveryTable) {
    expect_names(CodeTable::kAlStatus, {"UP", "Down", "Unknown", "Dormant", "NotPresent", "LowerLayerDown", "Error"},
                 "Unknown");
    expect_names(CodeTable::kInterfaceStatus,
                 {"Up", "Down", "Unknown", "Dormant", "NotPresent", "LowerLayerDown", "Error"}, "Unknown");
    expect_names(CodeTable::kPowerState, {"On", "Power_Save", "Off", "Unspported"}, "Unknown");
    expect_names(CodeTable::kTopologyStatus, {"Incomplete", "Available", "Error_Misconfigured"}, "Unknown");
    expect_names(CodeTable::kTopologyEnable, {"false", "true"}, "null");
    expect_names(CodeTable::kSetupMethod, {"UCPK", "PBC", "NFCNK"}, "Unknown");
    expect_names(CodeTable::kEventType, {"NewNeighbor", "LostNeighbor"}, "");
    expect_names(CodeTable::kNeighborType, {"IEEE1905", "Non-IEEE1905"}, "Unknown");
    expect_names(CodeTable::kDeviceType, {"Registrar"}, "Enrollee");
}

TEST(CodeNames, OfMediaTypes) {
    const std::vector<std::string> names = {
        "IEEE 802.11b(IEEE 802.11b (2.4GHz))",   "IEEE 802.11g(IEEE 802.11g (2.4GHz))",
        "IEEE 802.11a(IEEE 802.11a (5GHz))",     "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))",
        "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))", "IEEE 802.11ac(IEEE 802.11ac (5GHz))",
        "IEEE 802.11ad(IEEE 802.11ad (60GHz))",  "IEEE 802.11af (IEEE 802.11af)"};
    for (std::uint32_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(media_type_name(0x100 + i), names[i]);
        EXPECT_TRUE(is_wifi_media_type(0x100 + i));
    }
    for (const std::uint32_t code : {0U, 1U, 0xffU, 0x108U, 0x200U}) {
        EXPECT_FALSE(is_wifi_media_type(code)) << code;
    }
    EXPECT_EQ(media_type_name(0), "IEEE 802.3u(IEEE 802.3u Fast Ethernet)");
    EXPECT_EQ(media_type_name(1), "IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)");
    for (const std::uint32_t code : {2U, 0xffffU, 0x10000U, 0x10103U, ~0U}) {
        EXPECT_EQ(media_type_name(code), "Unknown") << code;
    }
    EXPECT_EQ(media_type_name(0xff), "Unknown");
    EXPECT_EQ(media_type_name(0x108), "Unknown");
    EXPECT_EQ(media_type_name(0x200), "IEEE 1901 Wavelet(IEEE 1901 Wavelet)");
    EXPECT_EQ(media_type_name(0x201), "IEEE 1901 FFT(IEEE 1901 FFT)");
    EXPECT_EQ(media_type_name(0x300), "MoCAv1.1(MoCAv1.1)");
}

}  // namespace
