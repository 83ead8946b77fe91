#include "cli/text.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

TEST(VisibleText, PlainTextStaysAsItIs) {
    for (const char *text :
         {"", "phone-anna", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x93\xb1", "a\\b \"c\" 'd' $(e) <f>"}) {
        EXPECT_EQ(cli::visible(text), text);
    }
}

TEST(VisibleText, NothingThatATerminalObeysGoesOut) {
    EXPECT_EQ(cli::visible("\x1b[31mred\x1b[0m"), "\\x1b[31mred\\x1b[0m");
    EXPECT_EQ(cli::visible("a\tb\nc\rd\x07\x08"), "a\\x09b\\x0ac\\x0dd\\x07\\x08");
    EXPECT_EQ(cli::visible(std::string("\0\x7f", 2)), "\\x00\\x7f");
    EXPECT_EQ(cli::visible("\xc2\x9b"
                           "31m"),
              "\\u009b31m")
        << "one byte of a C1 control";
    EXPECT_EQ(cli::visible("\xe2\x80\xaegnp.exe"), "\\u202egnp.exe") << "text turned round";
    EXPECT_EQ(cli::visible("\xe2\x80\x8b\xef\xbb\xbf\xc2\xad"), "\\u200b\\ufeff\\u00ad");
    EXPECT_EQ(cli::visible("\xf3\xa0\x81\x81"), "\\ue0041") << "a tag";
    EXPECT_EQ(cli::visible("\xe2\x80\xa8"), "\\u2028");
}

TEST(VisibleText, EveryByteThatIsNoTextIsHarmless) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string shown = cli::visible(std::string("a") + static_cast<char>(byte));
        for (const char c : shown) {
            EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f) << byte;
        }
    }
}

class Columns : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
};

TEST_F(Columns, AreCountedAsATerminalDoes) {
    EXPECT_EQ(cli::width("abc"), 3U);
    EXPECT_EQ(cli::width("caf\xc3\xa9"), 4U);
    EXPECT_EQ(cli::width("cafe\xcc\x81"), 4U) << "a combining accent takes none";
    EXPECT_EQ(cli::width("\xe6\x97\xa5\xe6\x9c\xac"), 4U) << "wide characters take two";
}

TEST_F(Columns, ATextIsCutWithinThem) {
    EXPECT_EQ(cli::cut("abcdef", 6), "abcdef");
    EXPECT_EQ(cli::cut("abcdefg", 6), "abcde\xe2\x80\xa6");
    EXPECT_EQ(cli::cut("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", 4), "\xe6\x97\xa5\xe2\x80\xa6");
    EXPECT_EQ(cli::width(cli::cut(std::string(100000, 'x'), 32)), 32U);
    EXPECT_EQ(cli::cut("", 0), "");
    EXPECT_EQ(cli::cut("\x1b[31mabc\x1b[0m", 3), "\x1b[31mabc\x1b[0m") << "our own colours take no room";
    EXPECT_EQ(cli::cut("\x1b[31mabcd\x1b[0m", 3), "\x1b[31mab\xe2\x80\xa6");
    EXPECT_EQ(cli::width("\x1b[31mabc\x1b["), 3U);
}

TEST_F(Columns, ATextIsFilledUpToThem) {
    EXPECT_EQ(cli::pad("ab", 4), "ab  ");
    EXPECT_EQ(cli::pad("ab", 4, true), "  ab");
    EXPECT_EQ(cli::pad("abcde", 4), "abcde");
    EXPECT_EQ(cli::pad("\xe6\x97\xa5", 4), "\xe6\x97\xa5  ");
}

}  // namespace
