// Reading JSON of any form: what is not there, or is something else, reads as absent.
#include "module/base/json.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/module_test.h"

using namespace qo1905;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> texts_of(const JsonItems &items) {
    std::vector<std::string> found;
    for (json_object *item : items) {
        const char *text = json_text(item, "a");
        found.emplace_back(text != nullptr ? text : "-");
    }
    return found;
}

TEST(JsonItems, WalksAnArrayWithItsNulls) {
    const JsonTree tree = json_parse(R"({"list": [{"a": "1"}, null, 5, {"b": "2"}, {"a": "3"}]})");
    const JsonItems items = json_items(tree.get(), "list");
    EXPECT_EQ(items.size(), 5U);
    EXPECT_THAT(texts_of(items), ElementsAre("1", "-", "-", "-", "3"));
    EXPECT_NE(items[4], nullptr);
    EXPECT_EQ(items[1], nullptr);
    EXPECT_EQ(items[5], nullptr);
    EXPECT_EQ(items[SIZE_MAX], nullptr);
}

TEST(JsonItems, WhatIsNoArrayHasNone) {
    for (const char *text :
         {"{}", R"({"list": null})", R"({"list": {}})", R"({"list": "[]"})", R"({"list": 7})", "[]"}) {
        const JsonTree tree = json_parse(text);
        const JsonItems items = json_items(tree.get(), "list");
        EXPECT_EQ(items.size(), 0U) << text;
        EXPECT_EQ(items[0], nullptr) << text;
        EXPECT_THAT(texts_of(items), IsEmpty()) << text;
        EXPECT_FALSE(json_is_array(json_member(tree.get(), "list"))) << text;
    }
    EXPECT_EQ(JsonItems(nullptr).size(), 0U);
}

TEST(JsonTexts, GiveWhatJsonTextGivesForEachKey) {
    constexpr char kKeys[3][4] = {"one", "two", "ten"};
    for (const char *text : {R"({"one": "1", "ten": "10", "two": "2"})", R"({"two": null, "one": 5, "other": "x"})",
                             "{}", "[]", "7", "null", R"({"on": "1", "onee": "2", "ten": {"a": []}})"}) {
        const JsonTree tree = json_parse(text);
        const char *texts[3] = {text, text, text};
        json_texts(tree.get(), kKeys, texts);
        for (int i = 0; i < 3; ++i) {
            EXPECT_STREQ(texts[i], json_text(tree.get(), kKeys[i])) << text << " " << kKeys[i];
        }
    }
}

TEST(JsonNumber, IsZeroWhereThereIsNone) {
    const JsonTree tree = json_parse(R"({"a": 5, "b": "7", "c": "x", "d": null, "e": [1]})");
    EXPECT_EQ(json_number(tree.get(), "a"), 5);
    EXPECT_EQ(json_number(tree.get(), "b"), 7);
    for (const char *key : {"c", "d", "e", "f"}) {
        EXPECT_EQ(json_number(tree.get(), key), 0) << key;
    }
    EXPECT_EQ(json_number(nullptr, "a"), 0);
}

TEST(JsonFile, IsReadWholeHoweverLongItIs) {
    write_file("/tmp/dump.txt", "{\"a\": \"" + std::string(300000, 'x') + "\"}");
    const JsonTree tree = json_read_file("/tmp/dump.txt");
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(std::string(json_text(tree.get(), "a")).size(), 300000U);
    for (const char *bad : {"", "{", "{\"a\": \"", "x"}) {
        write_file("/tmp/dump.txt", bad);
        EXPECT_EQ(json_read_file("/tmp/dump.txt"), nullptr) << bad;
    }
    EXPECT_EQ(json_read_file("/tmp/there-is-none"), nullptr);
    EXPECT_EQ(json_read_file("/tmp"), nullptr);
}

}  // namespace
