// The association lists.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "tests/support/module_test.h"

namespace {

const char kAgent[] = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})";

qo1905_sta_info &add_station(qo1905_device &device, const char *mac, uint32_t media_type) {
    auto *node = append_node(device.STAInfo);
    set_mac(node->STAMac, mac);
    node->MediaType = media_type;
    return *node;
}

void add_client(qo1905_device &device, const std::string &name, const char *mac) {
    auto *group = append_node(device.NonIEEE1905Neighbor);
    std::memcpy(group->Name, name.data(), std::min(name.size(), sizeof(group->Name)));
    set_mac(append_node(group->Neighbor)->NeighborInterfaceId, mac);
}

class AssocListTest : public ModuleTest {
protected:
    ~AssocListTest() override { build(""); }
    void write() const {
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.updateWifiAssocList(), 0); }), "");
    }
};

TEST_F(AssocListTest, AnAcStationOnRai0IsListedIn5GOnly) {
    qo1905_device &device = *build(kAgent).at(0);
    add_station(device, "02:57:00:00:00:01", 0x0105);
    add_client(device, "rai0", "02:57:00:00:00:01");
    write();
    EXPECT_EQ(read_file(kAssoc24G), "");
    EXPECT_EQ(read_file(kAssoc5G), "02:57:00:00:00:01           0     0     0      0     rai0 0 0 \n");
}

TEST_F(AssocListTest, EthContributesNothingAndEth0IsExaminedFor24G) {
    qo1905_device &device = *build(kAgent).at(0);
    add_station(device, "02:57:00:00:00:01", 0x0103);
    add_station(device, "02:57:00:00:00:02", 0x0103);
    add_station(device, "02:57:00:00:00:03", 0x0104);
    add_client(device, "eth", "02:57:00:00:00:01");
    add_client(device, "eth0", "02:57:00:00:00:02");
    add_client(device, "eth0", "02:57:00:00:00:03");
    write();
    EXPECT_EQ(read_file(kAssoc24G), "02:57:00:00:00:02           0     0     0      0     eth0 0 0 \n");
    EXPECT_EQ(read_file(kAssoc5G), "");
}

TEST_F(AssocListTest, AStationWithTwoNodesIsListedOnceFromTheOneOfTheBand) {
    qo1905_device &device = *build(kAgent).at(0);
    add_station(device, "02:57:00:00:00:01", 0x0104).PhyRate = 866;
    add_station(device, "02:57:00:00:00:01", 0x0101).PhyRate = 54;
    add_station(device, "02:57:00:00:00:01", 0x0100).PhyRate = 11;
    add_client(device, "ra0", "02:57:00:00:00:01");
    write();
    EXPECT_EQ(read_file(kAssoc24G), "02:57:00:00:00:01          54     0     0      0      ra0 0 0 \n");
    EXPECT_EQ(read_file(kAssoc5G), "");
}

TEST_F(AssocListTest, RssiIsSignedInAFieldOfFour) {
    qo1905_device &device = *build(kAgent).at(0);
    qo1905_sta_info &station = add_station(device, "02:57:00:00:00:01", 0x0104);
    station.RSSI = static_cast<int16_t>(0xffc4);
    station.PhyRate = 65535;
    station.SignalLevel = 40000;
    std::memcpy(device.Info.Channel5G, "1234567890123456", 16);  // to the brim
    add_client(device, "1rai567890", "02:57:00:00:00:01");       // wider than its column
    write();
    EXPECT_EQ(read_file(kAssoc5G),
              "02:57:00:00:00:01       65535   -60     0  40000 1rai567890 0 0 1234567890123456\n");
}

TEST_F(AssocListTest, AShorterChannelOverwritesTheStartOfTheLongerOneBefore) {
    const auto devices = build(std::string(kAgent) + "," + kAgent + "," + kAgent);
    std::strcpy(devices[0]->Info.Channel5G, "149");
    std::strcpy(devices[1]->Info.Channel5G, "36");
    for (qo1905_device *device : devices) {
        add_station(*device, "02:57:00:00:00:01", 0x0102);
        add_client(*device, "rai0", "02:57:00:00:00:01");
    }
    write();
    const std::string line = "02:57:00:00:00:01           0     0     0      0     rai0 0 0 ";
    EXPECT_EQ(read_file(kAssoc5G), line + "149\n" + line + "369\n" + line + "369\n");
}

TEST_F(AssocListTest, TheChannelGoesOnOverDevicesWithoutAStationInTheBand) {
    const auto devices = build(std::string(kAgent) + "," + kAgent);
    std::strcpy(devices[0]->Info.Channel24G, "11");
    std::strcpy(devices[1]->Info.Channel24G, "6");
    add_station(*devices[1], "02:57:00:00:00:01", 0x0103);
    add_client(*devices[1], "ra0", "02:57:00:00:00:01");
    write();
    EXPECT_EQ(read_file(kAssoc24G), "02:57:00:00:00:01           0     0     0      0      ra0 0 0 61\n");
}

TEST_F(AssocListTest, EachBandTakesItsThreeCodesAndNoOther) {
    for (uint32_t code : {0x0000U, 0x0100U, 0x0101U, 0x0102U, 0x0103U, 0x0104U, 0x0105U, 0x0106U, 0x0107U, 0x0200U}) {
        qo1905_device &device = *build(kAgent).at(0);
        add_station(device, "02:57:00:00:00:01", code);
        add_client(device, "ra0", "02:57:00:00:00:01");
        add_client(device, "rai0", "02:57:00:00:00:01");
        write();
        EXPECT_EQ(!read_file(kAssoc24G).empty(), code == 0x0100 || code == 0x0101 || code == 0x0103) << code;
        EXPECT_EQ(!read_file(kAssoc5G).empty(), code == 0x0102 || code == 0x0104 || code == 0x0105) << code;
    }
}

TEST_F(AssocListTest, WithoutATableOrACountBothFilesAreEmpty) {
    write();
    EXPECT_EQ(read_file(kAssoc24G) + read_file(kAssoc5G), "");
    qo1905_device &device = *build(kAgent).at(0);
    add_station(device, "02:57:00:00:00:01", 0x0103);
    add_client(device, "ra0", "02:57:00:00:00:01");
    write();
    EXPECT_NE(read_file(kAssoc24G), "");
    module_.getNetTopolTable()->IEEE1905DeviceNumberOfEntries = 0;
    write();
    EXPECT_EQ(read_file(kAssoc24G) + read_file(kAssoc5G), "");
}

TEST_F(AssocListTest, AFileThatCannotBeOpenedDoesNotKeepTheOtherFromBeingWritten) {
    qo1905_device &device = *build(kAgent).at(0);
    add_station(device, "02:57:00:00:00:01", 0x0103);
    add_station(device, "02:57:00:00:00:01", 0x0104);
    add_client(device, "ra0", "02:57:00:00:00:01");
    add_client(device, "rai0", "02:57:00:00:00:01");
    ASSERT_EQ(mkdir(kAssoc24G, 0755), 0);
    write();
    EXPECT_NE(read_file(kAssoc5G), "");
    rmdir(kAssoc24G);
    std::remove(kAssoc5G);
    ASSERT_EQ(mkdir(kAssoc5G, 0755), 0);
    write();
    EXPECT_NE(read_file(kAssoc24G), "");
    rmdir(kAssoc5G);
}

}  // namespace
