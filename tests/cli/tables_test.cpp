#include "cli/tables.h"

#include <CLI/Error.hpp>

#include "tests/cli/named_mesh.h"

using cli::Format;
using cli::Options;
using reader::Snapshot;

namespace {

class TablesTest : public NamedMesh {
protected:
    std::string devices(const Options &options) const {
        return print(cli::devices_table(snapshot_, options), options, {{"schema", 1}}, "devices");
    }
    std::string stations(const Options &options, const cli::StationFilter &filter = {}) const {
        return print(cli::stations_table(snapshot_, filter, options), options, {{"schema", 1}}, "stations");
    }
};

TEST_F(TablesTest, DevicesFromTheGatewayOutwards) {
    EXPECT_EQ(devices(as(Format::kTable)),
              "DEVICE                AL MAC             ROLE        UPLINK TO             OVER      SIGNAL dBm  RATE "
              "Mbit/s  STATIONS  WIRED  ADDRESS       FIRMWARE\n"
              "gateway               02:00:00:00:00:01  controller  -                     -                  -         "
              "   -         0      0  192.168.1.1   -\n"
              "Attic \"North\" \\ wing  02:0a:00:00:00:01  agent       gateway               Ethernet           -      "
              "      -         2      3  192.168.1.21  1.0.2(A)b7\n"
              "cellar                02:0b:00:00:00:01  agent       Attic \"North\" \\ wing  2.4 GHz          -52      "
              "      -         3      0  192.168.1.22  -\n");
}

TEST_F(TablesTest, RowsForScripts) {
    EXPECT_EQ(devices(as(Format::kTsv, {"name", "hops", "signal"})),
              "name\thops\tsignal\ngateway\t0\t\nAttic \"North\" \\ wing\t1\t\ncellar\t2\t-52\n");
    Options options = as(Format::kTsv, {"al_mac"});
    options.header = false;
    EXPECT_EQ(devices(options), "02:00:00:00:00:01\n02:0a:00:00:00:01\n02:0b:00:00:00:01\n");
    EXPECT_EQ(devices(as(Format::kValue, {"al_mac", "stations"})),
              "02:00:00:00:00:01\t0\n02:0a:00:00:00:01\t2\n02:0b:00:00:00:01\t3\n");
}

TEST_F(TablesTest, JsonForPrograms) {
    const auto whole = nlohmann::json::parse(devices(as(Format::kJson)));
    EXPECT_EQ(whole["schema"], 1);
    EXPECT_EQ(whole["devices"].size(), 3U);
    EXPECT_EQ(whole["devices"][2]["signal"], -52);
    const std::string lines = devices(as(Format::kNdjson));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3);
    EXPECT_EQ(nlohmann::json::parse(lines.substr(0, lines.find('\n')))["al_mac"], "02:00:00:00:00:01");
}

TEST_F(TablesTest, AColumnThatIsNotThereIsRefusedWithThoseThatAre) {
    try {
        (void)devices(as(Format::kTable, {"colour"}));
        FAIL();
    } catch (const CLI::ValidationError &error) {
        EXPECT_STREQ(error.what(),
                     "--columns: there is no colour; there are: "
                     "name,al_mac,role,parent,medium,signal,rate,stations,wired,address,firmware,hops");
    }
}

TEST_F(TablesTest, StationsByDevice) {
    EXPECT_EQ(stations(as(Format::kTable)),
              "STATION  MAC                ADDRESS        AT                    ON       SIGNAL dBm  RATE Mbit/s\n"
              "phone    02:57:00:00:00:01  192.168.1.101  Attic \"North\" \\ wing  2.4 GHz         -60           72\n"
              "-        02:57:00:00:00:02  -              Attic \"North\" \\ wing  5 GHz            -7          780\n"
              "-        02:e7:00:00:00:01  -              Attic \"North\" \\ wing  wired             -            -\n"
              "-        02:e7:00:00:00:02  -              Attic \"North\" \\ wing  wired             -            -\n"
              "-        02:e7:00:00:00:03  -              Attic \"North\" \\ wing  wired             -            -\n"
              "-        02:57:00:00:00:03  -              cellar                2.4 GHz         -63            -\n"
              "-        02:57:00:00:00:04  -              cellar                5 GHz           -70            -\n"
              "phone    02:57:00:00:00:05  192.168.1.105  cellar                5 GHz          -100            -\n");
}

