// One device entry of the dump.
#include <json-c/json.h>

#include <cstdio>
#include <cstring>
#include <random>

#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const char kHead[] = R"("AL MAC": "02:0a:00:00:00:01", "Device role": "02")";

std::string station(const std::string &mac, const std::string &backhaul, const std::string &more = "") {
    return "{\"STA MAC address\": \"" + mac + "\", \"BH STA\": \"" + backhaul + "\", \"Medium\": \"2.4G\"" + more + "}";
}

std::string bss(const std::string &bssid, const std::string &stations) {
    return "{\"BSSID\": \"" + bssid + "\", \"connected sta info\": [" + stations + "]}";
}

std::string radio(const std::string &channel, const std::string &bsss) {
    return "{\"channel\": \"" + channel + "\", \"BSSINFO\": [" + bsss + "]}";
}

std::string device_with_radios(int number, const std::string &radios, const std::string &more = "") {
    return std::string("{") + kHead + ", \"Number of radios\": " + std::to_string(number) + ", \"Radio Info\": [" +
           radios + "]" + more + "}";
}

class DumpEntryTest : public ModuleTest {
protected:
    static qo1905_device &parse(const std::string &device) {
        const auto devices = build(device);
        EXPECT_EQ(devices.size(), 1U);
        return *devices.at(0);
    }

    static std::vector<std::string> group_macs(const qo1905_non1905_group &group) {
        std::vector<std::string> macs;
        for (const qo1905_non1905_neighbor *neighbor : nodes(group.Neighbor)) {
            macs.push_back(mac_text(neighbor->NeighborInterfaceId));
        }
        return macs;
    }

    static std::vector<std::string> group_names(const qo1905_device &device) {
        std::vector<std::string> names;
        for (const qo1905_non1905_group *group : nodes(device.NonIEEE1905Neighbor)) {
            names.emplace_back(group->Name);
        }
        return names;
    }
};

TEST_F(DumpEntryTest, ADeviceWithNothingHasTwoInterfacesAndNoNeighbours) {
    const qo1905_device &device = parse(std::string("{") + kHead + "}");
    EXPECT_EQ(device.InterfaceNumberOfEntries, 2);
    const auto interfaces = nodes(device.Interface);
    ASSERT_EQ(interfaces.size(), 2U);
    EXPECT_EQ(mac_text(interfaces[0]->InterfaceId), "02:0a:00:00:00:01");
    EXPECT_EQ(interfaces[0]->MediaType, 0U);
    EXPECT_EQ(mac_text(interfaces[1]->InterfaceId), "00:00:00:00:00:00");
    EXPECT_EQ(interfaces[1]->MediaType, 0U);
    EXPECT_EQ(device.NonIEEE1905NeighborNumberOfEntries, 0);
    EXPECT_EQ(device.IEEE1905NeighborNumberOfEntries, 0);
    EXPECT_EQ(device.STAInfoNumberOfEntries, 0);
    EXPECT_EQ(device.NonIEEE1905Neighbor, nullptr);
    EXPECT_EQ(device.IEEE1905Neighbor, nullptr);
    EXPECT_EQ(device.STAInfo, nullptr);
}

