// The table build: its order, what a bad dump leaves, the destroy.
#include <cstring>

#include "tests/support/module_test.h"

using testing::HasSubstr;

namespace {

using BuildTest = ModuleTest;

TEST_F(BuildTest, ADumpWithoutAgentsIsAvailableAndHasNoDevices) {
    build("");
    const qo1905_network_topology *network = module_.getNetTopolTable();
    EXPECT_EQ(network->Status, 1U);
    EXPECT_EQ(network->Enable, 1U);
    EXPECT_EQ(network->IEEE1905DeviceNumberOfEntries, 0);
    EXPECT_EQ(network->IEEE1905Device, nullptr);
}

TEST_F(BuildTest, NoInterfaceFailsAndLeavesTheNewTable) {
    build("");
    fake::host.ssids = {{"ra1", "02:00:00:00:00:11"}};
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), "");
    const qo1905_al_table *al = module_.getAlTable();
    ASSERT_NE(al, nullptr);
    EXPECT_EQ(al->InterfaceNumberOfEntries, 0);
    EXPECT_EQ(al->Interface, nullptr);
    EXPECT_EQ(al->NetworkTopology.Enable, 0U);
    EXPECT_EQ(mac_text(al->IEEE1905Id), "02:00:00:00:00:01");
}

TEST_F(BuildTest, AFailedDeviceListLeavesNoTable) {
    put_dump(R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01", "Number of radios": 1,
                 "Radio Info": [{"BSSINFO": [{}]}]})");
    int32_t result = 0;
    EXPECT_EQ(printed_by([&] { result = module_.initALTable(); }),
              "bssID have not value!\nFail update Ieee1905DevTable!\n");
    EXPECT_EQ(result, 16);
    EXPECT_EQ(module_.getAlTable(), nullptr);
}

TEST_F(BuildTest, WithoutAUsableDumpTheOldTableStays) {
    build("");
    const qo1905_al_table *old = module_.getAlTable();
    const char kNotReady[] = "[initALTable] second chance - dump information is not ready. \n";
    struct Case {
        const char *dump;
        const char *message;
    };
    for (const Case &bad :
         {Case{"", kNotReady}, Case{"{\"topology information\": [", kNotReady}, Case{"\x01\xff", kNotReady},
          Case{"{}", ""}, Case{"[]", ""}, Case{"7\n", ""}, Case{"{\"topology information\": null}", ""}}) {
        write_file(kDump, bad.dump);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), bad.message) << bad.dump;
        EXPECT_EQ(module_.getAlTable(), old) << bad.dump;
    }
    std::remove(kDump);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), kNotReady);
    EXPECT_EQ(module_.getAlTable(), old);
}

TEST_F(BuildTest, AnotherTypeThanAnArrayIsAnEmptyTopology) {
    for (const char *topology : {"7", "\"x\"", "{\"a\": 1}", "true", "[]"}) {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
        write_file(kDump, std::string("{\"topology information\": ") + topology + "}");
        log_level = 7;
        const std::string printed = printed_by([&] { EXPECT_EQ(module_.initALTable(), 0); });
        EXPECT_THAT(printed, HasSubstr("[retrieveAlTable:2276] AL MAC=(null)\n")) << topology;
        EXPECT_EQ(mac_text(module_.getAlTable()->IEEE1905Id), "00:00:00:00:00:00");
        EXPECT_EQ(module_.getNetTopolTable()->Status, 1U);
    }
}

TEST_F(BuildTest, EveryBuildReplacesTheWholeTable) {
    const char kAgent[] = R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01"})";
    build(kAgent);
    qo1905_network_topology *network = module_.getNetTopolTable();
    network->ChangeLogNumberOfEntries = 3;
    network->MaxChangeLogEntries = 9;
    network->LastChange = 3;
    network->ChangeLog[2].EventType = 1;
    build(kAgent);
    network = module_.getNetTopolTable();
    EXPECT_EQ(network->ChangeLogNumberOfEntries, 0);
    EXPECT_EQ(network->MaxChangeLogEntries, 0);
    EXPECT_EQ(network->LastChange, 0);
    EXPECT_EQ(network->ChangeLog[2].EventType, 0U);
    EXPECT_EQ(nodes(network->IEEE1905Device).size(), 1U);
}

// All that a host may hang into the table is freed with it; the leak checker of the sanitizer build watches.
TEST_F(BuildTest, TheDestroyFreesEveryListAndBuffer) {
    const auto devices = build(fixture("meshes/one_agent/device.json"));
    qo1905_al_table &al = *module_.getAlTable();
    al.Security.Password = strdup("s3cret");
    al.Information = static_cast<uint8_t *>(std::calloc(1, 4));
    append_node(al.Reserved[0].Head)->Buffer = std::calloc(1, 8);
    append_node(al.Reserved[1].Head)->Buffer = std::calloc(1, 8);
    append_node(al.ReservedList);
    append_node(al.Interface->Reserved);
    append_node(al.Interface->Link);
    al.Interface->ReservedBuffer = std::calloc(1, 8);
    al.Interface->Information = static_cast<uint8_t *>(std::calloc(1, 8));
    ASSERT_EQ(devices.size(), 1U);
    devices[0]->Interface->ReservedBuffer = std::calloc(1, 8);
    append_node(devices[0]->BridgingTuple)->InterfaceList = static_cast<uint8_t(*)[6]>(std::calloc(2, 6));
    build("");
    EXPECT_EQ(module_.getNetTopolTable()->IEEE1905Device, nullptr);
}

}  // namespace
