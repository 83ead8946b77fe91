#include "reader/snapshot.h"

#include <gmock/gmock.h>

#include "tests/reader/inputs.h"

using reader::Band;
using reader::Device;
using reader::Inputs;
using reader::Interface;
using reader::make_snapshot;
using reader::Medium;
using reader::Role;
using reader::Snapshot;
using reader::Station;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const reader::Mac kGateway = mac("02:00:00:00:00:01");
const reader::Mac kAttic = mac("02:0a:00:00:00:01");
const reader::Mac kCellar = mac("02:0b:00:00:00:01");

std::vector<std::string> macs_of(const std::vector<Station> &stations) {
    std::vector<std::string> macs;
    macs.reserve(stations.size());
    for (const Station &station : stations) {
        macs.push_back(station.mac.text());
    }
    return macs;
}

std::vector<std::string> missing_files(const Snapshot &snapshot) {
    std::vector<std::string> files;
    for (const reader::Missing &item : snapshot.missing) {
        files.push_back(item.problem.file);
    }
    return files;
}

TEST(Snapshot, HoldsEveryDeviceTheWritingOneIncluded) {
    const Snapshot snapshot = make_snapshot(two_agents());
    ASSERT_EQ(snapshot.devices.size(), 3U);
    const Device &gateway = snapshot.devices[0];
    EXPECT_EQ(gateway.al_mac, kGateway);
    EXPECT_TRUE(gateway.is_local);
    EXPECT_EQ(gateway.role, Role::kController);
    EXPECT_EQ(gateway.name, std::nullopt);
    EXPECT_EQ(gateway.firmware, std::nullopt);
    const Device &attic = snapshot.devices[1];
    EXPECT_EQ(attic.al_mac, kAttic);
    EXPECT_FALSE(attic.is_local);
    EXPECT_EQ(attic.role, Role::kAgent);
    EXPECT_EQ(attic.name, "Attic \"North\" \\ wing");
    EXPECT_EQ(attic.address, "192.168.1.21");
    EXPECT_EQ(attic.firmware, "1.0.2(A)b7");
    const Device &cellar = snapshot.devices[2];
    EXPECT_EQ(cellar.al_mac, kCellar);
    EXPECT_EQ(cellar.name, std::nullopt) << "\"Unknown\" is no name";
    EXPECT_EQ(cellar.firmware, std::nullopt);
    EXPECT_EQ(snapshot.find_device(kAttic), &attic);
    EXPECT_EQ(snapshot.find_device(mac("02:0c:00:00:00:01")), nullptr);
}

TEST(Snapshot, DerivesTheTreeAndItsLinks) {
    const Snapshot snapshot = make_snapshot(two_agents());
    EXPECT_EQ(snapshot.root(), &snapshot.devices[0]);
    const Device &attic = snapshot.devices[1];
    EXPECT_EQ(attic.parent, kGateway);
    EXPECT_EQ(attic.hops, 1U);
    EXPECT_EQ(attic.medium, Medium::kEthernet);
    EXPECT_EQ(attic.signal, std::nullopt) << "a cable has none, whatever is told";
    const Device &cellar = snapshot.devices[2];
    EXPECT_EQ(cellar.parent, kAttic);
    EXPECT_EQ(cellar.hops, 2U);
    EXPECT_EQ(cellar.medium, Medium::k2_4GHz);
    EXPECT_EQ(cellar.signal, -52);
    EXPECT_EQ(cellar.rate, std::nullopt) << "0 is unknown";
}

