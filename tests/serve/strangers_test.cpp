// Clients that mean no good, or do not know better.
#include <atomic>

#include "tests/serve/fixture.h"

using testing::HasSubstr;

namespace {

class StrangersTest : public ServeTest {
protected:
    static serve::Wanted impatient() {
        serve::Wanted wanted;
        wanted.bounds = {8, 1000, 4096, 2000ms, 500ms, 1500ms};
        return wanted;
    }
    static std::size_t resident_kb() {
        std::ifstream file("/proc/self/statm");
        std::size_t pages = 0;
        file >> pages >> pages;
        return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
    }
};

TEST_F(StrangersTest, HalfARequestIsNotWaitedForLong) {
    start(impatient());
    for (const char *half : {"G", "GET / HTTP/1.1\r\n", "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nX: "}) {
        const RawClient client(port_);
        client.send(half);
        bool closed = false;
        (void)client.read(10s, &closed);
        EXPECT_TRUE(closed) << half;
    }
    EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200);
}

TEST_F(StrangersTest, WhoDripsGetsNoMoreTimeThanOthers) {
    start(impatient());
    const RawClient client(port_);
    const auto before = std::chrono::steady_clock::now();
    bool closed = false;
    client.send("GET / HTTP/1.1\r\n");
    while (!closed && std::chrono::steady_clock::now() - before < 10s) {
        client.send("X: y\r\n");
        (void)client.read(50ms, &closed);
    }
    EXPECT_TRUE(closed);
    EXPECT_LT(std::chrono::steady_clock::now() - before, 8s);
}

TEST_F(StrangersTest, WhoDoesNotTakeTheAnswerLosesIt) {
    start(impatient());
    write_file(mesh_ / "tmp/ecnt_agent_assoc_list.5g", std::string(16U << 20U, 'x') + '\n');
    write_file(mesh_ / "tmp/qo1905.json", file_text(mesh_ / "tmp/qo1905.json"));
    ASSERT_TRUE(becomes_true([&] { return body_of(ask("/ecnt_agent_assoc_list.5g")).size() > (16U << 20U); }));
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int i = 0; i < 8; ++i) {
        slow.push_back(std::make_unique<RawClient>(port_));
        slow.back()->receive_little();
        slow.back()->send(get("/ecnt_agent_assoc_list.5g"));
    }
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200) << "all places are taken, and become free again";
    EXPECT_LT(std::chrono::steady_clock::now() - before, 20s);
}

TEST_F(StrangersTest, AThousandThatOnlyWaitGiveWay) {
    start(impatient());
    (void)ask("/api/v1/mesh");
    const std::size_t before = resident_kb();
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 1000; ++i) {
        idle.push_back(std::make_unique<RawClient>(port_));
        ASSERT_TRUE(idle.back()->is_connected()) << i;
        if (i % 50 == 0) {
            EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200) << i;
        }
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    EXPECT_LT(resident_kb(), before + std::size_t{64} * 1024);
}

TEST_F(StrangersTest, AConnectionThatOnlyWaitsIsClosedInTheEnd) {
    start(impatient());
    const RawClient client(port_);
    bool closed = false;
    EXPECT_EQ(client.read(20s, &closed), "");
    EXPECT_TRUE(closed);
}

TEST_F(StrangersTest, AHeadHasABound) {
    start(impatient());
    const std::string answer = ask("/api/v1/mesh", "X: " + std::string(100000, 'x') + "\r\n");
    EXPECT_NE(status_of(answer), 200);
    std::string many;
    for (int i = 0; i < 2000; ++i) {
        many += "A" + std::to_string(i) + ": b\r\n";
    }
    EXPECT_NE(status_of(ask("/api/v1/mesh", many)), 200);
    EXPECT_NE(status_of(RawClient::ask(port_, get("/" + std::string(100000, 'a')))), 200);
    EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200);
}

TEST_F(StrangersTest, ManyRangesOfOneTextAreNotSentManyTimes) {
    start();
    std::string ranges = "Range: bytes=0-";
    for (int i = 0; i < 1000; ++i) {
        ranges += ",0-";
    }
    const std::string answer = ask("/qo1905.json", ranges + "\r\n");
    EXPECT_LE(body_of(answer).size(), file_text(mesh_ / "tmp/qo1905.json").size());
}

