// The objects inside a device of the data model.
#include <cstring>

#include "tests/support/module_test.h"

using testing::HasSubstr;
using testing::Not;

namespace {

const char kAgent[] = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})";
const char kFastEthernet[] = "IEEE 802.3u(IEEE 802.3u Fast Ethernet)";

// A device that a test fills by hand.
class DeviceObjectsTest : public ModuleTest {
protected:
    DeviceObjectsTest() : device_(*build(kAgent).at(0)) {}
    ~DeviceObjectsTest() override { build(""); }

    std::string written() const {
        module_.writeJsonDataModel();
        const std::string text = read_file(kModel);
        parse_json(text);
        return object_text(text, "IEEE1905Device.1");
    }

    void add_interface(const char *mac, uint32_t media_type) {
        auto *node = append_node(device_.Interface);
        set_mac(node->InterfaceId, mac);
        node->MediaType = media_type;
    }
    qo1905_sta_info &add_station(const char *mac, uint32_t media_type) {
        auto *node = append_node(device_.STAInfo);
        set_mac(node->STAMac, mac);
        node->MediaType = media_type;
        return *node;
    }
    void add_clients(const char *local, const std::vector<const char *> &macs) {
        auto *group = append_node(device_.NonIEEE1905Neighbor);
        set_mac(group->LocalInterface, local);
        for (const char *mac : macs) {
            set_mac(append_node(group->Neighbor)->NeighborInterfaceId, mac);
        }
        device_.NonIEEE1905NeighborNumberOfEntries = 1;
    }
    qo1905_1905_neighbor &add_neighbour(const char *local, const char *mac) {
        auto *group = append_node(device_.IEEE1905Neighbor);
        set_mac(group->LocalInterface, local);
        set_mac(append_node(group->Neighbor)->NeighborDeviceId, mac);
        device_.IEEE1905NeighborNumberOfEntries = 1;
        return *group->Neighbor;
    }

    qo1905_device &device_;
};

TEST_F(DeviceObjectsTest, ANeighbourWithoutAStationIsPlainEthernet) {
    add_clients("02:0a:00:00:00:01", {"02:e7:00:00:00:01"});
    EXPECT_EQ(object_text(written(), "NonIEEE1905Neighbor.1"),
              "{\n\t\t\t\t\t\t\t\"LocalInterface\": \"Interface.1\",\n"
              "\t\t\t\t\t\t\t\"NeighborInterfaceId\": \"02:e7:00:00:00:01\",\n"
              "\t\t\t\t\t\t\t\"MediaType\": \"IEEE 802.3u(IEEE 802.3u Fast Ethernet)\"\n\t\t\t\t\t\t}");
}

TEST_F(DeviceObjectsTest, AStationOnTheOtherBandsInterfaceIsSkippedAndLeavesAGap) {
    add_interface("02:0a:00:00:06:00", 0x0103);
    add_station("02:57:00:00:00:01", 0x0105);
    add_station("02:57:00:00:00:02", 0x0103);
    add_clients("02:0a:00:00:06:00", {"02:57:00:00:00:01", "02:57:00:00:00:02"});
    const std::string text = written();
    EXPECT_THAT(text, Not(HasSubstr("NonIEEE1905Neighbor.1")));
    EXPECT_THAT(object_text(text, "NonIEEE1905Neighbor.2"), HasSubstr("02:57:00:00:00:02"));
}

TEST_F(DeviceObjectsTest, ANeighbourWithTwoStationNodesGivesTwoObjects) {
    add_station("02:0b:00:00:00:0c", 0x0104).PhyRate = 1300;
    add_station("02:57:00:00:00:01", 0x0104);
    add_station("02:0b:00:00:00:0c", 0x0001).PhyRate = 1000;
    add_neighbour("02:0a:00:00:00:01", "02:0b:00:00:00:0c");
    add_neighbour("02:0a:00:00:00:01", "02:0c:00:00:00:0c");
    const std::string text = written();
    EXPECT_THAT(object_text(text, "IEEE1905Neighbor.1"), HasSubstr("\"RATE\": 1300,"));
    EXPECT_THAT(object_text(text, "IEEE1905Neighbor.2"),
                HasSubstr("\"MediaType\": \"IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)\","));
    EXPECT_THAT(object_text(text, "IEEE1905Neighbor.2"), HasSubstr("\"RATE\": 1000,"));
    EXPECT_THAT(object_text(text, "IEEE1905Neighbor.3"), HasSubstr("\"NeighborDeviceId\": \"02:0c:00:00:00:0c\""));
}