TEST_F(DumpEntryTest, TheChannelDecidesNamesMediaTypesAndTheChannelText) {
    struct Case {
        const char *channel;
        const char *name;
        uint32_t media_type;
        bool is_5g;
    };
    for (const Case &band :
         {Case{"36", "rai0", 260, true}, Case{"35", "ra0", 259, false}, Case{"13", "ra0", 259, false},
          Case{"auto", "ra0", 259, false}, Case{"149+", "rai0", 260, true}, Case{"-40", "ra0", 259, false}}) {
        const qo1905_device &device = parse(
            device_with_radios(1, radio(band.channel, bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No")))));
        EXPECT_THAT(group_names(device), ElementsAre(band.name)) << band.channel;
        EXPECT_EQ(nodes(device.Interface)[2]->MediaType, band.media_type) << band.channel;
        EXPECT_STREQ(band.is_5g ? device.Info.Channel5G : device.Info.Channel24G, band.channel);
        EXPECT_STREQ(band.is_5g ? device.Info.Channel24G : device.Info.Channel5G, "");
    }
}

TEST_F(DumpEntryTest, TheFirstBssOfEveryRadioOfABandHasTheSameName) {
    const std::string one = bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No"));
    const std::string other = bss("02:0a:00:00:06:01", station("02:57:00:00:00:02", "No"));
    EXPECT_THAT(group_names(parse(device_with_radios(2, radio("6", one) + "," + radio("11", other)))),
                ElementsAre("ra0", "ra0"));
    EXPECT_THAT(group_names(parse(device_with_radios(2, radio("36", one) + "," + radio("149", other)))),
                ElementsAre("rai0", "rai0"));
    EXPECT_THAT(group_names(parse(device_with_radios(1, radio("36", one + "," + other)))), ElementsAre("rai0", "rai1"));
}

TEST_F(DumpEntryTest, AStationThatIsNeitherYesNorNoIsOnlyAWifiNeighbour) {
    for (const char *backhaul : {"Maybe", "yes", "No ", ""}) {
        const qo1905_device &device =
            parse(device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", backhaul)))));
        EXPECT_EQ(device.NonIEEE1905Neighbor, nullptr) << backhaul;
        EXPECT_EQ(device.IEEE1905Neighbor, nullptr) << backhaul;
        ASSERT_EQ(nodes(device.STAInfo).size(), 1U) << backhaul;
        EXPECT_EQ(mac_text(device.STAInfo->STAMac), "02:57:00:00:00:01");
    }
}

TEST_F(DumpEntryTest, ThreeEthernetClientsGiveThreeGroupsAndHangOnTheFirst) {
    const qo1905_device &device = parse(std::string("{") + kHead + R"(, "Other Clients Info": [
        {"Client Address": "02:e7:00:00:00:01", "1905 Intf address": "02:0a:00:00:00:01"},
        {"Client Address": "02:e7:00:00:00:02", "1905 Intf address": "02:0a:00:00:00:01"},
        {"Client Address": "02:e7:00:00:00:03", "1905 Intf address": "02:0a:00:00:00:02"}]})");
    EXPECT_EQ(device.NonIEEE1905NeighborNumberOfEntries, 3);
    const auto groups = nodes(device.NonIEEE1905Neighbor);
    ASSERT_EQ(groups.size(), 3U);
    for (const qo1905_non1905_group *group : groups) {
        EXPECT_STREQ(group->Name, "eth");
        EXPECT_EQ(group->Count, 1);
    }
    EXPECT_THAT(group_macs(*groups[0]), ElementsAre("02:e7:00:00:00:01", "02:e7:00:00:00:02", "02:e7:00:00:00:03"));
    EXPECT_THAT(group_macs(*groups[1]), IsEmpty());
    EXPECT_THAT(group_macs(*groups[2]), IsEmpty());
    EXPECT_EQ(mac_text(groups[2]->LocalInterface), "02:0a:00:00:00:02");
}

TEST_F(DumpEntryTest, TheWifiCountIsBackhaulsPlusTheStationsOfTheLastBss) {
    const std::string a =
        bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No") + "," + station("02:57:00:00:00:02", "No") + "," +
                                     station("02:57:00:00:00:03", "No"));
    const std::string b = bss("02:0a:00:00:06:01", station("02:57:00:00:00:04", "No"));
    const qo1905_device &device = parse(device_with_radios(
        1, radio("6", a + "," + b),
        R"(, "BH Info": [{"neighbor almac addr": "02:00:00:00:00:01", "Backhaul Medium Type": "5G"}])"));
    EXPECT_EQ(device.STAInfoNumberOfEntries, 2);
    EXPECT_EQ(nodes(device.STAInfo).size(), 5U);
}

TEST_F(DumpEntryTest, AnEthernetBackhaulMakesTheDeviceAnAP) {
    const qo1905_device &device = parse(std::string("{") + kHead + R"(, "BH Info": [
        {"neighbor almac addr": "02:00:00:00:00:01", "Backhaul Medium Type": "Ethernet", "RSSI": "-30"}]})");
    EXPECT_STREQ(device.Info.DeviceMode, "AP");
    EXPECT_EQ(device.STAInfoNumberOfEntries, 0);
    ASSERT_EQ(nodes(device.STAInfo).size(), 1U);
    EXPECT_EQ(device.STAInfo->RSSI, 0);
    EXPECT_EQ(device.STAInfo->MediaType, 0U);
}

