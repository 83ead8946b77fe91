// What is handed out while a gateway's files come, change and go.
#include "tests/serve/fixture.h"

using testing::HasSubstr;

namespace {

class FeedTest : public ServeTest {
protected:
    fs::path model() const { return mesh_ / "tmp/qo1905.json"; }
    Json missing() const { return mesh()["missing"]; }
};

TEST_F(FeedTest, WhatIsGoneLeavesTheLastGoodOneAndSaysWhy) {
    start();
    const Json before = mesh();
    fs::remove(model());
    ASSERT_TRUE(becomes_true([&] { return !missing().empty(); }));
    const Json gone = mesh();
    EXPECT_EQ(gone["missing"][0]["part"], "model");
    EXPECT_EQ(gone["missing"][0]["reason"], "No such file or directory");
    EXPECT_EQ(gone["devices"], before["devices"]);
    EXPECT_EQ(gone["stations"], before["stations"]);
    EXPECT_EQ(gone["time"], before["time"]);
    EXPECT_EQ(status_of(ask("/qo1905.json")), 200) << "the last good one";
    copy_example("home");
    ASSERT_TRUE(becomes_true([&] { return missing().empty(); }));
    EXPECT_EQ(events("wait=0")["last"], 0) << "a file that was gone is nothing that happened to the mesh";
}

TEST_F(FeedTest, ACutModelIsNeverHandedOut) {
    start();
    const std::string whole = file_text(model());
    write_file(model(), whole.substr(0, whole.size() / 2));
    ASSERT_TRUE(becomes_true([&] { return !missing().empty(); }));
    EXPECT_EQ(missing()[0]["kind"], "torn");
    EXPECT_EQ(mesh()["devices"].size(), 3U);
    EXPECT_EQ(body_of(ask("/qo1905.json")), whole);
    write_file(model(), "");
    ASSERT_TRUE(becomes_true([&] { return missing()[0]["reason"] == "is empty"; }));
    EXPECT_EQ(mesh()["stations"].size(), 15U);
}

TEST_F(FeedTest, AFolderThatGoesAndComesBackIsFollowed) {
    start();
    fs::rename(mesh_, folder_ / "away");
    ASSERT_TRUE(becomes_true([&] { return !missing().empty(); }));
    fs::rename(folder_ / "away", mesh_);
    EXPECT_TRUE(becomes_true([&] { return missing().empty(); }));
    copy_example("later");
    EXPECT_TRUE(becomes_true([&] { return events("wait=0")["last"] == 2; }));
}

TEST_F(FeedTest, ItStartsWithNothing) {
    fs::remove_all(mesh_);
    fs::create_directory(mesh_);
    start();
    const Json nothing = mesh();
    EXPECT_EQ(nothing["devices"], Json::array());
    EXPECT_EQ(nothing["missing"][0]["part"], "model");
    EXPECT_EQ(status_of(ask("/qo1905.json")), 404);
    copy_example("home");
    ASSERT_TRUE(becomes_true([&] { return mesh()["devices"].size() == 3; }));
    EXPECT_EQ(events("wait=0")["last"], 0) << "what was there before is no event";
}

TEST_F(FeedTest, ABundleIsServedAsItIs) {
    mesh_ = fs::path(QO1905_SOURCE_DIR) / "docs/examples/home/tmp/qo1905.json";
    start();
    EXPECT_EQ(mesh()["devices"].size(), 3U);
    EXPECT_THAT(missing().dump(), HasSubstr("not given"));
}

TEST_F(FeedTest, EventsAreKeptUpToANumberAndAGapIsTold) {
    auto source = reader::open_source(mesh_.string());
    serve::Feed feed(std::move(std::get<std::unique_ptr<reader::Source>>(source)), 100ms);
    const auto now = std::chrono::steady_clock::now();
    EXPECT_FALSE(feed.news_after(0, "", now).has_gap);
    feed.stop();
    EXPECT_EQ(feed.news_after(0, "", now + 1h).last, 0U) << "who is stopped waits for nothing";
}

}  // namespace
