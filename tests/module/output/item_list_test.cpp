#include "module/output/item_list.h"

#include <gtest/gtest.h>

using namespace qo1905;

namespace {

TEST(ItemListTest, HoldsWhatFitsWhole) {
    ItemList<12> list;
    list.begin();
    EXPECT_EQ(list.view(), "");
    list.add("abc");
    EXPECT_EQ(list.view(), R"("abc")");
    list.add("abcd");  // with its comma one character too long
    EXPECT_EQ(list.view(), R"("abc")");
    EXPECT_TRUE(list.full());
    list.add("a");  // would fit, but one before it is missing already
    EXPECT_EQ(list.view(), R"("abc")");
}

TEST(ItemListTest, FillsItsBufferToTheLastByte) {
    ItemList<12> list;
    list.begin();
    list.add("abc");
    list.add("de");
    EXPECT_EQ(list.view(), R"("abc", "de")");
    EXPECT_FALSE(list.full());
}

TEST(ItemListTest, KeepsTheListBeforeUntilThereIsAnItem) {
    ItemList<12> list;
    list.begin();
    list.add("abc");
    list.begin();
    EXPECT_EQ(list.view(), R"("abc")");
    list.add("x");
    EXPECT_EQ(list.view(), R"("x")");
}

}  // namespace
