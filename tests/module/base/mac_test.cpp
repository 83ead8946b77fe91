#include "module/base/mac.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

using namespace qo1905;

namespace {

bool same_mac(const Mac &a, const Mac &b) { return std::memcmp(a, b, sizeof(Mac)) == 0; }

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

TEST(MacField, FullToItsEndIsReadNoFurther) {
    const char field[5] = {'0', '2', ':', '1', 'a'};
    Mac mac = {9, 9, 9, 9, 9, 9};
    parse_mac_field(field, mac);
    const Mac expected = {0x02, 0x1a, 9, 9, 9, 9};
    EXPECT_TRUE(same_mac(mac, expected));
}

}  // namespace
