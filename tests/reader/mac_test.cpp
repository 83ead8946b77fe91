#include "reader/mac.h"

#include <gtest/gtest.h>

using reader::Mac;

namespace {

TEST(Mac, IsSixBytesWithColons) {
    EXPECT_EQ(Mac::parse("02:0A:ff:00:00:01")->text(), "02:0a:ff:00:00:01");
    EXPECT_EQ(Mac::parse("ff:ff:ff:ff:ff:ff")->text(), "ff:ff:ff:ff:ff:ff");
    for (const char *text : {"", "02", "02:0a:ff:00:00:0", "02:0a:ff:00:00:011", "02-0a-ff-00-00-01",
                             "02:0a:ff:00:00:0g", "02:0a:ff:00:00:0 ", " 2:0a:ff:00:00:01", "00:00:00:00:00:00"}) {
        EXPECT_FALSE(Mac::parse(text).has_value()) << text;
    }
}

TEST(Mac, IsOrderedByItsBytes) {
    EXPECT_LT(*Mac::parse("02:00:00:00:00:ff"), *Mac::parse("02:00:00:00:01:00"));
    EXPECT_EQ(*Mac::parse("02:00:00:00:00:aa"), *Mac::parse("02:00:00:00:00:AA"));
}

TEST(Mac, ThatAStationChoseItselfIsLocallyAdministered) {
    EXPECT_TRUE(Mac::parse("02:00:00:00:00:01")->is_random());
    EXPECT_TRUE(Mac::parse("da:a1:19:00:00:01")->is_random());
    EXPECT_FALSE(Mac::parse("00:1b:63:00:00:01")->is_random());
    EXPECT_FALSE(Mac::parse("f4:f5:d8:00:00:01")->is_random());
}

}  // namespace
