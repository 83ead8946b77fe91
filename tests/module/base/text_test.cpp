// Bounded texts, JSON escapes, MACs and what may stand in a command.
#include "module/base/text.h"
#include "module/base/json_text.h"
#include "module/base/mac.h"
#include "module/base/shell.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

using namespace qo1905;

namespace {

std::string escaped(std::string_view text) {
    std::string out;
    escape_json(text, [&out](std::string_view piece) { out += piece; });
    return out;
}

std::string quoted(std::string_view text) {
    SendPayload out;
    append_quoted_json(out, text);
    return std::string(out.view());
}

TEST(FieldText, FillsWithoutATerminatorAndClearsTheRest) {
    char field[4] = {'x', 'x', 'x', 'x'};
    fill_field(field, "ab");
    EXPECT_EQ(std::string(field, 4), std::string("ab\0\0", 4));
    fill_field(field, "abcdef");
    EXPECT_EQ(std::string(field, 4), "abcd");
    EXPECT_EQ(field_text(field), "abcd");
    fill_field(field, nullptr);
    EXPECT_EQ(field_text(field), "");
}

TEST(FieldText, IsComparedWholeAlsoWithoutATerminator) {
    const char full[4] = {'a', 'b', 'c', 'd'};
    EXPECT_TRUE(field_is(full, "abcd"));
    EXPECT_FALSE(field_is(full, "abc"));
    const char shorter[4] = "ab";
    EXPECT_TRUE(field_is(shorter, "ab"));
    EXPECT_FALSE(field_is(shorter, "a"));
    EXPECT_FALSE(field_is(shorter, "abc"));
    EXPECT_FALSE(field_is(shorter, ""));
}

TEST(Numbers, ArePrintedAsTheCLibraryPrintsThem) {
    constexpr std::uint32_t kBits = 32;
    for (std::uint32_t bit = 0; bit < kBits; ++bit) {
        for (const int more : {-1, 0, 1}) {
            const std::uint32_t value = (std::uint32_t{1} << bit) + static_cast<std::uint32_t>(more);
            char text[kMaxDigits + 1] = {};
            EXPECT_EQ(*print_number(text, value), '\0');
            EXPECT_EQ(text, std::to_string(value));
            char with_sign[kMaxDigits + 1] = {};
            EXPECT_EQ(*print_signed(with_sign, static_cast<std::int32_t>(value)), '\0');
            EXPECT_EQ(with_sign, std::to_string(static_cast<std::int32_t>(value)));
        }
    }
    for (std::uint32_t value = 0; value <= 1000; ++value) {
        char text[kMaxDigits + 1] = {};
        print_number(text, value);
        EXPECT_EQ(text, std::to_string(value));
    }
}

TEST(BoundedTextTest, KeepsWhatFitsAndRemembersThatItCut) {
    BoundedText<6> text;
    text.append("abc");
    text.append_number(4294967295U);
    EXPECT_EQ(text.view(), "abc42");
    EXPECT_TRUE(text.truncated());
    text.append("x");
    EXPECT_EQ(std::string(text.c_str()), "abc42");
    text.cut(3);
    EXPECT_FALSE(text.truncated());
    text.append_number(0);
    EXPECT_EQ(text.view(), "abc0");
    text.clear();
    EXPECT_EQ(text.view(), "");
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

TEST(QuotedJson, IsEscapedTwice) {
    EXPECT_EQ(quoted("plain 1.0"), "plain 1.0");
    EXPECT_EQ(quoted("\""), "\\\\\\\"");
    EXPECT_EQ(quoted("\\"), "\\\\\\\\");
    EXPECT_EQ(quoted("$`'!"), "\\$\\`'!");
    EXPECT_EQ(quoted("\n"), "\\\\n");
}

TEST(MacText, PrintsPairsOfLowerCaseDigits) {
    char text[kMacTextLength];
    print_mac({0x02, 0x0a, 0xff, 0x00, 0x90, 0x09}, text);
    EXPECT_EQ(std::string(text, sizeof(text)), "02:0a:ff:00:90:09");
}

TEST(MacText, ForPrintfHasOrLacksLeadingZeros) {
    const Mac mac = {0x02, 0x0a, 0xff, 0x00, 0x10, 0x09};
    EXPECT_STREQ(MacText(mac, MacForm::kFull).c_str(), "02:0a:ff:00:10:09");
    EXPECT_STREQ(MacText(mac, MacForm::kShort).c_str(), "2:a:ff:0:10:9");
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

// The fast path takes the plain form only and must agree with the C library on it, and leave all else to it.
TEST(MacText, ParsesAsTheCLibraryDoes) {
    std::mt19937 random(1905);
    const char alphabet[] = "0123456789abcdefABCDEF:: -+xX,g";
    std::uniform_int_distribution<std::size_t> letter(0, sizeof(alphabet) - 2);
    std::uniform_int_distribution<int> percent(0, 99);
    for (int i = 0; i < 200000; ++i) {
        char text[40] = "02:1a:3B:ff:00:9c";
        for (char &c : text) {
            if (c != '\0' && percent(random) < 8) {
                c = alphabet[letter(random)];
            }
        }
        if (percent(random) < 20) {
            text[percent(random) % 20] = percent(random) < 50 ? '\0' : '7';
        }
        Mac ours = {9, 9, 9, 9, 9, 9};
        Mac theirs = {9, 9, 9, 9, 9, 9};
        parse_mac(text, ours);
        (void)std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &theirs[0], &theirs[1], &theirs[2], &theirs[3],
                          &theirs[4], &theirs[5]);
        ASSERT_TRUE(same_mac(ours, theirs)) << text;
    }
}

TEST(MacText, ParsesEveryCharacterAtEveryPlaceAsTheCLibraryDoes) {
    for (std::size_t place = 0; place <= kMacTextLength; ++place) {
        for (int c = 0; c < 256; ++c) {
            char text[40] = "02:1a:3B:ff:00:9c";
            text[place] = static_cast<char>(c);
            Mac ours = {9, 9, 9, 9, 9, 9};
            Mac theirs = {9, 9, 9, 9, 9, 9};
            parse_mac(text, ours);
            (void)std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &theirs[0], &theirs[1], &theirs[2], &theirs[3],
                              &theirs[4], &theirs[5]);
            ASSERT_TRUE(same_mac(ours, theirs)) << place << ": " << c;
        }
    }
}

}  // namespace