TEST_F(DumpEntryTest, ABssThatListsNoStationsKeepsTheCountAndAnEmptyListClearsIt) {
    const std::string a =
        bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No") + "," + station("02:57:00:00:00:02", "No"));
    EXPECT_EQ(parse(device_with_radios(1, radio("6", a + R"(,{"BSSID": "02:0a:00:00:06:01"})"))).STAInfoNumberOfEntries,
              2);
    EXPECT_EQ(
        parse(device_with_radios(1, radio("6", a + R"(,{"BSSID": "02:0a:00:00:06:01", "connected sta info": 7})")))
            .STAInfoNumberOfEntries,
        2);
    EXPECT_EQ(parse(device_with_radios(1, radio("6", a + "," + bss("02:0a:00:00:06:01", "")))).STAInfoNumberOfEntries,
              0);
}

TEST_F(DumpEntryTest, MeshStationsFormA1905Group) {
    const qo1905_device &device =
        parse(device_with_radios(1, radio("36", bss("02:0a:00:00:95:00", station("02:0b:00:00:00:0c", "Yes") + "," +
                                                                             station("02:57:00:00:00:01", "No") + "," +
                                                                             station("02:0c:00:00:00:0c", "Yes")))));
    EXPECT_EQ(device.IEEE1905NeighborNumberOfEntries, 2);
    EXPECT_EQ(device.NonIEEE1905NeighborNumberOfEntries, 1);
    const auto groups = nodes(device.IEEE1905Neighbor);
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(mac_text(groups[0]->LocalInterface), "02:0a:00:00:95:00");
    EXPECT_EQ(groups[0]->Count, 2);
    ASSERT_EQ(nodes(groups[0]->Neighbor).size(), 2U);
    EXPECT_EQ(mac_text(groups[0]->Neighbor->next->NeighborDeviceId), "02:0c:00:00:00:0c");
    EXPECT_EQ(groups[0]->Neighbor->IEEE802dot1Bridge, 0U);
    EXPECT_EQ(nodes(device.STAInfo).size(), 3U);
}

TEST_F(DumpEntryTest, RssiKeepsTheLastValueThatParsed) {
    const std::string list = station("02:57:00:00:00:01", "No", R"(, "uplink rssi": "x")") + "," +
                             station("02:57:00:00:00:02", "No", R"(, "uplink rssi": "-60dBm")") + "," +
                             station("02:57:00:00:00:03", "No") + "," +
                             station("02:57:00:00:00:04", "No", R"(, "uplink rssi": "")") + "," +
                             station("02:57:00:00:00:05", "No", R"(, "uplink rssi": -33)");
    const qo1905_device &device =
        parse(device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", list)),
                                 R"(, "BH Info": [{"Backhaul Medium Type": "Ethernet", "RSSI": "-20"},
                                                               {"Backhaul Medium Type": "5G", "RSSI": "none"}])"));
    std::vector<int> values;
    for (const qo1905_sta_info *node : nodes(device.STAInfo)) {
        values.push_back(node->RSSI);
    }
    // "Ethernet" clears only its own node: what it parsed is still the last value for the one behind it.
    EXPECT_THAT(values, ElementsAre(0, -60, -60, -60, -33, 0, -20));
}

TEST_F(DumpEntryTest, RssiStartsAtZeroForEveryDevice) {
    const auto one = [](const char *rssi) {
        const std::string member = std::string(", \"uplink rssi\": \"") + rssi + "\"";
        return device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No", member))));
    };
    const auto devices = build(one("-60") + "," + one("x"));
    EXPECT_EQ(devices.at(0)->STAInfo->RSSI, -60);
    EXPECT_EQ(devices.at(1)->STAInfo->RSSI, 0);
}

TEST_F(DumpEntryTest, MediaTypesComeFromTheMediumNotFromTheChannel) {
    const char kList[] = R"({"STA MAC address": "02:57:00:00:00:01", "Medium": "5G"},
        {"STA MAC address": "02:57:00:00:00:02", "Medium": "2.4G"}, {"STA MAC address": "02:57:00:00:00:03", "Medium": "5g"},
        {"STA MAC address": "02:57:00:00:00:04"})";
    const qo1905_device &device = parse(device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", kList))));
    const auto stations = nodes(device.STAInfo);
    ASSERT_EQ(stations.size(), 4U);
    EXPECT_EQ(stations[0]->MediaType, 260U);
    EXPECT_EQ(stations[1]->MediaType, 259U);
    EXPECT_EQ(stations[2]->MediaType, 0U);
    EXPECT_EQ(stations[3]->MediaType, 0U);
}

