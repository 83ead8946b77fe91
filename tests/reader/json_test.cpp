#include "reader/json.h"

#include <gmock/gmock.h>

using reader::Json;
using testing::HasSubstr;

namespace {

TEST(ReadJson, TellsTheLineOfAMistake) {
    std::string reason;
    EXPECT_FALSE(reader::parse_json("{\n\"a\": 1,\n}", reason));
    EXPECT_THAT(reason, testing::StartsWith("line 3: no JSON: "));
    EXPECT_FALSE(reader::parse_json("", reason));
    EXPECT_FALSE(reader::parse_json("1e999", reason));
    EXPECT_THAT(reason, HasSubstr("no JSON"));
}

// The module prints a line end into one list, and a dump may hold any bytes.
TEST(ReadJson, TakesBytesThatStringsMayNotHold) {
    std::string reason;
    const auto json =
        reader::parse_json("{\"a\": \"x\ny\", \"b\": \"\xff\xc3\xa9\xe2\x82\", \"c\": \"\\\"\\u0041\"}", reason);
    ASSERT_TRUE(json) << reason;
    EXPECT_EQ((*json)["a"], "x\xef\xbf\xbdy");
    EXPECT_EQ((*json)["b"], "\xef\xbf\xbd\xc3\xa9\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ((*json)["c"], "\"A");
}

TEST(ReadJson, WhatIsNotThereOrOfAnotherTypeIsAbsent) {
    const Json json =
        Json::parse(R"({"text": "t", "number": 7, "signal": "-61", "list": [1], "mac": "02:00:00:00:00:01"})");
    EXPECT_EQ(reader::text_of(json, "text"), "t");
    EXPECT_EQ(reader::text_of(json, "number"), std::nullopt);
    EXPECT_EQ(reader::text_of(Json(1), "text"), std::nullopt);
    EXPECT_EQ(reader::number_of(json, "number", 0, 10), 7);
    EXPECT_EQ(reader::number_of(json, "number", 8, 10), std::nullopt);
    EXPECT_EQ(reader::number_of(json, "signal", -100, 0), -61);
    EXPECT_EQ(reader::number_of(json, "text", 0, 10), std::nullopt);
    EXPECT_EQ(reader::number_of(json, "list", 0, 10), std::nullopt);
    EXPECT_EQ(reader::items(json, "list").size(), 1U);
    EXPECT_EQ(reader::items(json, "text").size(), 0U);
    EXPECT_TRUE(reader::mac_of(json, "mac").has_value());
    EXPECT_FALSE(reader::mac_of(json, "text").has_value());
    EXPECT_EQ(reader::number_of(Json::parse(R"({"n": 18446744073709551615})"), "n", 0, INT32_MAX), std::nullopt);
    EXPECT_EQ(reader::number_of(Json::parse(R"({"n": "12 "})"), "n", 0, 20), std::nullopt);
}

TEST(ReadJson, NumberedKeysAreAPrefixADotAndDigits) {
    EXPECT_TRUE(reader::is_numbered("Interface.1", "Interface"));
    EXPECT_TRUE(reader::is_numbered("Interface.4711", "Interface"));
    for (const char *key :
         {"Interface", "Interface.", "Interface.x", "Interface.1x", "Interfaces.1", "NonInterface.1", ""}) {
        EXPECT_FALSE(reader::is_numbered(key, "Interface")) << key;
    }
}

}  // namespace