TEST_F(DeviceObjectsTest, AGroupWhoseInterfaceIsUnknownKeepsTheNameOfTheGroupBefore) {
    add_clients("02:ff:00:00:00:00", {"02:e7:00:00:00:01"});
    add_clients("00:00:00:00:00:00", {"02:e7:00:00:00:02"});  // the uplink that the dump does not tell is interface 2
    add_clients("02:ff:00:00:00:00", {"02:e7:00:00:00:03"});
    add_neighbour("02:ff:00:00:00:00", "02:0b:00:00:00:0c");
    add_neighbour("02:0a:00:00:00:01", "02:0b:00:00:00:0c");
    add_neighbour("02:ff:00:00:00:00", "02:0b:00:00:00:0c");
    const std::string text = written();
    EXPECT_THAT(object_text(text, "IEEE1905Neighbor.3"), HasSubstr("\"LocalInterface\": \"Interface.1\","));
    EXPECT_THAT(object_text(text, "NonIEEE1905Neighbor.1"), HasSubstr("\"LocalInterface\": \"\","));
    EXPECT_THAT(object_text(text, "NonIEEE1905Neighbor.2"), HasSubstr("\"LocalInterface\": \"Interface.2\","));
    EXPECT_THAT(object_text(text, "NonIEEE1905Neighbor.3"), HasSubstr("\"LocalInterface\": \"Interface.2\","));
    EXPECT_THAT(object_text(text, "IEEE1905Neighbor.1"), HasSubstr("\"LocalInterface\": \"\","));
}

TEST_F(DeviceObjectsTest, ACountOfZeroWritesNothingOfItsList) {
    add_neighbour("02:0a:00:00:00:01", "02:0b:00:00:00:0c");
    add_clients("02:0a:00:00:00:01", {"02:e7:00:00:00:01"});
    append_node(device_.BridgingTuple);
    device_.IEEE1905NeighborNumberOfEntries = 0;
    EXPECT_THAT(written(), Not(HasSubstr("\"IEEE1905Neighbor.")));
    device_.NonIEEE1905NeighborNumberOfEntries = 0;
    EXPECT_THAT(written(), Not(HasSubstr("NonIEEE1905Neighbor.")));
    EXPECT_THAT(written(), Not(HasSubstr("BridgingTuple.")));
    EXPECT_THAT(written(), HasSubstr("\"Interface.2\""));
    device_.InterfaceNumberOfEntries = 0;
    EXPECT_THAT(written(), Not(HasSubstr("\"Interface.")));
}

TEST_F(DeviceObjectsTest, ABridgingTupleListsItsMacs) {
    auto *tuple = append_node(device_.BridgingTuple);
    device_.BridgingTupleNumberOfEntries = 1;
    tuple->Count = 3;
    tuple->InterfaceList = static_cast<uint8_t(*)[6]>(std::calloc(3, 6));
    set_mac(tuple->InterfaceList[0], "02:0a:00:00:00:01");
    set_mac(tuple->InterfaceList[1], "02:0a:00:00:06:00");
    set_mac(tuple->InterfaceList[2], "02:0a:00:00:95:00");
    EXPECT_THAT(
        written(),
        HasSubstr(",\n\t\t\t\t\t\t\"BridgingTuple.1\": {\n\t\t\t\t\t\t\t\"InterfaceList\": [ \"02:0a:00:00:00:01\", "
                  "\"02:0a:00:00:06:00\", \"02:0a:00:00:95:00\" ]\n\t\t\t\t\t\t}"));
}

TEST_F(DeviceObjectsTest, ABridgingTupleLongerThanItsBufferEndsAtAWholeMac) {
    auto *tuple = append_node(device_.BridgingTuple);
    device_.BridgingTupleNumberOfEntries = 1;
    tuple->Count = 500;
    tuple->InterfaceList = static_cast<uint8_t(*)[6]>(std::calloc(500, 6));
    std::string list = "\"00:00:00:00:00:00\"";
    for (int i = 1; i < 97; ++i) {  // 19 bytes, then 21 each: 97 of them are 2,035
        list += ", \"00:00:00:00:00:00\"";
    }
    EXPECT_THAT(written(), HasSubstr("\"InterfaceList\": [ " + list + " ]\n"));
}

