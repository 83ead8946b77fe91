// Counting the Agents, and remembering them: what is remembered shows in an Agent's report, which leaves them out.
#include <json-c/json.h>

#include "tests/support/module_test.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class AgentsTest : public ModuleTest {
protected:
    int32_t count(const std::string &array) {
        topology_ = parse_json(array);
        return module_.get1905AgentDevNumber(topology_.get());
    }

    // The report of an Agent on which a device with this AL MAC is seen as a station.
    std::string report_with_mesh_station(const std::string &al_mac) {
        fake::host.role = "2";
        fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 100, al_mac}};
        module_.highLayerDataSend();
        return fake::commands().back();
    }

    Json topology_;
};

TEST_F(AgentsTest, ALocalDeviceThatIsAnAgentMakesTheImportAskBeyondTheEnd) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
    write_file(kDump, R"({"topology information": [{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"},
                                                   {"AL MAC": "02:0b:00:00:00:01", "Device role": "02"}]})");
    int32_t result = 0;
    EXPECT_EQ(printed_by([&] { result = module_.initALTable(); }),
              "getNbrDevInfo: dev1905 == NULL !!!!!!!!!!!!!\nFail update Ieee1905DevTable!\n");
    EXPECT_EQ(result, 16);
    EXPECT_EQ(
        count(
            R"([{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"}, {"AL MAC": "02:0b:00:00:00:01", "Device role": "02"}])"),
        2);
}

TEST_F(AgentsTest, Role01IsNotCountedAndAnEmptyRoleIs) {
    EXPECT_EQ(count(R"([{"AL MAC": "02:00:00:00:00:01", "Device role": "01"}])"), 0);
    EXPECT_EQ(count(R"([{"AL MAC": "02:00:00:00:00:01", "Device role": ""}])"), 1);
}

TEST_F(AgentsTest, AnEmptyArrayCountsNothingAndLeavesTheListEmpty) {
    EXPECT_EQ(count(R"([{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"}])"), 1);
    EXPECT_THAT(report_with_mesh_station("02:0a:00:00:00:01"), HasSubstr("\\\"STAInfo\\\": []}"));
    EXPECT_EQ(count("[]"), 0);
    EXPECT_THAT(report_with_mesh_station("02:0a:00:00:00:01"), HasSubstr("\\\"STAMac\\\": \\\"2:57:0:0:0:1\\\""));
}

TEST_F(AgentsTest, OnlyWhat02BeginsWithIsAnAgent) {
    struct Case {
        const char *role;
        int32_t counted;
    };
    for (const Case &role : {Case{"\"02\"", 1}, Case{"\"0\"", 1}, Case{"\"\"", 1}, Case{"\"2\"", 0}, Case{"\"020\"", 0},
                             Case{"\"00\"", 0}, Case{"null", 0}, Case{"0", 1}, Case{"2", 0}, Case{"[]", 0}}) {
        EXPECT_EQ(count("[{\"AL MAC\": \"02:0a:00:00:00:01\", \"Device role\": " + std::string(role.role) + "}]"),
                  role.counted)
            << role.role;
    }
    EXPECT_EQ(count(R"([{"AL MAC": "02:0a:00:00:00:01"}, 7, "x", []])"), 0);
}

TEST_F(AgentsTest, AnAgentWithoutAMacEndsTheCountWithThoseFoundSoFarRemembered) {
    EXPECT_EQ(printed_by([&] {
                  EXPECT_EQ(count(R"([{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"}, {"Device role": "02"}])"),
                            0);
              }),
              "[get1905AgentDevNumber] get controller AL MAC is NULL !! \n");
    EXPECT_THAT(report_with_mesh_station("02:0a:00:00:00:01"), Not(HasSubstr("STAMac")));
}

TEST_F(AgentsTest, ANullElementEndsTheCount) {
    EXPECT_EQ(
        printed_by([&] { EXPECT_EQ(count(R"([{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"}, null])"), 0); }),
        "get1905AgentDevNumber: dev1905 == NULL !!!!!!!!!!!!!\n");
    EXPECT_THAT(report_with_mesh_station("02:0a:00:00:00:01"), Not(HasSubstr("STAMac")));
}

TEST_F(AgentsTest, NoArrayAtAllCountsNothing) {
    EXPECT_EQ(module_.get1905AgentDevNumber(nullptr), 0);
    EXPECT_EQ(count("{\"a\": 1}"), 0);
}

}  // namespace