TEST_F(DumpEntryTest, BackhaulNeighboursComeFromTheFirstMetricsThatTellThem) {
    const qo1905_device &device = parse(std::string("{") + kHead + R"(, "BH Info": [
        {"neighbor almac addr": "02:00:00:00:00:01", "connected iface addr": "02:0a:00:00:00:0c", "Backhaul Medium Type": "5G", "RSSI": "-40"},
        {"neighbor almac addr": "02:0B:00:00:00:01", "connected iface addr": "02:0a:00:00:00:0d", "Backhaul Medium Type": "2.4G"},
        {"connected iface addr": "02:0a:00:00:00:0e", "Backhaul Medium Type": "Carrier pigeon"}],
      "backhaul link metrics": [{"metrics": [{"neighbor_if_mac": "02:00:00:00:00:66"}]}, 7, null,
        {"neighbor_al": "02:00:00:00:00:01"},
        {"neighbor_al": "02:00:00:00:00:01", "metrics": [{}, {"neighbor_if_mac": "02:00:00:00:00:77"}]},
        {"neighbor_al": "02:00:00:00:00:01", "metrics": [{"neighbor_if_mac": "02:00:00:00:95:00"}]},
        {"neighbor_al": "02:00:00:00:00:01", "metrics": [{"neighbor_if_mac": "02:00:00:00:95:01"}]},
        {"neighbor_al": "02:0b:00:00:00:01", "metrics": [{"neighbor_if_mac": "02:0b:00:00:95:00"}]}]})");
    EXPECT_EQ(device.IEEE1905NeighborNumberOfEntries, 3);
    EXPECT_EQ(device.STAInfoNumberOfEntries, 2);
    const auto groups = nodes(device.IEEE1905Neighbor);
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(mac_text(groups[1]->LocalInterface), "02:0a:00:00:00:0d");
    EXPECT_EQ(groups[2]->Count, 1);
    EXPECT_EQ(groups[1]->Neighbor, nullptr);
    const auto entries = nodes(groups[0]->Neighbor);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(mac_text(entries[0]->NeighborDeviceId), "02:00:00:00:95:00");
    EXPECT_EQ(mac_text(entries[1]->NeighborDeviceId), "00:00:00:00:00:00");  // the text differs in its capitals
    EXPECT_EQ(mac_text(entries[2]->NeighborDeviceId), "00:00:00:00:00:00");
    const auto stations = nodes(device.STAInfo);
    ASSERT_EQ(stations.size(), 3U);
    EXPECT_EQ(mac_text(stations[0]->STAMac), "02:00:00:00:95:00");
    EXPECT_EQ(stations[0]->RSSI, -40);
    EXPECT_EQ(stations[1]->MediaType, 259U);
    EXPECT_EQ(stations[2]->MediaType, 0U);
    EXPECT_STREQ(device.Info.DeviceMode, "Agent");
}

TEST_F(DumpEntryTest, AnEmptyNeighbourTextEqualsAnEmptyOne) {
    const qo1905_device &device = parse(
        std::string("{") + kHead + R"(, "BH Info": [{"neighbor almac addr": "", "Backhaul Medium Type": "Ethernet"}],
        "backhaul link metrics": [{"neighbor_al": "", "metrics": [{"neighbor_if_mac": "02:00:00:00:00:10"}]}]})");
    EXPECT_EQ(mac_text(device.IEEE1905Neighbor->Neighbor->NeighborDeviceId), "02:00:00:00:00:10");
    EXPECT_EQ(mac_text(device.STAInfo->STAMac), "02:00:00:00:00:10");  // also with an Ethernet backhaul
}

TEST_F(DumpEntryTest, BackhaulNeighboursDoNotChainBehindEthernetClients) {
    const qo1905_device &device = parse(std::string("{") + kHead + R"(,
        "Other Clients Info": [{"Client Address": "02:e7:00:00:00:01", "1905 Intf address": "02:0a:00:00:00:01"}],
        "BH Info": [{"neighbor almac addr": "x", "connected iface addr": "02:0a:00:00:00:01"}]})");
    EXPECT_EQ(nodes(device.NonIEEE1905Neighbor->Neighbor).size(), 1U);
    EXPECT_EQ(nodes(device.IEEE1905Neighbor->Neighbor).size(), 1U);
}

