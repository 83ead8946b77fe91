// Accessors, exported variables and the entry points that only announce themselves.
#include "module/model/stubs.h"
#include "tests/support/module_test.h"

namespace {

using AccessorsTest = ModuleTest;

TEST_F(AccessorsTest, BeforeTheFirstBuildSecurityTellsAndTheOthersAreSilent) {
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.getSecurityTable(), nullptr); }),
              "getSecurityTable: al_table is NULL\r\n");
    EXPECT_EQ(printed_by([&] {
                  EXPECT_EQ(module_.getAlTable(), nullptr);
                  EXPECT_EQ(module_.getIntfTable(), nullptr);
                  EXPECT_EQ(module_.getNetTopolTable(), nullptr);
              }),
              "");
}

TEST_F(AccessorsTest, PointIntoTheOneTable) {
    build("");
    qo1905_al_table *al = module_.getAlTable();
    EXPECT_EQ(module_.getIntfTable(), al->Interface);
    EXPECT_EQ(module_.getNetTopolTable(), &al->NetworkTopology);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.getSecurityTable(), &al->Security); }), "");
}

TEST_F(AccessorsTest, GetAlMacPrintsItsNoticeAndReturnsTheLength) {
    int32_t result = 0;
    EXPECT_EQ(printed_by([&] { result = module_.getAlMac(); }), "\033[36m[NOTYET][getAlMac:437]\033[0m\n");
    EXPECT_EQ(result, 32);
}

struct Stub {
    const char *name;
    int line;
    int32_t (*function)();
};

// Names and numbers once more, by hand.
TEST_F(AccessorsTest, EveryStubPrintsItsNameAndNumberAndDoesNothingElse) {
    const Stub stubs[] = {
        {"checkIntfTable", 57, module_.checkIntfTable},
        {"getHostNameFromDataModel", 85, module_.getHostNameFromDataModel},
        {"getDevMode", 107, module_.getDevMode},
        {"checkWlanPw", 124, module_.checkWlanPw},
        {"checkIntfInfo", 158, module_.checkIntfInfo},
        {"getWlIntfNamebyFreq", 192, module_.getWlIntfNamebyFreq},
        {"setIntfPwrState", 223, module_.setIntfPwrState},
        {"setAPAutoConfig", 349, module_.setAPAutoConfig},
        {"getWIFIChannelbyFreq", 383, module_.getWIFIChannelbyFreq},
        {"getAlMac", 437, module_.getAlMac},
        {"freeIeee1905DevTable", 630, module_.freeIeee1905DevTable},
        {"getNon1905DevNeighborNumber", 1894, module_.getNon1905DevNeighborNumber},
        {"checkDevNeighbor", 2042, module_.checkDevNeighbor},
    };
    build(R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01"})");
    for (const Stub &stub : stubs) {
        const std::string notice =
            "\033[36m[NOTYET][" + std::string(stub.name) + ":" + std::to_string(stub.line) + "]\033[0m\n";
        int32_t result = 0;
        EXPECT_EQ(printed_by([&] { result = stub.function(); }), notice);
        EXPECT_EQ(result, static_cast<int32_t>(notice.size())) << stub.name;
    }
    EXPECT_NE(module_.getNetTopolTable()->IEEE1905Device, nullptr);
#define QO1905_COUNT(name, line) +1
    EXPECT_EQ(std::size(stubs), 0U QO1905_STUBS(QO1905_COUNT));
#undef QO1905_COUNT
}

TEST_F(AccessorsTest, VariablesOfTheHostHaveTheirFirstValues) {
    EXPECT_STREQ(*module_.DeviceMode, "unknow");
    EXPECT_EQ(module_.intfTable->word[0], 0U);
    EXPECT_EQ(module_.intfTable->word[1], 0U);
    EXPECT_STREQ(module_.intfTable->text, "");
    EXPECT_STREQ(*module_.WIFI_WIFI_AP_IFNAME, "");
    EXPECT_STREQ(*module_.WIFI_WIFI_AP_IFNAME_5G, "");
    EXPECT_EQ(*module_.ctrl_conn, nullptr);
}

}  // namespace
