#include "module/base/shell.h"

#include <gtest/gtest.h>

#include <string>

using namespace qo1905;

namespace {

std::string quoted(std::string_view text) {
    BoundedText<256> out;
    append_quoted_json(out, text);
    return std::string(out.view());
}

TEST(QuotedJson, IsEscapedTwice) {
    EXPECT_EQ(quoted("plain 1.0"), "plain 1.0");
    EXPECT_EQ(quoted("\""), "\\\\\\\"");
    EXPECT_EQ(quoted("\\"), "\\\\\\\\");
    EXPECT_EQ(quoted("$`'!"), "\\$\\`'!");
    EXPECT_EQ(quoted("\n"), "\\\\n");
}

TEST(BareText, TakesWordsOfHarmlessCharactersOnly) {
    EXPECT_EQ(bare_words(""), 0);
    EXPECT_EQ(bare_words(" \t"), 0);
    for (const char *good : {"02:57:00:00:00:01", "A.b_c-d", " x", "0", "\tx "}) {
        EXPECT_EQ(bare_words(good), 1) << good;
    }
    EXPECT_EQ(bare_words("a b\tc"), 3);
    for (const char *bad : {"-x",  "a -x", "a\t-x", "a\nb", "a\n", "\r",  "a;b", "a&b",  "a|b",     "$a",
                            "`a`", "'a'",  "\"a\"", "a\\b", "a/b", "~",   "*",   "?",    "[a]",     "{a}",
                            "(a)", "<a",   ">a",    "#a",   "!a",  "a=b", "%a",  "\x7f", "\xc3\xa9"}) {
        EXPECT_EQ(bare_words(bad), -1) << bad;
    }
    EXPECT_EQ(bare_words(std::string_view("a\0b", 3)), -1);
}

TEST(ProcessIdLine, IsOneNumberAboveOne) {
    for (const char *good : {"2", "1234", " 1234\n", "\t77 \n", "999999999"}) {
        EXPECT_TRUE(is_process_id_line(good)) << good;
    }
    for (const char *bad : {"", "\n", "0", "1", "-1", "+5", "12 13", "12x", "x12", "0x10", "9999999999", "12\n13",
                            "77\r\n", "77\r", "7\r7", "12\n\n", "\n12", "1.5"}) {
        EXPECT_FALSE(is_process_id_line(bad)) << bad;
    }
}

}  // namespace
