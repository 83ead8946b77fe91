// The processes of a lab, from its beginning to its end: none is waited for in vain, and nothing is left behind.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/lab/mesh/mesh_fixture.h"

using namespace lab_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

pid_t host_of(const Lab &lab, const std::string &device) {
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const std::string process = entry.path();
        const bool is_host = text_of(process + "/comm") == "qo1905-host\n" &&
                             text_of(process + "/environ").find("QO1905_LAB=" + lab.folder()) != std::string::npos;
        if (is_host && fs::equivalent(process + "/root/tmp", lab.folder() + "/devices/" + device + "/tmp")) {
            return std::stoi(entry.path().filename());
        }
    }
    throw std::runtime_error(device + " has no host");
}

TEST_F(MeshTest, ADeviceThatIsTakenDownIsNotWaitedFor) {
    Lab early({"home", "--still", "--speed", "max", "--cycles", "2"});
    (void)early.order({"down", "attic"});
    EXPECT_EQ(early.wait(), 0) << early.output();
}

TEST_F(MeshTest, NoDeadProcessStays) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(lab.order({"down", "attic"}).status, 0);
        EXPECT_EQ(lab.order({"up", "attic"}).status, 0);
        ASSERT_TRUE(wait_until([&] { return lab.device("attic")["running"] == true; }));
    }
    const std::string children =
        "/proc/" + std::to_string(lab.pid()) + "/task/" + std::to_string(lab.pid()) + "/children";
    EXPECT_TRUE(wait_until([&] {
        std::istringstream pids(text_of(children));
        return std::distance(std::istream_iterator<std::string>(pids), {}) == 3;
    })) << text_of(children);
}

// A pager that is paused must stop neither the world nor its end.
TEST_F(MeshTest, AReaderThatDoesNotReadHoldsNothingUp) {
    ASSERT_EQ(mkfifo("screen", 0600), 0);
    const int unread = open("screen", O_RDWR);
    const Result result =
        run({"sh", "-c", kLab + " run villa --speed max --cycles 12 --log-level 7 >screen 2>/dev/null; echo ended $?"});
    EXPECT_EQ(result.output, "ended 0\n");
    close(unread);
}