TEST_F(DeviceObjectsTest, AWifiNeighbourShowsItsRadioValues) {
    add_interface("02:0a:00:00:95:00", 0x0107);
    qo1905_sta_info &station = add_station("02:57:00:00:00:01", 0x0107);
    station.PhyRate = 65535;
    station.RSSI = static_cast<int16_t>(0xffc4);
    station.SignalLevel = 40000;
    std::memset(station.Tx, 't', sizeof(station.Tx));  // without a zero byte
    std::strcpy(station.Rx, "r");
    add_station("02:57:00:00:00:01", 0x0103);  // only the first counts
    add_clients("02:0a:00:00:95:00", {"02:57:00:00:00:01", "02:e7:00:00:00:01"});
    const std::string text = written();
    EXPECT_EQ(object_text(text, "NonIEEE1905Neighbor.1"),
              "{\n\t\t\t\t\t\t\t\"LocalInterface\": \"Interface.3\",\n"
              "\t\t\t\t\t\t\t\"NeighborInterfaceId\": \"02:57:00:00:00:01\",\n"
              "\t\t\t\t\t\t\t\"MediaType\": \"IEEE 802.11af (IEEE 802.11af)\",\n"
              "\t\t\t\t\t\t\t\"RATE\": 65535,\n\t\t\t\t\t\t\t\"RSSI\": -60,\n\t\t\t\t\t\t\t\"SignalLevel\": 40000,\n"
              "\t\t\t\t\t\t\t\"Tx\": \"" +
                  std::string(32, 't') + "\",\n\t\t\t\t\t\t\t\"Rx\": \"r\"\n\t\t\t\t\t\t}");
    EXPECT_THAT(object_text(text, "NonIEEE1905Neighbor.2"), HasSubstr(kFastEthernet));
}

TEST_F(DeviceObjectsTest, AWifiNeighbourBehindNoInterfaceIsNotTold) {
    add_interface("02:0a:00:00:06:00", 0x0103);
    add_station("02:57:00:00:00:01", 0x0103);
    add_clients("02:0a:00:00:06:00", {});
    add_clients("02:ff:00:00:00:00", {"02:57:00:00:00:01"});
    EXPECT_THAT(written(), Not(HasSubstr("NonIEEE1905Neighbor.1")));
}

TEST_F(DeviceObjectsTest, OfTwoInterfacesWithOneMacTheFirstCounts) {
    add_interface("02:0a:00:00:06:00", 0x0103);
    add_interface("02:0a:00:00:06:00", 0x0104);
    add_station("02:57:00:00:00:01", 0x0104);
    add_station("02:57:00:00:00:02", 0x0103);
    add_clients("02:0a:00:00:06:00", {"02:57:00:00:00:01", "02:57:00:00:00:02"});
    const std::string text = written();
    EXPECT_THAT(text, Not(HasSubstr("NonIEEE1905Neighbor.1")));
    EXPECT_THAT(object_text(text, "NonIEEE1905Neighbor.2"), HasSubstr("\"LocalInterface\": \"Interface.3\","));
}

TEST_F(DeviceObjectsTest, ATupleThatClaimsMacsItDoesNotHaveListsNone) {
    append_node(device_.BridgingTuple)->Count = 3;
    device_.BridgingTupleNumberOfEntries = 1;
    EXPECT_THAT(written(), HasSubstr("\"InterfaceList\": [  ]\n"));
}

TEST_F(DeviceObjectsTest, TheBridgeFlagIsTrueForOneOnly) {
    qo1905_1905_neighbor &neighbour = add_neighbour("02:0a:00:00:00:01", "02:0b:00:00:00:0c");
    for (const uint32_t flag : {0U, 1U, 2U}) {
        neighbour.IEEE802dot1Bridge = flag;
        EXPECT_THAT(object_text(written(), "IEEE1905Neighbor.1"),
                    HasSubstr(std::string("\"IEEE802dot1Bridge\": ") + (flag == 1 ? "true" : "false") + "\n"));
    }
}

}  // namespace
