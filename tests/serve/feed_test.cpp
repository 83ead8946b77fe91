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

TEST_F(FeedTest, StationsThatOnlyTheDumpTellsOfHaveNotLeftWhileItIsAway) {
    start();
    const std::string dump = file_text(mesh_ / "tmp/dump.txt");
    fs::remove(mesh_ / "tmp/dump.txt");
    ASSERT_TRUE(becomes_true([&] { return mesh()["stations"].size() == 12; }));
    EXPECT_EQ(events("wait=0")["events"], Json::array());
    // The gateway's own doorbell is another when it is back.
    std::string other = dump;
    const std::string doorbell = "02:57:00:00:00:01";
    for (std::size_t at = 0; (at = other.find(doorbell, at)) != std::string::npos;) {
        other.replace(at, doorbell.size(), "02:57:00:00:00:99");
    }
    ASSERT_NE(other, dump);
    write_file(mesh_ / "tmp/dump.txt", other);
    ASSERT_TRUE(becomes_true([&] { return events("wait=0")["last"] == 2; }));
    const Json told = events("wait=0")["events"];
    EXPECT_EQ(told[0]["event"], "leave");
    EXPECT_EQ(told[0]["station"], doorbell);
    EXPECT_EQ(told[1]["event"], "join");
    EXPECT_EQ(told[1]["station"], "02:57:00:00:00:99");
}

TEST_F(FeedTest, WhatIsWrittenByItselfIsHandedOutToo) {
    start();
    write_file(mesh_ / "tmp/qo1905_log.json", "{\"ChangeLogNumberOfEntries\":0}\n");
    EXPECT_TRUE(becomes_true([&] { return status_of(ask("/qo1905_log.json")) == 200; }));
}

TEST_F(FeedTest, WithoutAModelYetTheDumpIsFollowed) {
    fs::remove(model());
    start();
    EXPECT_EQ(mesh()["missing"][0]["part"], "model");
    const std::size_t before = mesh()["stations"].size();
    fs::remove(mesh_ / "tmp/dump.txt");
    EXPECT_TRUE(becomes_true([&] { return mesh()["stations"].size() < before; }));
}

TEST_F(FeedTest, WhoIsStoppedWaitsForNothing) {
    auto source = reader::open_source(mesh_.string());
    serve::Feed feed(std::move(std::get<std::unique_ptr<reader::Source>>(source)), 100ms);
    feed.stop();
    EXPECT_EQ(feed.news_after(0, "", std::chrono::steady_clock::now() + 1h).last, 0U);
}

// Two meshes in turn, with other stations in each.
class Turning : public reader::Source {
public:
    Turning(reader::Inputs one, reader::Inputs other) : states_{std::move(one), std::move(other)} {}
    reader::Inputs read() override { return states_[static_cast<std::size_t>(++reads_ % 2)]; }

private:
    reader::Inputs states_[2];
    int reads_ = 0;
};

std::string with_other_stations(std::string text) {
    for (std::size_t at = 0; (at = text.find("02:57:", at)) != std::string::npos;) {
        text.replace(at, 6, "02:58:");
    }
    return text;
}

TEST_F(FeedTest, EventsAreKeptUpToANumberAndToldUpToAnother) {
    auto source = reader::open_source(mesh_.string());
    const reader::Inputs one = std::get<std::unique_ptr<reader::Source>>(source)->read();
    reader::Inputs other = one;
    other.model.text = with_other_stations(other.model.text);
    other.dump.text = with_other_stations(other.dump.text);
    serve::Feed feed(std::make_unique<Turning>(one, other), 1ms);
    const auto soon = [] { return std::chrono::steady_clock::now() + 30s; };
    std::uint64_t last = 0;
    while (last < 10100) {
        const auto news = feed.news_after(last, "", soon());
        ASSERT_LE(news.events.size(), 1000U);
        ASSERT_FALSE(news.events.empty());
        EXPECT_EQ(news.events.front().number, last + 1) << "none is left out";
        last = news.last;
    }
    const auto from_the_start = feed.news_after(0, "", soon());
    EXPECT_TRUE(from_the_start.has_gap);
    EXPECT_EQ(from_the_start.events.size(), 1000U);
    EXPECT_GT(from_the_start.events.front().number, 100U);
    EXPECT_EQ(from_the_start.last, from_the_start.events.back().number);
    EXPECT_FALSE(feed.news_after(last - 1, "", soon()).has_gap);
}

}  // namespace
