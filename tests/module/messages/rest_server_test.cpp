// The REST server follows the role: which commands are run, in which order, and that nothing else is.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const char kReadPid[] = "cat /var/run/rest_api_server.pid";
const char kFind[] = "ps | grep ohttpd_rest | grep -v \"grep\"";
const char kStart[] = "/etc/rc.d/S81ohttpd_rest";

class RestServerTest : public ModuleTest {
protected:
    // What one cycle in this role does to the server.
    std::vector<std::string> act_as(const char *role) {
        const std::size_t before = fake::calls().size();
        fake::host.role = role;
        module_.highLayerDataSend();
        std::vector<std::string> acts;
        const auto calls = fake::calls();
        for (std::size_t i = before; i < calls.size(); ++i) {
            const bool about_server =
                calls[i].rfind("popen", 0) == 0 || calls[i] == "pclose" ||
                (calls[i].rfind("system", 0) == 0 && calls[i].find("tx_higher") == std::string::npos);
            if (about_server) {
                acts.push_back(calls[i]);
            }
        }
        return acts;
    }
};

TEST_F(RestServerTest, WithoutAPidFileNothingIsKilledAndTheStateIsDownAllTheSame) {
    EXPECT_THAT(act_as("2"), ElementsAre(std::string("popen ") + kReadPid, "pclose"));
    EXPECT_THAT(act_as("2"), IsEmpty());
}

TEST_F(RestServerTest, AnAgentKillsTheServerAndRemovesThePidFile) {
    fake::host.pipes[kReadPid] = "1234\nmore\n";
    EXPECT_THAT(act_as("2"), ElementsAre(std::string("popen ") + kReadPid, "system kill -9 1234\n",
                                         "system rm -rf /var/run/rest_api_server.pid", "pclose"));
}

TEST_F(RestServerTest, TheControllerStartsTheServerThatDoesNotRun) {
    EXPECT_THAT(act_as("1"), ElementsAre(std::string("popen ") + kFind, std::string("system ") + kStart, "pclose"));
}

TEST_F(RestServerTest, TheControllerLeavesTheServerThatRuns) {
    fake::host.pipes[kFind] = " 812 root ohttpd_rest\n";
    EXPECT_THAT(act_as("1"), ElementsAre(std::string("popen ") + kFind, "pclose"));
}

TEST_F(RestServerTest, ActsOncePerChangeOfRole) {
    fake::host.pipes[kReadPid] = "1234\n";
    EXPECT_EQ(act_as("1").size(), 3U);
    EXPECT_THAT(act_as("1"), IsEmpty());
    EXPECT_EQ(act_as("2").size(), 4U);
    EXPECT_THAT(act_as("2"), IsEmpty());
    EXPECT_THAT(act_as("7"), IsEmpty());
    EXPECT_THAT(act_as("2"), IsEmpty());
    EXPECT_EQ(act_as("1").size(), 3U);
}

TEST_F(RestServerTest, APipeThatDoesNotOpenEndsTheCycleAndTheRoleChangeHasTakenEffect) {
    fake::host.pipes[kReadPid] = std::nullopt;
    fake::host.pipes[kFind] = std::nullopt;
    for (const auto &[role, message] : {std::pair("2", "highLayerDataSend [2637]: popen fail !!\n"),
                                        std::pair("1", "highLayerDataSend [2727]: popen fail !!\n")}) {
        fake::host.role = role;
        int32_t result = 0;
        const std::size_t before = fake::commands().size();
        EXPECT_EQ(printed_by([&] { result = module_.highLayerDataSend(); }), message);
        EXPECT_EQ(result, 1);
        EXPECT_EQ(fake::commands().size(), before);
        EXPECT_THAT(act_as(role), IsEmpty());
    }
}

TEST_F(RestServerTest, ALineThatIsNoProcessIdIsNotKilled) {
    for (const char *line : {"", "\n", "0\n", "1\n", "-1\n", "12 13\n", "12;reboot\n", "$(reboot)\n", "1e3\n",
                             "99999999999\n", "abc\n", "12\x01\n"}) {
        fake::host.pipes[kReadPid] = line;
        act_as("1");
        const std::string printed = printed_by([&] {
            for (const std::string &act : act_as("2")) {
                EXPECT_EQ(act.find("kill"), std::string::npos) << line;
            }
        });
        EXPECT_EQ(printed,
                  *line == '\0' ? "" : "highLayerDataSend: refused, no process id in /var/run/rest_api_server.pid\n")
            << line;
    }
    // The pid file that cannot be right goes all the same.
    EXPECT_GT(fake::count("system rm -rf /var/run/rest_api_server.pid"), 0);
}

TEST_F(RestServerTest, ProcessIdsOfEveryShapeThatKillTakes) {
    for (const char *line : {"2", "2\n", " 4194304 \n", "\t77\n"}) {
        fake::host.pipes[kReadPid] = line;
        act_as("1");
        EXPECT_THAT(act_as("2"), testing::Contains(std::string("system kill -9 ") + line)) << line;
    }
}

TEST_F(RestServerTest, TheLineIsReadUpTo254Bytes) {
    fake::host.pipes[kReadPid] = std::string(251, ' ') + "777777";
    EXPECT_THAT(act_as("2"), testing::Contains("system kill -9 " + std::string(251, ' ') + "777"));
}

TEST_F(RestServerTest, TracesAtLevel7TellTheState) {
    fake::host.known_devices.clear();
    fake::host.controller_mac.reset();
    log_level = 7;
    const auto traced = [&](const char *role) {
        fake::host.role = role;
        return printed_by([&] { module_.highLayerDataSend(); });
    };
    EXPECT_THAT(
        traced("2"),
        HasSubstr("highLayerDataSend: APPStatus = 2 (1: APP_UP, 2: APP_DOWN), to kill ohttpd_rest process !\n"));
    EXPECT_THAT(
        traced("1"),
        HasSubstr("highLayerDataSend: APPStatus = 1 (1: APP_UP, 2: APP_DOWN), to bring-up ohttpd_rest process !\n"));
    traced("2");
    fake::host.pipes[kFind] = "x\n";
    EXPECT_THAT(
        traced("1"),
        HasSubstr("highLayerDataSend: APPStatus = 1 (1: APP_UP, 2: APP_DOWN), ohttpd_rest process are running !!\n"));
}

TEST_F(RestServerTest, TheRealCommandsKillARealProcess) {
    const pid_t server = fork();
    ASSERT_GE(server, 0);
    if (server == 0) {
        execlp("sleep", "sleep", "60", nullptr);
        _exit(1);
    }
    write_file("/var/run/rest_api_server.pid", std::to_string(server) + "\n");
    fake::host.real_shell = true;
    fake::host.role = "2";
    fake::host.controller_mac.reset();  // no message: nobody serves the control socket here
    module_.highLayerDataSend();
    int status = 0;
    ASSERT_EQ(waitpid(server, &status, 0), server);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    EXPECT_FALSE(file_exists("/var/run/rest_api_server.pid"));
}

TEST_F(RestServerTest, TheRealCommandsStartTheServerThatDoesNotRun) {
    write_file("/etc/rc.d/S81ohttpd_rest", "#!/bin/sh\necho asked >>asked\n");
    chmod("/etc/rc.d/S81ohttpd_rest", 0755);
    fake::host.real_shell = true;
    fake::host.role = "1";
    fake::host.base_mac.reset();  // no message: nobody serves the control socket here
    module_.highLayerDataSend();
    EXPECT_EQ(read_file("asked"), "asked\n");
    std::remove("/etc/rc.d/S81ohttpd_rest");
}

}  // namespace
