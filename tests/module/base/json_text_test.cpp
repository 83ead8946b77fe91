#include "module/base/json_text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using namespace qo1905;

namespace {

std::string escaped(std::string_view text) {
    std::string out;
    escape_json(text, [&out](std::string_view piece) { out += piece; });
    return out;
}

TEST(JsonText, EveryControlCharacterIsEscaped) {
    for (int c = 0; c < 0x20; ++c) {
        const char text[] = {static_cast<char>(c)};
        char expected[8];
        std::snprintf(expected, sizeof(expected), "\\u%04x", static_cast<unsigned>(c));
        const std::string shown = escaped({text, 1});
        const std::string shorthand = c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\t' ? "\\t" : expected;
        EXPECT_EQ(shown, shorthand);
    }
}

TEST(JsonText, Utf8AtItsEdges) {
    for (const char *good : {"\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80", "\xef\xbf\xbf",
                             "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_EQ(escaped(good), good);
        EXPECT_TRUE(is_plain_json_text(good));
    }
    for (const char *bad : {"\x80", "\xbf", "\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
                            "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xfe", "\xff", "\xe1\x80", "\xf1\x80\x80",
                            "\xe1\x80x", "\xf1\x80\x80x"}) {
        EXPECT_FALSE(is_plain_json_text(bad));
        EXPECT_EQ(escaped(bad).find("\xEF\xBF\xBD"), 0U);
    }
}

TEST(JsonText, PlainTextStandsAsItIs) {
    for (const char *plain : {"", "a b", "\x7f", "/'<>&", "gr\xc3\xbc\xc3\x9f"}) {
        EXPECT_TRUE(is_plain_json_text(plain)) << plain;
        EXPECT_EQ(escaped(plain), plain);
    }
    for (const char *other : {"\"", "\\", "\n", "a\x01"}) {
        EXPECT_FALSE(is_plain_json_text(other)) << other;
    }
    EXPECT_EQ(escaped("a\"b\\c"), "a\\\"b\\\\c");
}

}  // namespace
