#include "module/base/text.h"

#include <gtest/gtest.h>

#include <string>

using namespace qo1905;

namespace {

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

TEST(BoundedTextTest, TakesAPieceBackThatDidNotFit) {
    BoundedText<6> text;
    text.append("abc");
    text.append("defg");
    EXPECT_TRUE(text.truncated());
    text.cut(3);
    EXPECT_EQ(text.view(), "abc");
    EXPECT_EQ(text.c_str()[3], '\0');
    text.append("de");
    EXPECT_EQ(text.view(), "abcde");
    EXPECT_FALSE(text.truncated());
}

// The low 32 bits beyond the range: a channel has to be in the same band on every CPU.
TEST(TextNumber, IsTheSameOnEveryCpu) {
    EXPECT_EQ(text_number("149"), 149);
    EXPECT_EQ(text_number(" -7x"), -7);
    EXPECT_EQ(text_number("x"), 0);
    EXPECT_EQ(text_number(""), 0);
    EXPECT_EQ(text_number("2147483647"), 2147483647);
    EXPECT_EQ(text_number("4294967297"), 1);
    EXPECT_EQ(text_number("99999999999999999999"), -1);
}

}  // namespace
