#include "cli/exports.h"

#include "tests/cli/named_mesh.h"

using testing::HasSubstr;
using testing::Not;

namespace {

using ExportsTest = NamedMesh;

constexpr char kGateway[] = "02:00:00:00:00:01";
constexpr char kAttic[] = "02:0a:00:00:00:01";
constexpr char kCellar[] = "02:0b:00:00:00:01";

TEST_F(ExportsTest, WhatAMomentMeasures) {
    const std::string page = cli::prometheus_text(snapshot_, {});
    const std::string wanted[] = {
        "# TYPE qo1905_model_timestamp_seconds gauge\nqo1905_model_timestamp_seconds 1700000042\n",
        "qo1905_devices{role=\"controller\"} 1\nqo1905_devices{role=\"agent\"} 2\n",
        "qo1905_stations{band=\"2.4GHz\"} 2\nqo1905_stations{band=\"5GHz\"} 3\nqo1905_stations{band=\"ethernet\"} 3\n",
        "qo1905_stations_weak{band=\"2.4GHz\"} 0\nqo1905_stations_weak{band=\"5GHz\"} 1\n",
        std::string("qo1905_device_info{device=\"") + kAttic +
            R"(",name="Attic \"North\" \\ wing",role="agent",firmware="1.0.2(A)b7",ip="192.168.1.21"} 1)" + "\n",
        std::string("qo1905_device_up{device=\"") + kCellar + "\"} 1\n",
        std::string("qo1905_device_stations{device=\"") + kCellar + "\",band=\"2.4GHz\"} 1\n",
        std::string("qo1905_device_hops{device=\"") + kGateway + "\"} 0\n",
        std::string("qo1905_backhaul_signal_dbm{device=\"") + kCellar + "\",medium=\"2.4GHz\"} -52\n",
        std::string("qo1905_backhaul_info{device=\"") + kAttic + "\",parent=\"" + kGateway +
            "\",medium=\"ethernet\"} 1\n",
    };
    for (const std::string &text : wanted) {
        EXPECT_THAT(page, HasSubstr(text));
    }
    EXPECT_THAT(page, Not(HasSubstr("qo1905_station_")));
    EXPECT_THAT(page, Not(HasSubstr("qo1905_backhaul_phy_rate_bits_per_second{"))) << "unknown is absent";
}

TEST_F(ExportsTest, StationsAreAskedFor) {
    const std::string all = cli::prometheus_text(snapshot_, {cli::Series::kAll, 1000, cli::kWeakSignal});
    EXPECT_THAT(all, HasSubstr("qo1905_stations_omitted 0\n"));
    EXPECT_THAT(all, HasSubstr("qo1905_station_info{station=\"02:57:00:00:00:01\",name=\"phone\",device=\"" +
                               std::string(kAttic) + "\",band=\"2.4GHz\",ip=\"192.168.1.101\",random=\"1\"} 1\n"));
    EXPECT_THAT(all, HasSubstr("qo1905_station_signal_dbm{station=\"02:57:00:00:00:01\"} -60\n"));
    EXPECT_THAT(all, HasSubstr("qo1905_station_phy_rate_bits_per_second{station=\"02:57:00:00:00:01\"} 72000000\n"));
    EXPECT_THAT(all, HasSubstr("band=\"ethernet\",ip=\"\",random=\"1\"} 1\n"));
    const std::string known = cli::prometheus_text(snapshot_, {cli::Series::kKnown, 1000, cli::kWeakSignal});
    EXPECT_THAT(known, HasSubstr("qo1905_station_info{station=\"02:57:00:00:00:05\",name=\"phone\""));
    EXPECT_THAT(known, Not(HasSubstr("02:57:00:00:00:02"))) << "nameless, with a MAC of its own choice";
    const std::string few = cli::prometheus_text(snapshot_, {cli::Series::kAll, 3, cli::kWeakSignal});
    EXPECT_THAT(few, HasSubstr("qo1905_stations_omitted 5\n"));
}

TEST_F(ExportsTest, StationsThatNobodyCanCountAreAbsent) {
    snapshot_.knows_local_stations = false;
    EXPECT_THAT(cli::prometheus_text(snapshot_, {}),
                Not(HasSubstr("qo1905_device_stations{device=\"" + std::string(kGateway))));
}

TEST_F(ExportsTest, AGraphForGraphviz) {
    EXPECT_EQ(cli::dot_text(snapshot_, {}, false),
              "graph mesh {\n"
              "  node [shape=box];\n"
              "  \"02:00:00:00:00:01\" [label=\"gateway\"];\n"
              "  \"02:0a:00:00:00:01\" [label=\"Attic \\\"North\\\" \\\\ wing\"];\n"
              "  \"02:00:00:00:00:01\" -- \"02:0a:00:00:00:01\" [label=\"Ethernet\"];\n"
              "  \"02:0b:00:00:00:01\" [label=\"cellar\"];\n"
              "  \"02:0a:00:00:00:01\" -- \"02:0b:00:00:00:01\" [label=\"2.4 GHz -52 dBm\"];\n"
              "}\n");
    EXPECT_THAT(cli::dot_text(snapshot_, {}, true),
                HasSubstr("  \"02:57:00:00:00:01\" [label=\"phone\", shape=ellipse];\n"
                          "  \"02:0a:00:00:00:01\" -- \"02:57:00:00:00:01\" [label=\"2.4 GHz -60 dBm\"];\n"));
}

TEST_F(ExportsTest, ANetworkGraph) {
    const auto graph = nlohmann::json::parse(cli::netjson(snapshot_, false).dump());
    EXPECT_EQ(graph, nlohmann::json::parse(R"json({
        "type": "NetworkGraph", "protocol": "IEEE 1905.1", "version": null, "metric": null,
        "nodes": [
            {"id": "02:00:00:00:00:01", "label": "gateway", "local_addresses": ["192.168.1.1"],
             "properties": {"kind": "device", "role": "controller"}},
            {"id": "02:0a:00:00:00:01", "label": "Attic \"North\" \\ wing", "local_addresses": ["192.168.1.21"],
             "properties": {"kind": "device", "role": "agent", "firmware": "1.0.2(A)b7"}},
            {"id": "02:0b:00:00:00:01", "label": "cellar", "local_addresses": ["192.168.1.22"],
             "properties": {"kind": "device", "role": "agent"}}],
        "links": [
            {"source": "02:00:00:00:00:01", "target": "02:0a:00:00:00:01", "cost": 1.0, "cost_text": "Ethernet",
             "properties": {"medium": "Ethernet"}},
            {"source": "02:0a:00:00:00:01", "target": "02:0b:00:00:00:01", "cost": 1.0,
             "cost_text": "2.4 GHz -52 dBm", "properties": {"medium": "2.4 GHz", "signal_dbm": -52}}]})json"));
    EXPECT_EQ(cli::netjson(snapshot_, true)["links"].size(), 10U);
}

}  // namespace
