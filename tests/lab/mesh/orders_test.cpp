// What a running lab answers to orders.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/lab/mesh/mesh_fixture.h"

using namespace lab_test;
using nlohmann::json;
using testing::HasSubstr;

namespace {

TEST_F(MeshTest, OrdersAnswerAsPeopleExpect) {
    const Lab lab({"home", "--still", "--speed", "max"});
    ASSERT_TRUE(wait_until([&] { return lab.device("attic")["cycles"] >= 1; }));
    const struct {
        Words words;
        int status;
        const char *output;
    } cases[] = {
        {{"status"}, 0, "DEVICE           ROLE        STATE "},
        {{"stations"},
         0,
         "\nphone-anna           02:57:00:00:00:24  192.168.1.136    attic            rai0          -60     650\n"},
        {{"files", "attic"}, 0, "/devices/attic/tmp/qo1905.json\n"},
        {{"files", "cellar"}, 1, "qo1905-lab: there is no device \"cellar\"; there are: gateway, living-room, attic\n"},
        {{"send", "cellar", "{}"}, 1, "there is no device"},
        {{"send", "attic"}, 2, "JSON is required"},
        {{"send", "attic", "no JSON at all"}, 0, "delivered to attic, though it is no JSON\n"},
        {{"send", "attic", "\xff"}, 2, "words have to be UTF-8"},
        {{"role", "attic", "boss"}, 2, "boss not in {controller,agent}"},
        {{"role", "attic", "agent"}, 0, "attic is that already\n"},
        {{"wifi", "attic", "ra0", "off"},
         0,
         "attic switches ra0 off; its Controller, whose own ra0 is on, undoes that within a cycle: wifi gateway ra0 "
         "switches all\n"},
        {{"wifi", "attic", "ra9", "on"}, 1, "attic has no \"ra9\"; it has: ra0, rai0\n"},
        {{"wifi", "attic", "ra0", "maybe"}, 2, "maybe not in {on,off}"},
        {{"move", "02:57:00:00:00:99", "attic"}, 1, "there is no station"},
        {{"move", "phone-anna", "gateway"}, 0, "phone-anna is on gateway rai0\n"},
        {{"move", "02:57:00:00:00:24", "attic"}, 0, "phone-anna is on attic rai0\n"},
        {{"move", kTv, "cellar"}, 1, "there is no device"},
        {{"up", "attic"}, 0, "attic is up already\n"},
        {{"down", "attic"}, 0, "attic is down\n"},
        {{"down", "attic"}, 0, "attic is down already\n"},
        {{"restart-mapd", "attic"}, 1, "attic is down\n"},
        {{"frobnicate"}, 2, "Run with --help for more information.\n"},
        {{}, 2, "A subcommand is required\n"},
    };
    for (const auto &item : cases) {
        const Result result = lab.order(item.words);
        EXPECT_EQ(result.status, item.status) << result.output;
        EXPECT_THAT(result.output, HasSubstr(item.output));
    }
    for (const char *command : {"run", "generate", "status", "stations", "files", "send", "role", "down", "up",
                                "restart-mapd", "wifi", "move"}) {
        const Result help = run({kLab, command, "--help"});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_THAT(help.output, HasSubstr("Usage: ")) << command;
    }
}

TEST_F(MeshTest, AnOrderWithoutALabSaysHowToStartOne) {
    const Result result = run({kLab, "--lab", "/tmp/none", "status"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "qo1905-lab: /tmp/none: no lab answers there\n");
}

}  // namespace