TEST_F(DumpEntryTest, RatesComeFromTheLastReportWithTheStationAndItsFirstClient) {
    fake::host.role = "1";
    for (const char *clients :
         {R"({"STAMac": "2:57:0:0:0:1", "PhyRate": 11}, {"STAMac": "2:57:0:0:0:1", "PhyRate": 12})",
          R"({"STAMac": "2:57:0:0:0:1", "PhyRate": 13}, {"STAMac": "2:57:0:0:0:1", "PhyRate": 14})",
          R"({"STAMac": "2:57:0:0:0:2", "PhyRate": 15})"}) {
        receive(R"({"SrcAlMac": "02:0a:00:00:00:01", "STAInfo": [)" + std::string(clients) + "]}");
    }
    receive(R"({"SrcAlMac": "02:0b:00:00:00:01", "STAInfo": [{"STAMac": "2:57:0:0:0:1", "PhyRate": 99}]})");
    const qo1905_device &device =
        parse(device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No")))));
    EXPECT_EQ(device.STAInfo->PhyRate, 13);
}

TEST_F(DumpEntryTest, ABssWithoutAnIdEndsTheEntryAndIsCounted) {
    put_dump(device_with_radios(2, radio("6", bss("02:0a:00:00:06:00", station("02:57:00:00:00:01", "No")) + ",{}") +
                                       "," + radio("36", bss("02:0a:00:00:95:00", ""))));
    const Json dump = parse_json(read_file(kDump));
    auto *device = static_cast<qo1905_device *>(std::calloc(1, sizeof(qo1905_device)));
    json_object *topology = json_object_object_get(dump.get(), "topology information");
    log_level = 7;  // a failure leaves no trace but its message
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.getNbrDevInfo(topology, device, 1), 16); }),
              "bssID have not value!\n");
    log_level = 0;
    EXPECT_EQ(device->InterfaceNumberOfEntries, 4);
    EXPECT_EQ(nodes(device->Interface).size(), 3U);
    EXPECT_EQ(device->NonIEEE1905NeighborNumberOfEntries, 1);
    EXPECT_EQ(device->STAInfoNumberOfEntries, 0);
    // The table takes the record over and frees it.
    build("");
    module_.getNetTopolTable()->IEEE1905Device = device;
    build("");
}

TEST_F(DumpEntryTest, RadiosBeyondTheListAreNone) {
    const std::string one = radio("6", bss("02:0a:00:00:06:00", ""));
    EXPECT_EQ(parse(device_with_radios(2147483647, one)).InterfaceNumberOfEntries, 3);
    EXPECT_EQ(parse(device_with_radios(-1, one)).InterfaceNumberOfEntries, 2);
    EXPECT_EQ(parse(device_with_radios(0, one)).InterfaceNumberOfEntries, 2);
    EXPECT_EQ(parse(std::string("{") + kHead + ", \"Radio Info\": [" + one + "]}").InterfaceNumberOfEntries, 2);
    EXPECT_EQ(parse(device_with_radios(3, "null, 7, " + one)).InterfaceNumberOfEntries, 3);
}

TEST_F(DumpEntryTest, ARadioWithoutAChannelIs24GAndLeavesTheText) {
    const qo1905_device &device = parse(device_with_radios(
        2, radio("6", bss("02:0a:00:00:06:00", "")) + R"(, {"BSSINFO": [{"BSSID": "02:0a:00:00:06:01"}]})"));
    EXPECT_STREQ(device.Info.Channel24G, "6");
    EXPECT_EQ(nodes(device.Interface)[3]->MediaType, 259U);
}

TEST_F(DumpEntryTest, TheLastBssOfABandGivesItsChannel) {
    const qo1905_device &device = parse(device_with_radios(
        3, radio("6", bss("02:0a:00:00:06:00", "")) + "," + radio("149", bss("02:0a:00:00:95:00", "")) + "," +
               radio("1234567890123456789", bss("02:0a:00:00:95:01", ""))));
    EXPECT_EQ(std::string(device.Info.Channel5G, 16), "1234567890123456");
    EXPECT_STREQ(device.Info.Channel24G, "6");
}

