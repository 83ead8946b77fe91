// Who pays for how much of the model's text.
#include "module/output/device_share.h"

#include <gtest/gtest.h>

#include <string>

#include "module/model/dump_bytes.h"

using namespace qo1905;

namespace {

constexpr std::size_t kFree = 4096;   // of every device
constexpr std::size_t kObject = 512;  // room that an object may need

class DeviceShareTest : public testing::Test {
protected:
    // Writes as many bytes as a share allows, in small pieces; returns their number.
    std::size_t write_all_it_allows(DeviceShare &share) {
        const std::size_t start = json_.size();
        while (share.allows_object()) {
            text_.put("0123456789");
        }
        return json_.size() - start;
    }

    MemoryText text_;
    JsonWriter json_{text_};
};

TEST_F(DeviceShareTest, IsFourKilobytesAndEightBytesForEachOfTheDump) {
    std::size_t pool = 0;
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{100}, std::size_t{5000}}) {
        DeviceShare share(json_, bytes, pool);
        const std::size_t most = kFree + 8 * bytes - kObject;
        const std::size_t written = write_all_it_allows(share);
        EXPECT_LE(written, most + 10);
        EXPECT_GT(written, most);
        EXPECT_TRUE(share.is_cut());
    }
}

TEST_F(DeviceShareTest, HalfOfThePoolIsTheMostThatOneGets) {
    std::size_t pool = 100000;
    {
        DeviceShare share(json_, 0, pool);
        EXPECT_NEAR(static_cast<double>(write_all_it_allows(share)), kFree + 50000 - kObject, 10);
    }
    EXPECT_NEAR(static_cast<double>(pool), 50000 + kObject, 10);
    {
        const DeviceShare modest(json_, 0, pool);
        text_.put(std::string(kFree, 'x'));
    }
    EXPECT_NEAR(static_cast<double>(pool), 50000 + kObject, 10);
}

TEST_F(DeviceShareTest, OnceSpentStaysSpent) {
    std::size_t pool = 0;
    DeviceShare share(json_, 0, pool);
    EXPECT_FALSE(share.is_cut());
    write_all_it_allows(share);
    EXPECT_TRUE(share.is_cut());
    EXPECT_FALSE(share.allows_object());
}

TEST_F(DeviceShareTest, WhatTheHostPutInIsNeverCut) {
    std::size_t pool = 1000;
    {
        DeviceShare share(json_, kUnknownBytes, pool);
        text_.put(std::string(1000000, 'x'));
        EXPECT_TRUE(share.allows_object());
    }
    EXPECT_EQ(pool, 1000U);
}

TEST_F(DeviceShareTest, ThePoolNeverGoesBelowZero) {
    std::size_t pool = 10;
    {
        const DeviceShare share(json_, 0, pool);
        text_.put(std::string(100000, 'x'));
    }
    EXPECT_EQ(pool, 0U);
}

}  // namespace
