// Is the uplink station interface connected?
#include <sys/stat.h>

#include "tests/support/module_test.h"

namespace {

const char kEssid[] = "iwconfig apclii0 | grep ESSID | cut -d : -f 2 | sed \"s/\\\"//g\"";

using UplinkTest = ModuleTest;

TEST_F(UplinkTest, IsDownOnlyWithExactlyTwoBlanks) {
    struct Case {
        fake::Text line;
        int32_t result;
    };
    for (const Case &uplink :
         {Case{"  \n", -1}, Case{"  ", 0}, Case{" \n", 0}, Case{"   \n", 0}, Case{"Home  \n", 0}, Case{"", 0},
          Case{"\n", 0}, Case{std::nullopt, 0}, Case{std::string(300, 'x') + "\n", 0}}) {
        fake::host.pipes[kEssid] = uplink.line;
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.RPUpLinkStatusCheck(), uplink.result); }),
                  uplink.result == 0 ? "" : "Agent device haven't connect with Controller\n");
    }
    EXPECT_EQ(fake::count(std::string("popen ") + kEssid), 9);
    EXPECT_EQ(fake::count("pclose"), 8);
}

TEST_F(UplinkTest, TheRealUplinkPipelineReadsTheEssid) {
    const std::string programs = "./uplink";
    mkdir(programs.c_str(), 0755);
    setenv("PATH", (programs + ":" + getenv("PATH")).c_str(), 1);
    fake::host.real_shell = true;
    for (const auto &[essid, result] : {std::pair("ESSID:\\\"Home\\\"", 0), std::pair("ESSID:\\\"\\\"  ", -1)}) {
        write_file(programs + "/iwconfig",
                   std::string("#!/bin/sh\nprintf '%s\\n' \"apclii0   IEEE 802.11  ") + essid + "\" \"x\"\n");
        chmod((programs + "/iwconfig").c_str(), 0755);
        EXPECT_EQ(module_.RPUpLinkStatusCheck(), result) << essid;
    }
}

}  // namespace