TEST(Snapshot, KnowsWhatAnInterfaceIsFor) {
    const Snapshot snapshot = make_snapshot(two_agents());
    const auto &interfaces = snapshot.devices[2].interfaces;
    ASSERT_EQ(interfaces.size(), 4U);
    EXPECT_EQ(interfaces[0].mac.text(), "02:0b:00:00:00:01");
    EXPECT_EQ(interfaces[0].use, Interface::Use::kOther);
    EXPECT_EQ(interfaces[0].media_type, "IEEE 802.3u(IEEE 802.3u Fast Ethernet)");
    EXPECT_EQ(interfaces[1].mac.text(), "02:0b:00:00:00:0c");
    EXPECT_EQ(interfaces[1].use, Interface::Use::kUplink);
    EXPECT_EQ(interfaces[3].mac.text(), "02:0b:00:00:95:00");
    EXPECT_EQ(interfaces[3].use, Interface::Use::kBss);
    EXPECT_EQ(interfaces[3].band, Band::k5GHz);
}

TEST(Snapshot, HoldsEveryStationOnce) {
    const Snapshot snapshot = make_snapshot(two_agents());
    EXPECT_THAT(
        macs_of(snapshot.stations),
        testing::ElementsAre("02:57:00:00:00:01", "02:57:00:00:00:02", "02:57:00:00:00:03", "02:57:00:00:00:04",
                             "02:57:00:00:00:05", "02:e7:00:00:00:01", "02:e7:00:00:00:02", "02:e7:00:00:00:03"));
    const Station &first = snapshot.stations[0];
    EXPECT_EQ(first.device, kAttic);
    EXPECT_EQ(first.interface, mac("02:0a:00:00:06:00"));
    EXPECT_EQ(first.interface_name, "ra0");
    EXPECT_EQ(first.band, Band::k2_4GHz);
    EXPECT_EQ(first.signal, -60);
    EXPECT_EQ(first.rate, 72);
    EXPECT_FALSE(first.is_wired);
    const Station &unreported = snapshot.stations[4];
    EXPECT_EQ(unreported.device, kCellar);
    EXPECT_EQ(unreported.signal, -100);
    EXPECT_EQ(unreported.rate, std::nullopt);
    const Station &wired = snapshot.stations[5];
    EXPECT_TRUE(wired.is_wired);
    EXPECT_EQ(wired.band, std::nullopt);
    EXPECT_EQ(wired.interface, kAttic);
}

TEST(Snapshot, NamesComeFromTheLeases) {
    Inputs inputs = two_agents();
    inputs.leases = input_of("leases",
                             "1 02:57:00:00:00:01 192.168.1.101 phone *\n1 02:0b:00:00:00:01 192.168.1.22 cellar *\n"
                             "1 02:0a:00:00:00:01 192.168.1.99 other *\n");
    const Snapshot snapshot = make_snapshot(inputs);
    EXPECT_EQ(snapshot.stations[0].name, "phone");
    EXPECT_EQ(snapshot.stations[0].address, "192.168.1.101");
    EXPECT_EQ(snapshot.stations[1].name, std::nullopt);
    EXPECT_EQ(snapshot.devices[2].name, "cellar");
    EXPECT_EQ(snapshot.devices[1].address, "192.168.1.21") << "what the model says counts first";
    EXPECT_THAT(snapshot.missing, IsEmpty());
}

TEST(Snapshot, TellsHowOldItIs) {
    Inputs inputs = two_agents();
    EXPECT_EQ(make_snapshot(inputs).age(), 10.0);
    inputs.read_at = std::chrono::system_clock::from_time_t(1700000000);
    EXPECT_EQ(make_snapshot(inputs).age(), 0.0) << "the clock was set back";
}

// ---- what is missing ----

TEST(Snapshot, WithoutADumpTheLocalDevicesOwnPartIsMissing) {
    Inputs inputs = two_agents();
    inputs.dump = missing("dump.txt");
    const Snapshot snapshot = make_snapshot(inputs);
    EXPECT_THAT(missing_files(snapshot), testing::ElementsAre("dump.txt", "dnsmasq.leases"));
    EXPECT_FALSE(snapshot.knows_local_stations);
    ASSERT_EQ(snapshot.devices.size(), 3U);
    EXPECT_EQ(snapshot.devices[0].role, Role::kController) << "only a Controller hears names";
    // The tree is the same from the neighbour lists alone.
    EXPECT_EQ(snapshot.devices[1].parent, kGateway);
    EXPECT_EQ(snapshot.devices[2].parent, kAttic);
    EXPECT_EQ(snapshot.devices[2].hops, 2U);
    EXPECT_EQ(snapshot.devices[2].signal, -52);
}