TEST_F(MeshTest, AHostThatDiesIsToldAndMakesTheRunFail) {
    Lab lab({"home", "--still", "--speed", "max", "--cycles", "10"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    kill(host_of(lab, "attic"), SIGSEGV);
    EXPECT_EQ(lab.wait(), 1);
    EXPECT_THAT(lab.output(), testing::ContainsRegex("!! attic DIED with status [0-9]+; the last it said:\n"));
}

TEST_F(MeshTest, CtrlCAtAnyMomentLeavesNothingBehind) {
    for (const int delay : {0, 3, 10, 30, 60, 100, 200, 400, 800, 1300}) {
        Lab lab({"home", "--speed", "max"});
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        kill(lab.pid(), SIGINT);
        std::this_thread::sleep_for(5ms);
        EXPECT_EQ(lab.end(SIGINT), 128 + SIGINT) << "an impatient second one changes nothing";
        expect_nothing_left(lab.folder());
    }
}

TEST_F(MeshTest, AReaderThatGoesEndsTheLab) {
    const Result result = run({"sh", "-c", kLab + " run --speed max | head -3"});
    const std::size_t at = result.output.find("/tmp/qo1905-lab.");
    ASSERT_NE(at, std::string::npos);
    const std::string folder = result.output.substr(at, 22);
    EXPECT_TRUE(wait_until([&] { return !fs::exists(folder); }));
    expect_nothing_left(folder);
}

TEST_F(MeshTest, ALabThatIsKilledTakesItsProcessesWithItAndTheNextTidiesUp) {
    std::string folder;
    {
        Lab lab({"home", "--speed", "max"});
        folder = lab.folder();
        ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["cycles"] >= 1; }));
        EXPECT_EQ(lab.end(SIGKILL), 128 + SIGKILL);
    }
    EXPECT_TRUE(wait_until([&] { return processes_of(folder).empty(); }));
    // Too young a folder may be a lab that is about to start.
    EXPECT_EQ(run({"touch", "-d", "1 minute ago", folder}).status, 0);
    Lab next({"home", "--speed", "max", "--cycles", "1"});
    EXPECT_EQ(next.wait(), 0);
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(MeshTest, WhatWasToBeKeptIsAlsoAfterAKill) {
    std::string folder;
    {
        Lab lab({"home", "--speed", "max", "--keep"});
        folder = lab.folder();
        ASSERT_TRUE(wait_until([&] { return lab.device("gateway")["cycles"] >= 1; }));
        EXPECT_EQ(lab.end(SIGKILL), 128 + SIGKILL);
        EXPECT_EQ(run({"touch", "-d", "1 minute ago", folder}).status, 0);
        Lab next({"home", "--speed", "max", "--cycles", "1"});
        EXPECT_EQ(next.wait(), 0);
        EXPECT_THAT(next.output(), HasSubstr("== a lab that was killed has left " + lab.kept_folder() + ", as --keep"));
        EXPECT_TRUE(fs::exists(lab.kept_folder() + "/devices/gateway/tmp/qo1905.json"));
        fs::remove_all(lab.kept_folder());
    }
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(MeshTest, TwoLabsRunAtOnce) {
    Lab one({"home", "--still", "--speed", "max"});
    Lab other({"home", "--still", "--speed", "max"});
    EXPECT_NE(one.folder(), other.folder());
    ASSERT_TRUE(
        wait_until([&] { return one.device("gateway")["rest"] != "" && other.device("gateway")["rest"] != ""; }));
    EXPECT_NE(one.device("gateway")["rest"], other.device("gateway")["rest"]);
    const Result ambiguous = run({kLab, "status"});
    EXPECT_EQ(ambiguous.status, 2);
    EXPECT_THAT(ambiguous.output,
                AllOf(HasSubstr("several labs are running"), HasSubstr(one.folder()), HasSubstr(other.folder())));
    EXPECT_EQ(one.order({"move", kTv, "attic"}).status, 0);
    ASSERT_TRUE(one.wait_for_cycles("gateway", 2));
    ASSERT_TRUE(other.wait_for_cycles("gateway", 2));
    EXPECT_EQ(stations_in(one.model("gateway"))[kTv].device, "02:0b:00:00:00:01");
    EXPECT_EQ(stations_in(other.model("gateway"))[kTv].device, "02:0a:00:00:00:01");
    EXPECT_EQ(one.end(SIGINT), 130);
    expect_nothing_left(one.folder());
    ASSERT_TRUE(other.wait_for_cycles("gateway", 2));
    EXPECT_EQ(other.end(SIGINT), 130);
    expect_nothing_left(other.folder());
}

TEST_F(MeshTest, AUserWhoIsNotRootRunsALab) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "all the other tests of this run are that user's";
    }
    const Words nobody = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    Words look = nobody;
    look.insert(look.end(), {kSandbox, "--probe"});
    if (run(look).status != 0) {
        GTEST_SKIP() << "that user cannot read " << QO1905_BINARY_DIR << ", or gets no namespaces";
    }
    fs::permissions(".", fs::perms::all);
    Lab lab({"home", "--speed", "max", "--cycles", "30"}, nobody);
    // Other tests of this user may have labs, too; a third user has none.
    const Result of_another = run({"setpriv", "--reuid=65533", "--clear-groups", kLab, "status"});
    EXPECT_EQ(of_another.status, 2);
    EXPECT_THAT(of_another.output,
                StartsWith("qo1905-lab: no lab is running; ./dev run starts one. Others have one: "));
    EXPECT_THAT(of_another.output, HasSubstr(lab.folder() + " (nobody)"));
    EXPECT_EQ(lab.wait(), 0) << lab.output();
    expect_nothing_left(lab.folder());
}

}  // namespace