TEST_F(DumpEntryTest, CountsAreAsWideAsTheirFields) {
    std::string stations;
    for (int i = 0; i < 300; ++i) {
        stations += (i > 0 ? "," : "") + station("02:57:00:00:00:01", "No");
    }
    std::string bsss = bss("02:0a:00:00:06:00", stations);
    for (int i = 0; i < 260; ++i) {
        bsss += R"(,{"BSSID": "02:0a:00:00:06:01"})";
    }
    const qo1905_device &device = parse(device_with_radios(1, radio("6", bsss)));
    EXPECT_EQ(device.InterfaceNumberOfEntries, (2 + 261) % 256);
    EXPECT_EQ(nodes(device.Interface).size(), 263U);
    EXPECT_EQ(device.NonIEEE1905Neighbor->Count, 300 % 256);
    EXPECT_EQ(device.NonIEEE1905NeighborNumberOfEntries, 300);
    EXPECT_EQ(nodes(device.NonIEEE1905Neighbor->Neighbor).size(), 300U);
    EXPECT_EQ(device.STAInfoNumberOfEntries, 300);
}

TEST_F(DumpEntryTest, CountsOfTheMeshAreAsWideAsTheirFields) {
    std::string stations;
    std::string backhauls;
    for (int i = 0; i < 300; ++i) {
        stations += (i > 0 ? "," : "") + station("02:0b:00:00:00:0c", "Yes");
        backhauls += std::string(i > 0 ? "," : "") + R"({"Backhaul Medium Type": "5G"})";
    }
    const qo1905_device &device = parse(
        device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", stations)), ", \"BH Info\": [" + backhauls + "]"));
    EXPECT_EQ(device.IEEE1905Neighbor->Count, 300 % 256);
    EXPECT_EQ(device.IEEE1905NeighborNumberOfEntries, 600);
    EXPECT_EQ(device.STAInfoNumberOfEntries, 600);
}

TEST_F(DumpEntryTest, SixteenBitCountsWrap) {
    std::string stations = "{}";
    for (int i = 1; i < 65540; ++i) {
        stations += ",{}";
    }
    EXPECT_EQ(parse(device_with_radios(1, radio("6", bss("02:0a:00:00:06:00", stations)))).STAInfoNumberOfEntries,
              65540 % 65536);
}

// Groups of every kind, chained lists and a rate.
TEST_F(DumpEntryTest, TracesOfADeviceWithEverything) {
    fake::host.role = "1";
    receive(R"({"SrcAlMac": "2:a:0:0:0:1", "STAInfo": [{"STAMac": "2:57:0:0:0:1", "PhyRate": 866}]})");
    const std::string stations = station("02:57:00:00:00:01", "No") + "," + station("02:0b:00:00:00:0c", "Yes");
    put_dump(device_with_radios(
        1, radio("36", bss("02:0a:00:00:95:00", stations)),
        R"(, "Other Clients Info": [{"Client Address": "02:e7:00:00:00:01", "1905 Intf address": "02:0a:00:00:00:01"},
                                    {"Client Address": "02:e7:00:00:00:02", "1905 Intf address": "02:0a:00:00:00:01"}],
                                   "BH Info": [{"connected iface addr": "02:0a:00:00:00:0c"}, {"connected iface addr": "02:0a:00:00:00:0d"}])"));
    const Json dump = parse_json(read_file(kDump));
    // Only a build moves the reports to where rates are looked up.
    build(std::string("{") + kHead + "}");
    qo1905_device *device = append_node(module_.getNetTopolTable()->IEEE1905Device);
    json_object *topology = json_object_object_get(dump.get(), "topology information");
    log_level = 7;
    EXPECT_SAME_TEXT(printed_by([&] { module_.getNbrDevInfo(topology, device, 1); }),
                     fixture("traces/device_with_everything.txt"));
}