TEST_F(TablesTest, StationsAreChosen) {
    const auto macs = [this](const cli::StationFilter &filter) {
        return stations(as(Format::kValue, {"mac"}), filter);
    };
    cli::StationFilter filter;
    filter.weak = true;
    EXPECT_EQ(macs(filter), "02:57:00:00:00:05\n");
    filter.weak_below = -65;
    EXPECT_EQ(macs(filter), "02:57:00:00:00:04\n02:57:00:00:00:05\n");
    filter = {};
    filter.device = "cellar";
    filter.band = "5";
    EXPECT_EQ(macs(filter), "02:57:00:00:00:04\n02:57:00:00:00:05\n");
    filter = {};
    filter.name = "PHO";
    EXPECT_EQ(macs(filter), "02:57:00:00:00:01\n02:57:00:00:00:05\n");
    filter = {};
    filter.band = "wired";
    filter.device = "192.168.1.22";
    EXPECT_EQ(macs(filter), "");
}

TEST_F(TablesTest, NamesCanBeLeftOut) {
    Options options = as(Format::kTsv, {"name", "al_mac", "parent"});
    options.names = false;
    EXPECT_EQ(devices(options),
              "name\tal_mac\tparent\n\t02:00:00:00:00:01\t\n\t02:0a:00:00:00:01\t02:00:00:00:00:01\n"
              "\t02:0b:00:00:00:01\t02:0a:00:00:00:01\n");
}

TEST_F(TablesTest, LinksOfTheDevices) {
    const Options options = as(Format::kTsv, {"device", "parent", "medium", "signal", "hops"});
    EXPECT_EQ(print(cli::links_table(snapshot_, options), options, {}, "links"),
              "device\tparent\tmedium\tsignal\thops\nAttic \"North\" \\ wing\tgateway\tEthernet\t\t1\n"
              "cellar\tAttic \"North\" \\ wing\t2.4 GHz\t-52\t2\n");
}

TEST_F(TablesTest, WhatHappenedInWords) {
    Snapshot after = snapshot_;
    after.stations[0].device = mac("02:0b:00:00:00:01");
    after.stations[0].signal = -50;
    after.devices[1].firmware = "1.0.3";
    const Options options = as(Format::kTable);
    EXPECT_EQ(print(cli::events_table(after, reader::events(snapshot_, after), options), options, {}, "events"),
              "EVENT     WHO                   MAC                BEFORE                                 AFTER\n"
              "firmware  Attic \"North\" \\ wing  02:0a:00:00:00:01  1.0.2(A)b7                             1.0.3\n"
              "roam      phone                 02:57:00:00:00:01  Attic \"North\" \\ wing, 2.4 GHz -60 dBm  cellar, "
              "2.4 GHz -50 dBm\n");
}

TEST_F(TablesTest, ANarrowTerminalGetsWhatFits) {
    Options options = as(Format::kTable, {"name", "al_mac"});
    options.width = 30;
    EXPECT_EQ(devices(options),
              "DEVICE          AL MAC\n"
              "gateway         02:00:00:00:0\xe2\x80\xa6\n"
              "Attic \"North\"\xe2\x80\xa6  02:0a:00:00:0\xe2\x80\xa6\n"
              "cellar          02:0b:00:00:0\xe2\x80\xa6\n");
    options.width = 5;
    EXPECT_EQ(devices(options),
              "DEVICE    AL MAC\n"
              "gateway   02:00:0\xe2\x80\xa6\n"
              "Attic \"\xe2\x80\xa6  02:0a:0\xe2\x80\xa6\n"
              "cellar    02:0b:0\xe2\x80\xa6\n");
}

TEST_F(TablesTest, WeakSignalsAreColouredWhereThereIsColour) {
    Options options = as(Format::kTable, {"mac", "signal"});
    options.colour = true;
    EXPECT_THAT(stations(options), testing::HasSubstr("02:57:00:00:00:05  \x1b[31m      -100\x1b[0m\n"));
    EXPECT_THAT(stations(options), testing::StartsWith("\x1b[1mMAC              \x1b[0m  \x1b[1mSIGNAL dBm\x1b[0m\n"));
}

TEST_F(TablesTest, AStrangersNameIsOneCellOfOneRow) {
    for (const std::string &name : strangers_names()) {
        snapshot_.stations[0].name = name;
        snapshot_.devices[1].name = name;
        for (const Format format : {Format::kTable, Format::kWide, Format::kTsv, Format::kValue}) {
            const std::string text = stations(as(format));
            EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), format == Format::kValue ? 8 : 9)
                << name.substr(0, 20);
            expect_harmless(text);
        }
        EXPECT_EQ(nlohmann::json::parse(stations(as(Format::kJson)))["stations"][0]["name"], name);
    }
}

}  // namespace
