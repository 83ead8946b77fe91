// The layout of the JSON files.
#include "module/output/json_writer.h"

#include <gtest/gtest.h>

#include <string>

using namespace qo1905;

namespace {

TEST(JsonWriterTest, ALineEndsWhenSomethingFollows) {
    MemoryText text;
    JsonWriter json(text);
    json.begin();
    json.number("a", 4294967295U);
    json.open("b");
    json.close();
    json.open_numbered("c.", 12);
    json.signed_number("d", -5);
    json.flag("e", true);
    json.word("f", "null");
    json.close();
    json.mac("g", {0, 1, 0xab, 3, 4, 0xff});
    json.list("h", R"("x", "y")");
    json.name("i", "plain");
    json.end();
    EXPECT_EQ(text.view(),
              "{\n"
              "\t\"a\": 4294967295,\n"
              "\t\"b\": {\n\n"
              "\t},\n"
              "\t\"c.12\": {\n"
              "\t\t\"d\": -5,\n"
              "\t\t\"e\": true,\n"
              "\t\t\"f\": null\n"
              "\t},\n"
              "\t\"g\": \"00:01:ab:03:04:ff\",\n"
              "\t\"h\": [ \"x\", \"y\" ],\n"
              "\t\"i\": \"plain\"\n"
              "}\n");
    EXPECT_EQ(json.size(), text.size());
}

TEST(JsonWriterTest, TextsOfOthersAreEscaped) {
    MemoryText text;
    JsonWriter json(text);
    json.begin();
    const char full[3] = {'a', '"', 'b'};
    json.text("field", full);
    json.text("plain", "x"sv);
    json.text("empty", ""sv);
    json.text("worst", std::string(100, '\1'));
    json.end();
    std::string worst;
    for (int i = 0; i < 100; ++i) {
        worst += "\\u0001";
    }
    EXPECT_EQ(text.view(), "{\n\t\"field\": \"a\\\"b\",\n\t\"plain\": \"x\",\n\t\"empty\": \"\",\n\t\"worst\": \"" +
                               worst + "\"\n}\n");
}

TEST(JsonWriterTest, IndentsNoFurtherThanItsTabs) {
    MemoryText text;
    JsonWriter json(text);
    json.begin();
    for (int i = 0; i < 30; ++i) {
        json.open("x");
    }
    json.number("y", 1);
    json.number("z", 2);
    const std::string tabs(15, '\t');
    EXPECT_NE(text.view().find("\n" + tabs + "\"y\": 1,\n" + tabs + "\"z\": 2"), Text::npos);
}

}  // namespace