TEST(Snapshot, TheLocalDevicesStationsAreInTheDump) {
    Inputs inputs = no_inputs();
    inputs.model = two_agents().model;
    inputs.dump = input_of("dump.txt", R"({"topology information": [
        {"AL MAC": "02:00:00:00:00:01", "Device role": "01", "Device name": "gateway", "Radio Info": [
            {"channel": "36", "BSSINFO": [{"BSSID": "02:00:00:00:95:00", "connected sta info": [
                {"STA MAC address": "02:57:00:00:00:77", "BH STA": "No", "uplink rssi": "-48", "uplink rate": "780"},
                {"STA MAC address": "02:0a:00:00:00:0c", "BH STA": "Yes", "uplink rssi": "-46"}]}]}],
         "Other Clients Info": [{"Client Address": "02:e7:00:00:00:77", "1905 Intf address": "02:00:00:00:00:01"}]}]})");
    const Snapshot snapshot = make_snapshot(inputs);
    EXPECT_TRUE(snapshot.knows_local_stations);
    EXPECT_EQ(snapshot.devices[0].name, "gateway");
    const Station *station = snapshot.find_station(mac("02:57:00:00:00:77"));
    ASSERT_NE(station, nullptr);
    EXPECT_EQ(station->device, kGateway);
    EXPECT_EQ(station->band, Band::k5GHz);
    EXPECT_EQ(station->signal, -48);
    EXPECT_EQ(station->rate, 780);
    ASSERT_NE(snapshot.find_station(mac("02:e7:00:00:00:77")), nullptr);
    EXPECT_TRUE(snapshot.find_station(mac("02:e7:00:00:00:77"))->is_wired);
    EXPECT_EQ(snapshot.find_station(mac("02:0a:00:00:00:0c")), nullptr) << "an uplink is no station";
}

TEST(Snapshot, WithoutAModelTheDumpTellsWhatItCan) {
    Inputs inputs = two_agents();
    inputs.model = missing("qo1905.json");
    const Snapshot snapshot = make_snapshot(inputs);
    EXPECT_THAT(missing_files(snapshot), testing::ElementsAre("qo1905.json", "dnsmasq.leases"));
    ASSERT_EQ(snapshot.devices.size(), 3U);
    EXPECT_EQ(snapshot.devices[2].parent, kAttic);
    EXPECT_EQ(snapshot.devices[2].medium, Medium::k2_4GHz);
    EXPECT_EQ(snapshot.stations.size(), 8U);
}

TEST(Snapshot, OfNothingIsEmptyAndSaysSo) {
    const Snapshot snapshot = make_snapshot(no_inputs());
    EXPECT_THAT(snapshot.devices, IsEmpty());
    EXPECT_THAT(snapshot.stations, IsEmpty());
    EXPECT_EQ(snapshot.root(), nullptr);
    EXPECT_EQ(snapshot.missing.size(), 5U);
}

TEST(Snapshot, FilesThatAreNoneAreToldWithTheirReason) {
    Inputs inputs = two_agents();
    inputs.model.text = "{\"Device\": {\n";
    inputs.dump.text = "[]";
    const Snapshot snapshot = make_snapshot(inputs);
    EXPECT_THAT(snapshot.missing[0].problem.text(), HasSubstr("qo1905.json: line 2: no JSON: "));
    EXPECT_EQ(snapshot.missing[1].problem.text(),
              "dump.txt: is JSON, but no topology dump: it has no array \"topology information\"");
    inputs.model.text = "{}\n";
    EXPECT_EQ(make_snapshot(inputs).missing[0].problem.text(),
              "qo1905.json: is JSON, but no model: it has no Device.X_0A3C5E_IEEE1905.AL");
}

// ---- what is hostile ----