TEST_F(StrangersTest, AnExpectationGetsOneAnswer) {
    start();
    const std::string answer = ask("/metrics", "Expect: 100-continue\r\n");
    EXPECT_EQ(status_of(answer), 200);
    EXPECT_EQ(answer.find("HTTP/1.1", 1), std::string::npos);
}

TEST_F(StrangersTest, ARangeIsNotLookedAtHoweverLongOrWrong) {
    start();
    for (const std::string &range : {std::string("bytes=-"), std::string("bytes=9-1"), std::string("x"),
                                     "bytes=0-" + std::string(8000, '1'), "bytes=" + std::string(8000, ',')}) {
        const std::string answer = ask("/metrics", "RANGE: " + range + "\r\n");
        EXPECT_EQ(status_of(answer), 200) << range.substr(0, 20);
        EXPECT_EQ(body_of(answer), "devices 3\n");
    }
}

TEST_F(StrangersTest, WhatIsNoHttpIsAnsweredOrClosed) {
    start(impatient());
    for (const std::string &request :
         {std::string("\r\n\r\n"), std::string(64, '\0'), std::string("GET\r\n\r\n"),
          std::string("GET / HTTP/9.9\r\n\r\n"), std::string("GET  / HTTP/1.1\r\n\r\n"),
          std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11), std::string("SSH-2.0-OpenSSH_9.2\r\n"),
          std::string("GET / HTTP/1.1\nHost: 127.0.0.1\n\n"),
          std::string("GET /%zz%ff%c0%af HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n"),
          std::string("GET /?%00=%00&&&=&a HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n"),
          std::string("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n"),
          std::string("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 99999999999999999999\r\n\r\n"),
          std::string("GET ? HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n")}) {
        const RawClient client(port_);
        client.send(request);
        bool closed = false;
        const std::string answer = client.read(10s, &closed);
        EXPECT_TRUE(closed) << testing::PrintToString(request);
        EXPECT_NE(status_of(answer), 200) << testing::PrintToString(request);
        EXPECT_NE(status_of(answer), 500) << testing::PrintToString(request);
    }
    EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200);
}

TEST_F(StrangersTest, SeveralRequestsOnOneConnectionAreAnsweredInTurn) {
    start();
    const RawClient client(port_);
    const std::string open = "GET /metrics HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    client.send(open + open + get("/metrics"));
    const std::string answer = client.read(30s);
    std::size_t count = 0;
    for (std::size_t at = 0; (at = answer.find("devices 3\n", at)) != std::string::npos; ++at) {
        ++count;
    }
    EXPECT_EQ(count, 3U);
}

TEST_F(StrangersTest, WhoWaitsForEventsDoesNotKeepOthersOut) {
    start();
    std::vector<std::unique_ptr<RawClient>> waiting;
    for (int i = 0; i < 60; ++i) {
        waiting.push_back(std::make_unique<RawClient>(port_));
        waiting.back()->send("GET /api/v1/events?after=0 HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    }
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(status_of(ask("/api/v1/mesh")), 200);
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    server_.reset();  // nor does it keep the server from ending
    EXPECT_LT(std::chrono::steady_clock::now() - before, 20s);
}

// As the module writes: in place, from the beginning.
TEST_F(StrangersTest, TwoHundredRequestsASecondBesideAWriterGetNoCutSnapshot) {
    start();
    std::atomic<bool> is_over{false};
    std::thread writer([&] {
        for (int i = 0; !is_over; ++i) {
            copy_example(i % 2 == 0 ? "later" : "home");
            std::this_thread::sleep_for(20ms);
        }
    });
    constexpr int kClients = 4;
    constexpr int kRequests = 150;
    std::atomic<int> good{0};
    std::vector<std::thread> clients;
    clients.reserve(kClients);
    for (int i = 0; i < kClients; ++i) {
        clients.emplace_back([&] {
            auto next = std::chrono::steady_clock::now();
            for (int n = 0; n < kRequests; ++n) {
                std::this_thread::sleep_until(next += 20ms);
                const Json snapshot = mesh();
                const std::string model = body_of(ask("/qo1905.json"));
                good += snapshot["devices"].size() == 3 && snapshot["stations"].size() == 15 &&
                                !Json::parse(model, nullptr, false).is_discarded()
                            ? 1
                            : 0;
            }
        });
    }
    for (std::thread &client : clients) {
        client.join();
    }
    is_over = true;
    writer.join();
    EXPECT_EQ(good, kClients * kRequests);
}

}  // namespace
