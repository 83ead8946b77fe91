#include "module/model/dump_bytes.h"

#include <gtest/gtest.h>

#include "tests/support/failing_allocations.h"

using namespace qo1905;

namespace {

TEST(DumpBytesTest, AreToldInTheOrderOfTheList) {
    const qo1905_device devices[3] = {};
    ASSERT_TRUE(begin_dump_bytes(2));
    add_dump_bytes(devices[0], 100);
    add_dump_bytes(devices[2], 300);
    DumpBytes bytes;
    EXPECT_EQ(bytes.of(devices[0]), 100U);
    EXPECT_EQ(bytes.of(devices[1]), kUnknownBytes);  // a host's own, put between
    EXPECT_EQ(bytes.of(devices[2]), 300U);
    EXPECT_EQ(bytes.of(devices[2]), kUnknownBytes);
    forget_dump_bytes();
    EXPECT_EQ(DumpBytes().of(devices[0]), kUnknownBytes);
}

TEST(DumpBytesTest, WithoutMemorySayNo) {
    fail_allocation(1);
    EXPECT_FALSE(begin_dump_bytes(2));
    allocate_again();
}

}  // namespace