TEST_F(DumpEntryTest, MacsOfOddFormParseAsTheCLibraryDoes) {
    struct Case {
        const char *text;
        const char *mac;
    };
    for (const Case &odd :
         {Case{"2:a:0:0:0:1", "02:0a:00:00:00:01"}, Case{"02:0A:ff:FF:00:01", "02:0a:ff:ff:00:01"},
          Case{"1ff:0:0:0:0:0", "ff:00:00:00:00:00"}, Case{"-1:0:0:0:0:0", "ff:00:00:00:00:00"},
          Case{" 2: a:0:0:0:1", "02:0a:00:00:00:01"}, Case{"2 :a:0:0:0:1", "02:00:00:00:00:00"},
          Case{"02:0a:00:00:00:01:ff", "02:0a:00:00:00:01"}, Case{"", "00:00:00:00:00:00"},
          Case{"02", "02:00:00:00:00:00"}, Case{"02-0a-00-00-00-01", "02:00:00:00:00:00"},
          Case{"0x2:0xa:0:0:0:1", "02:0a:00:00:00:01"}, Case{"02:0a:00:00:00:012", "02:0a:00:00:00:12"}}) {
        const qo1905_device &device = parse(std::string(R"({"Device role": "02", "AL MAC": ")") + odd.text + "\"}");
        EXPECT_EQ(mac_text(device.IEEE1905Id), odd.mac) << odd.text;
    }
}

TEST_F(DumpEntryTest, MembersOfAnotherTypeReadAsTheirTextOrAsAbsent) {
    const qo1905_device &device = parse(R"J({"AL MAC": 5, "Device role": 0, "BH Interface(APCLI)": {"MAC address": "x"},
        "Number of radios": "1", "Radio Info": [{"channel": 36, "BSSINFO": [{"BSSID": ["02"], "connected sta info":
        [null, 7, [], {"BH STA": "No", "STA MAC address": null}]}]}], "Other Clients Info": 7, "BH Info": "x"})J");
    EXPECT_EQ(mac_text(device.IEEE1905Id), "05:00:00:00:00:00");
    EXPECT_EQ(device.InterfaceNumberOfEntries, 3);
    EXPECT_STREQ(device.Info.Channel5G, "36");
    EXPECT_EQ(device.STAInfoNumberOfEntries, 4);
    EXPECT_EQ(nodes(device.STAInfo).size(), 4U);
    EXPECT_EQ(device.NonIEEE1905NeighborNumberOfEntries, 1);
}

TEST_F(DumpEntryTest, AnIndexBeyondTheArrayTouchesNothing) {
    const Json topology = parse_json("[{}, null]");
    qo1905_device device = {};
    const qo1905_device untouched = {};
    for (const uint16_t index : {uint16_t{1}, uint16_t{2}, uint16_t{65535}}) {
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.getNbrDevInfo(topology.get(), &device, index), 16); }),
                  "getNbrDevInfo: dev1905 == NULL !!!!!!!!!!!!!\n");
        EXPECT_EQ(std::memcmp(&device, &untouched, sizeof(device)), 0);
    }
}

TEST_F(DumpEntryTest, SignalsAreReadAsTheCLibraryReadsThem) {
    std::mt19937 random(1905);
    const std::vector<std::string> texts = {"-55",    "-5",    "0",      "-0",     "7",     "+5",   "-",
                                            "",       "--5",   " -60",   "-60 ",   "-60x",  "x",    "9999",
                                            "-9999",  "12345", "-12345", "32768",  "-0x10", "0x1f", "70000",
                                            "-40000", "007",   "1e3",    "-55dBm", "\\n-3"};
    for (int round = 0; round < 300; ++round) {
        std::string stations;
        std::vector<int> expected;
        int16_t value = 0;
        for (int i = 0; i < 12; ++i) {
            const std::string &text = texts[random() % texts.size()];
            stations +=
                (i == 0 ? "" : ",") + (R"({"STA MAC address": "02:57:00:00:00:01", "uplink rssi": ")" + text) + "\"}";
            (void)std::sscanf(text == "\\n-3" ? "\n-3" : text.c_str(), "%hd", &value);
            expected.push_back(value);
        }
        const auto devices =
            build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02", "Number of radios": 1, "Radio Info": [)"
                  R"({"channel": "1", "BSSINFO": [{"BSSID": "02:00:00:00:00:01", "connected sta info": [)" +
                  stations + "]}]}]}");
        std::vector<int> signals;
        for (const qo1905_sta_info *station : nodes(devices.at(0)->STAInfo)) {
            signals.push_back(station->RSSI);
        }
        ASSERT_EQ(signals, expected) << stations;
    }
}

}  // namespace
