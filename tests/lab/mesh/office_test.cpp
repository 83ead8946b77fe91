// A mesh of an office for two hundred cycles, which take more than an hour at real speed.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/lab/mesh/mesh_fixture.h"

using namespace lab_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

using namespace std::chrono_literals;

struct Load {
    long heap = LONG_MAX, resident = 0;
    int descriptors = INT_MAX, threads = 0;
};

// How much each device takes at most in any of the coming cycles. Of heap and descriptors the least, which is what
// stays: at the end of a cycle the receiver thread may be in the middle of a message, and the client library's ping
// opens a descriptor for a moment.
std::map<std::string, Load> watch_load(const Lab &lab, unsigned until_cycle) {
    std::map<std::string, Load> loads;
    wait_until(
        [&] {
            const json data = lab.data();
            for (const json &device : data["devices"]) {
                Load &load = loads[device["name"]];
                const json &last = device["last_cycle"];
                load.heap = std::min<long>(load.heap, last["heap_bytes"]);
                load.resident = std::max<long>(load.resident, last["resident_kb"]);
                load.descriptors = std::min<int>(load.descriptors, last["descriptors"]);
                load.threads = std::max<int>(load.threads, last["threads"]);
            }
            return data["cycle"] >= until_cycle;
        },
        300s, 250ms);
    return loads;
}

TEST_F(MeshTest, TheOfficeNeitherDiesNorGrowsInTwoHundredCycles) {
    Lab lab({"office", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.data()["cycle"] >= 20; }, 120s));
    auto early = watch_load(lab, 80);
    auto late = watch_load(lab, 200);
    const json data = lab.data();
    unsigned long sent = 0, received = 0;
    std::map<std::string, unsigned long> lost;
    for (const json &device : data["devices"]) {
        const std::string name = device["name"];
        std::cout << name << ": heap " << early[name].heap << " -> " << late[name].heap << " bytes, resident "
                  << early[name].resident << " -> " << late[name].resident << " KiB, descriptors "
                  << early[name].descriptors << " -> " << late[name].descriptors << ", threads " << early[name].threads
                  << " -> " << late[name].threads << '\n';
        EXPECT_EQ(device["starts"], 1) << name;
        EXPECT_EQ(device["running"], true) << name;
        EXPECT_GE(device["cycles"], 150) << name;
        // The stations come and go, so what one table takes differs from cycle to cycle; nothing may add up.
        EXPECT_LE(late[name].heap, early[name].heap + 65536) << name;
        EXPECT_LE(late[name].resident, early[name].resident + 1024) << name;
        EXPECT_LE(late[name].descriptors, early[name].descriptors) << name;
        EXPECT_LE(late[name].threads, early[name].threads) << name;
        EXPECT_TRUE(wait_until([&] { return json::accept(lab.file(name, "tmp/dump.txt")); })) << name;
        sent += device["sent"].get<unsigned long>();
        received += device["received"].get<unsigned long>();
        for (const auto &[reason, count] : device["lost"].items()) {
            lost[reason] += count.get<unsigned long>();
        }
    }
    std::cout << "messages: " << sent << " sent, " << received << " received, lost " << lost["too long"]
              << " too long\n";
    EXPECT_EQ(lost["to unknown devices"] + lost["out of reach"], 0U);
    EXPECT_EQ(lost["without a listener"], 0U);
    EXPECT_EQ(sent, received + lost["too long"]);
    EXPECT_EQ(lab.end(SIGINT), 130);
    EXPECT_THAT(lab.output(),
                AllOf(Not(HasSubstr("DIED")), Not(HasSubstr("does not parse")), Not(HasSubstr("no files"))));
}

}  // namespace