std::string model_with(const std::string &topology) {
    return R"({"Device": {"X_0A3C5E_IEEE1905": {"AL": {"IEEE1905Id": "02:00:00:00:00:01", "NetworkTopology": {)" +
           topology + "}}}}}\n";
}

Snapshot read_model(const std::string &topology) {
    Inputs inputs = no_inputs();
    inputs.model = input_of("qo1905.json", model_with(topology));
    return make_snapshot(inputs);
}

TEST(Snapshot, AStationAtTwoDevicesIsWhereItIsHeardBest) {
    const auto device = [](const char *number, const char *al_mac, const char *signal) {
        return std::string("\"IEEE1905Device.") + number + R"(": {"IEEE1905Id": ")" + al_mac +
               R"(", "NonIEEE1905Neighbor.1": {"NeighborInterfaceId": "02:57:00:00:00:01", "RSSI": )" + signal + "}}";
    };
    const Snapshot snapshot =
        read_model(device("1", "02:0a:00:00:00:01", "-70") + "," + device("2", "02:0b:00:00:00:01", "-50"));
    ASSERT_EQ(snapshot.stations.size(), 1U);
    EXPECT_EQ(snapshot.stations[0].device, kCellar);
}

TEST(Snapshot, ADeviceThatIsListedTwiceIsThereOnce) {
    const Snapshot snapshot =
        read_model(R"("IEEE1905Device.1": {"IEEE1905Id": "02:0a:00:00:00:01", "Hostname": "one"},)"
                   R"("IEEE1905Device.2": {"IEEE1905Id": "02:0a:00:00:00:01", "Hostname": "two"},)"
                   R"("IEEE1905Device.3": {"IEEE1905Id": "02:00:00:00:00:01", "Hostname": "itself"})");
    ASSERT_EQ(snapshot.devices.size(), 2U);
    EXPECT_EQ(snapshot.devices[1].name, "one");
    EXPECT_TRUE(snapshot.devices[0].is_local);
}

TEST(Snapshot, MembersOfStrangeTypesAreAbsent) {
    for (const char *value :
         {"null", "1", "-1", "1e300", "18446744073709551615", "true", "\"x\"", "[]", "{}", "[{}]"}) {
        for (const char *key :
             {"IEEE1905Id", "Hostname", "Interface.1", "NonIEEE1905Neighbor.1", "IEEE1905Neighbor.1"}) {
            (void)read_model("\"IEEE1905Device.1\": {\"" + std::string(key) + "\": " + value + "}");
        }
        for (const char *key : {"NeighborInterfaceId", "LocalInterface", "MediaType", "RATE", "RSSI"}) {
            const Snapshot snapshot =
                read_model(R"("IEEE1905Device.1": {"IEEE1905Id": "02:0a:00:00:00:01", "NonIEEE1905Neighbor.1": {")" +
                           std::string(key) + "\": " + value + "}}");
            EXPECT_THAT(snapshot.stations, IsEmpty()) << key << value;
        }
        (void)read_model("\"IEEE1905Device.1\": " + std::string(value));
    }
}

TEST(Snapshot, TenThousandLevelsAreNoModel) {
    Inputs inputs = no_inputs();
    for (const std::string &deep : {std::string(10000, '['), std::string(10000, '[') + std::string(10000, ']')}) {
        inputs.model = input_of("qo1905.json", deep);
        inputs.dump = input_of("dump.txt", "{\"topology information\": " + deep + "}");
        EXPECT_THAT(make_snapshot(inputs).devices, IsEmpty());
    }
}

TEST(Snapshot, AModelCutAtAnyByteIsToldOrWhole) {
    Inputs inputs = two_agents();
    const std::string whole = inputs.model.text;
    for (std::size_t size = 0; size < whole.size(); size += 7) {
        inputs.model.text = whole.substr(0, size);
        const Snapshot snapshot = make_snapshot(inputs);
        EXPECT_EQ(snapshot.missing.size(), 2U) << size;
    }
}

}  // namespace
