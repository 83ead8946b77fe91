// What a server answers about the past, of any database and any question.
#include <atomic>

#include "history/recorder.h"
#include "reader/json_form.h"
#include "tests/serve/fixture.h"

using testing::HasSubstr;

namespace {

constexpr history::Number kStart = 1760000000;

class ChronicleTest : public ServeTest {
protected:
    // A moment of the example, at that time.
    reader::Snapshot moment(history::Number time) const {
        auto source = reader::open_source(mesh_.string());
        reader::Snapshot moment = reader::make_snapshot(std::get<std::unique_ptr<reader::Source>>(source)->read());
        moment.time = reader::time_of(time);
        return moment;
    }

    void record(const std::string &home, history::Number from, history::Number until) const {
        history::Recorder recorder(database_, {});
        for (history::Number time = from; time < until; time += 20) {
            recorder.take(home, moment(time), static_cast<double>(time));
        }
        recorder.commit();
    }

    void start_with(const std::string &home = "") {
        serve::Wanted wanted;
        wanted.memory = {database_, home, !home.empty()};
        start(wanted);
    }

    Json answer(const std::string &path) const { return Json::parse(body_of(ask("/api/v1/history" + path))); }
    int status(const std::string &path) const { return status_of(ask("/api/v1/history" + path)); }

    std::string database_;

    void SetUp() override {
        ServeTest::SetUp();
        database_ = (folder_ / "history.db").string();
    }
};

TEST_F(ChronicleTest, WithoutADatabaseEveryQuestionSaysSo) {
    start();
    for (const char *path :
         {"", "/mesh?at=5", "/who?mac=02:57:00:00:00:24", "/counts", "/gaps", "/roamers", "/sticky"}) {
        EXPECT_EQ(status(path), 404) << path;
        EXPECT_THAT(answer(path)["error"], HasSubstr("serve --db FILE")) << path;
    }
}

TEST_F(ChronicleTest, ADatabaseMayComeAndGo) {
    start_with();
    EXPECT_EQ(status(""), 404);
    record("home", kStart, kStart + 100);
    EXPECT_EQ(answer("")["first"], "2025-10-09T08:53:20Z");
    EXPECT_EQ(answer("")["last"], "2025-10-09T08:54:40Z");
    fs::remove(database_);
    EXPECT_EQ(status(""), 404);
    write_file(database_, "no database at all, but some text that is long enough to be read as one by mistake\n");
    EXPECT_EQ(status(""), 503);
    EXPECT_THAT(answer("")["error"], HasSubstr("history.db"));
}

TEST_F(ChronicleTest, TheMeshAsItWasIsASnapshot) {
    record("home", kStart, kStart + 100);
    start_with();
    const Json then = answer("/mesh?at=" + std::to_string(kStart + 50));
    EXPECT_EQ(then["time"], "2025-10-09T08:54:00Z");
    EXPECT_EQ(then["source"], "home");
    EXPECT_EQ(then["devices"].size(), 3U);
    EXPECT_EQ(then["stations"].size(), 15U);
    EXPECT_EQ(status("/mesh?at=" + std::to_string(kStart - 1)), 404);
    EXPECT_EQ(status("/mesh?at=" + std::to_string(kStart + 100000)), 404);
    EXPECT_EQ(status("/mesh"), 400);
    EXPECT_EQ(status("/mesh?at=yesterday"), 400);
}

TEST_F(ChronicleTest, OfSeveralSourcesItTellsTheOneThatItServes) {
    record("one", kStart, kStart + 100);
    record("other", kStart + 5000, kStart + 5100);
    start_with("other");
    EXPECT_EQ(answer("")["first"], "2025-10-09T10:16:40Z");
    start_with("nobody");
    EXPECT_EQ(status(""), 404);
    EXPECT_EQ(answer("")["error"], "nothing was recorded of nobody");
}

TEST_F(ChronicleTest, QuestionsThatMakeNoSenseAreRefusedAndBounded) {
    record("home", kStart, kStart + 2000);
    start_with();
    const std::string who = "/who?mac=02:57:00:00:00:24";
    EXPECT_EQ(status(who), 200);
    EXPECT_EQ(status(who + "&kind=device"), 404) << "no device has this MAC";
    EXPECT_EQ(status("/who?mac=02:57:00:00:00:99"), 404);
    for (const char *mac : {"", "/who?mac=", "/who?mac=zz", "/who?mac=02:57:00:00:00:24%00", "/who?mac=%27%3B--"}) {
        EXPECT_EQ(status(std::string(mac).empty() ? "/who" : mac), 400) << mac;
    }
    EXPECT_EQ(status(who + "&from=5&until=4"), 400);
    EXPECT_EQ(status(who + "&from=0&until=253402300799"), 200);
    for (const char *from : {"99999999999999999999999", "-5", "yesterday", "2026-11-22T03:00:00Z", ""}) {
        EXPECT_EQ(status(who + "&from=" + from), 400) << from;
    }
    EXPECT_LE(answer(who + "&from=0&until=253402300799")["curve"]["points"].size(), 600U);
    EXPECT_EQ(status("/nothing"), 404);
}

TEST_F(ChronicleTest, WhatTheClientHasIsNotSentAgain) {
    record("home", kStart, kStart + 100);
    start_with();
    const std::string first = ask("/api/v1/history/counts");
    const std::string tag = header_of(first, "ETag");
    EXPECT_EQ(status_of(ask("/api/v1/history/counts", "If-None-Match: " + tag + "\r\n")), 304);
    record("home", kStart + 100, kStart + 1000);
    EXPECT_EQ(status_of(ask("/api/v1/history/counts", "If-None-Match: " + tag + "\r\n")), 200);
    const std::string gzip = ask("/api/v1/history/counts", "Accept-Encoding: gzip\r\n");
    EXPECT_EQ(header_of(gzip, "Content-Encoding"), "gzip");
    EXPECT_NE(header_of(gzip, "ETag"), header_of(ask("/api/v1/history/counts"), "ETag"));
}

TEST_F(ChronicleTest, ATokenIsAskedForHereToo) {
    record("home", kStart, kStart + 100);
    serve::Wanted wanted;
    wanted.memory = {database_, "", false};
    wanted.access.token = "0123456789abcdef";
    start(wanted);
    EXPECT_EQ(status(""), 401);
    EXPECT_EQ(status_of(ask("/api/v1/history", "Authorization: Bearer 0123456789abcdef\r\n")), 200);
}

// One writes, several ask: each answer is of one state.
TEST_F(ChronicleTest, AnswersAreWholeWhileItIsRecorded) {
    record("home", kStart, kStart + 100);
    start_with();
    std::atomic<bool> is_over{false};
    std::thread writer([&] {
        history::Recorder recorder(database_, {});
        for (history::Number time = kStart + 100; !is_over; time += 20) {
            recorder.take("home", moment(time), static_cast<double>(time));
            recorder.commit();
        }
    });
    std::vector<std::thread> askers;
    askers.reserve(3);
    std::atomic<int> good{0};
    for (int i = 0; i < 3; ++i) {
        askers.emplace_back([&] {
            for (int k = 0; k < 40; ++k) {
                const Json span = answer("");
                good += status("/counts") == 200 && status("/who?mac=02:57:00:00:00:24") == 200 &&
                                status("/mesh?at=" + std::to_string(kStart + 50)) == 200 && span.contains("last")
                            ? 1
                            : 0;
            }
        });
    }
    for (std::thread &asker : askers) {
        asker.join();
    }
    is_over = true;
    writer.join();
    EXPECT_EQ(good, 120);
}

}  // namespace
