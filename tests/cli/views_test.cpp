// What people and scripts get to see of a mesh whose files were written by hand.
#include "cli/views.h"

#include <gmock/gmock.h>
#include <CLI/Error.hpp>

#include "tests/reader/inputs.h"

using cli::Format;
using cli::Options;
using reader::make_snapshot;
using reader::Snapshot;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

reader::Inputs named_mesh() {
    reader::Inputs inputs = two_agents();
    inputs.leases = input_of("leases",
                             "1 02:57:00:00:00:01 192.168.1.101 phone *\n1 02:57:00:00:00:05 192.168.1.105 phone *\n"
                             "1 02:0b:00:00:00:01 192.168.1.22 cellar *\n1 02:00:00:00:00:01 192.168.1.1 gateway *\n");
    return inputs;
}

Options as(Format format, std::vector<std::string> columns = {}) {
    Options options;
    options.format = format;
    options.columns = std::move(columns);
    return options;
}

class ViewsTest : public testing::Test {
protected:
    std::string devices(const Options &options) const {
        return print(cli::devices_table(snapshot_, options), options, {{"schema", 1}}, "devices");
    }
    std::string stations(const Options &options, const cli::StationFilter &filter = {}) const {
        return print(cli::stations_table(snapshot_, filter, options), options, {{"schema", 1}}, "stations");
    }

    Snapshot snapshot_ = make_snapshot(named_mesh());
};

TEST_F(ViewsTest, DevicesFromTheGatewayOutwards) {
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

TEST_F(ViewsTest, RowsForScripts) {
    EXPECT_EQ(devices(as(Format::kTsv, {"name", "hops", "signal"})),
              "name\thops\tsignal\ngateway\t0\t\nAttic \"North\" \\ wing\t1\t\ncellar\t2\t-52\n");
    Options options = as(Format::kTsv, {"al_mac"});
    options.header = false;
    EXPECT_EQ(devices(options), "02:00:00:00:00:01\n02:0a:00:00:00:01\n02:0b:00:00:00:01\n");
    EXPECT_EQ(devices(as(Format::kValue, {"al_mac", "stations"})),
              "02:00:00:00:00:01\t0\n02:0a:00:00:00:01\t2\n02:0b:00:00:00:01\t3\n");
}

TEST_F(ViewsTest, JsonForPrograms) {
    const auto whole = nlohmann::json::parse(devices(as(Format::kJson)));
    EXPECT_EQ(whole["schema"], 1);
    EXPECT_EQ(whole["devices"].size(), 3U);
    EXPECT_EQ(whole["devices"][2]["signal"], -52);
    const std::string lines = devices(as(Format::kNdjson));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3);
    EXPECT_EQ(nlohmann::json::parse(lines.substr(0, lines.find('\n')))["al_mac"], "02:00:00:00:00:01");
}

TEST_F(ViewsTest, AColumnThatIsNotThereIsRefusedWithThoseThatAre) {
    try {
        (void)devices(as(Format::kTable, {"colour"}));
        FAIL();
    } catch (const CLI::ValidationError &error) {
        EXPECT_STREQ(error.what(),
                     "--columns: there is no colour; there are: "
                     "name,al_mac,role,parent,medium,signal,rate,stations,wired,address,firmware,hops");
    }
}

TEST_F(ViewsTest, StationsByDevice) {
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

TEST_F(ViewsTest, StationsAreChosen) {
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

TEST_F(ViewsTest, NamesCanBeLeftOut) {
    Options options = as(Format::kTsv, {"name", "al_mac", "parent"});
    options.names = false;
    EXPECT_EQ(devices(options),
              "name\tal_mac\tparent\n\t02:00:00:00:00:01\t\n\t02:0a:00:00:00:01\t02:00:00:00:00:01\n"
              "\t02:0b:00:00:00:01\t02:0a:00:00:00:01\n");
}

TEST_F(ViewsTest, LinksOfTheDevices) {
    const Options options = as(Format::kTsv, {"device", "parent", "medium", "signal", "hops"});
    EXPECT_EQ(print(cli::links_table(snapshot_, options), options, {}, "links"),
              "device\tparent\tmedium\tsignal\thops\nAttic \"North\" \\ wing\tgateway\tEthernet\t\t1\n"
              "cellar\tAttic \"North\" \\ wing\t2.4 GHz\t-52\t2\n");
}

TEST_F(ViewsTest, TheTree) {
    EXPECT_EQ(cli::tree_text(snapshot_, {}, false, false),
              "gateway  02:00:00:00:00:01  controller\n"
              "└─ Attic \"North\" \\ wing  02:0a:00:00:00:01  Ethernet  2 stations, 3 wired\n"
              "   └─ cellar  02:0b:00:00:00:01  2.4 GHz -52 dBm  3 stations\n");
}

TEST_F(ViewsTest, TheTreeWithStationsAndBars) {
    EXPECT_EQ(cli::tree_text(snapshot_, {}, true, true),
              "gateway  02:00:00:00:00:01  controller\n"
              "└─ Attic \"North\" \\ wing  02:0a:00:00:00:01  Ethernet\n"
              "   ├ phone  02:57:00:00:00:01  2.4 GHz ▁▃▅▇ -60 dBm 72 Mbit/s\n"
              "   ├ 02:57:00:00:00:02  5 GHz ▁▃▅▇ -7 dBm 780 Mbit/s\n"
              "   ├ 02:e7:00:00:00:01  wired\n"
              "   ├ 02:e7:00:00:00:02  wired\n"
              "   ├ 02:e7:00:00:00:03  wired\n"
              "   └─ cellar  02:0b:00:00:00:01  2.4 GHz ▁▃▅▇ -52 dBm\n"
              "      ├ 02:57:00:00:00:03  2.4 GHz ▁▃▅· -63 dBm\n"
              "      ├ 02:57:00:00:00:04  5 GHz ▁▃▅· -70 dBm\n"
              "      └ phone  02:57:00:00:00:05  5 GHz ▁··· -100 dBm\n");
}

TEST_F(ViewsTest, ADeviceThatNothingLeadsToStandsApart) {
    snapshot_.devices[2].parent.reset();
    snapshot_.devices[2].hops.reset();
    EXPECT_THAT(cli::tree_text(snapshot_, {}, false, false),
                HasSubstr("\ncellar  02:0b:00:00:00:01  agent  3 stations  (no way to the gateway is known)\n"));
}

TEST_F(ViewsTest, AChainOfAnyLengthIsDrawn) {
    reader::Device device = snapshot_.devices[2];
    for (int i = 0; i < 2000; ++i) {
        char text[18];
        (void)std::snprintf(text, sizeof(text), "02:ff:00:00:%02x:%02x", i / 256, i % 256);
        device.parent = snapshot_.devices.back().al_mac;
        device.al_mac = mac(text);
        snapshot_.devices.push_back(device);
    }
    const std::string text = cli::tree_text(snapshot_, {}, false, false);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2003);
}

TEST_F(ViewsTest, TheWayOfAStation) {
    EXPECT_EQ(cli::path_text(snapshot_, snapshot_.stations[4], {}, false),
              "phone  02:57:00:00:00:05\n"
              "  │ 5 GHz -100 dBm\n"
              "cellar  02:0b:00:00:00:01\n"
              "  │ 2.4 GHz -52 dBm\n"
              "Attic \"North\" \\ wing  02:0a:00:00:00:01\n"
              "  │ Ethernet\n"
              "gateway  02:00:00:00:00:01\n");
    snapshot_.devices[1].hops.reset();
    snapshot_.devices[1].parent.reset();
    EXPECT_THAT(cli::path_text(snapshot_, snapshot_.stations[4], {}, false),
                HasSubstr("\n  │ no way to the gateway is known\n"));
}

TEST_F(ViewsTest, TheWayOfADevice) {
    EXPECT_EQ(cli::path_text(snapshot_, snapshot_.devices[2], {}, false),
              "cellar  02:0b:00:00:00:01\n"
              "  │ 2.4 GHz -52 dBm\n"
              "Attic \"North\" \\ wing  02:0a:00:00:00:01\n"
              "  │ Ethernet\n"
              "gateway  02:00:00:00:00:01\n");
}

TEST_F(ViewsTest, OneScreenSaysHowFarItSees) {
    snapshot_.knows_local_stations = false;
    cli::Health health = cli::health_of(snapshot_, -120);
    EXPECT_THAT(cli::status_text(snapshot_, health, {}),
                testing::AllOf(HasSubstr("3 wired; not those of the device that wrote the model\n"),
                               HasSubstr("weak      none\n"),
                               HasSubstr("in short  all is well, as far as these files tell\n")));
    Options options;
    options.max_age = 5;
    EXPECT_THAT(cli::status_text(snapshot_, health, options), HasSubstr("in short  too old to tell\n"));
}

TEST_F(ViewsTest, WhoeverGoesByANameAMacOrAnAddress) {
    EXPECT_EQ(cli::find(snapshot_, "phone").stations.size(), 2U);
    EXPECT_EQ(cli::find(snapshot_, "192.168.1.105").stations.size(), 1U);
    EXPECT_EQ(cli::find(snapshot_, "02:57:00:00:00:03").stations.size(), 1U);
    EXPECT_EQ(cli::find(snapshot_, "CELLAR").devices.size(), 1U);
    EXPECT_EQ(cli::find(snapshot_, "02:0b:00:00:95:00").devices.size(), 1U) << "an interface of it";
    EXPECT_EQ(cli::find(snapshot_, "").devices.size() + cli::find(snapshot_, "").stations.size(), 0U);
}

TEST_F(ViewsTest, OneScreenTellsWhetherAllIsWell) {
    const cli::Health health = cli::health_of(snapshot_, cli::kWeakSignal);
    EXPECT_EQ(cli::status_text(snapshot_, health, {}),
              "mesh      of gateway, 10 s old\n"
              "devices   3 devices, all reach the gateway\n"
              "links     no weak one\n"
              "stations  2 on 2.4 GHz, 3 on 5 GHz, 3 wired\n"
              "weak      phone -100 dBm at cellar\n"
              "in short  all is well, but for 1 weak station\n");
    EXPECT_TRUE(cli::to_json(snapshot_, health)["well"]);
}

TEST_F(ViewsTest, OneScreenTellsWhatIsNot) {
    snapshot_.devices[1].hops.reset();
    snapshot_.devices[2].signal = -80;
    snapshot_.read_at += std::chrono::hours(3);
    snapshot_.missing.push_back({reader::Problem::Kind::kMissing, "dump.txt", "No such file or directory"});
    const cli::Health health = cli::health_of(snapshot_, cli::kWeakSignal);
    EXPECT_EQ(cli::status_text(snapshot_, health, {}),
              "mesh      of gateway, 3 h old\n"
              "devices   3 devices, no way to the gateway is known for: Attic \"North\" \\ wing\n"
              "links     weak: cellar -80 dBm\n"
              "stations  2 on 2.4 GHz, 3 on 5 GHz, 3 wired\n"
              "weak      phone -100 dBm at cellar\n"
              "missing   dump.txt: No such file or directory\n"
              "in short  3 h ago: something is wrong with the devices or their links\n");
    EXPECT_FALSE(cli::to_json(snapshot_, health)["well"]);
}

TEST_F(ViewsTest, AllThatIsKnownOfSomebody) {
    EXPECT_EQ(cli::show_text(snapshot_, cli::find(snapshot_, "cellar"), {}),
              "device cellar\n"
              "  AL MAC     02:0b:00:00:00:01\n"
              "  role       agent\n"
              "  address    192.168.1.22\n"
              "  uplink     Attic \"North\" \\ wing, 2.4 GHz -52 dBm\n"
              "  hops       2\n"
              "  stations   3 stations\n"
              "  interface  02:0b:00:00:00:01  other  IEEE 802.3u(IEEE 802.3u Fast Ethernet)\n"
              "  interface  02:0b:00:00:00:0c  uplink  5 GHz  IEEE 802.11n 5.0(IEEE 802.11n (5GHz))\n"
              "  interface  02:0b:00:00:06:00  bss  2.4 GHz  IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))\n"
              "  interface  02:0b:00:00:95:00  bss  5 GHz  IEEE 802.11n 5.0(IEEE 802.11n (5GHz))\n");
    EXPECT_EQ(cli::show_text(snapshot_, cli::find(snapshot_, "192.168.1.101"), {}),
              "station phone\n"
              "  MAC        02:57:00:00:00:01  (chosen by itself)\n"
              "  address    192.168.1.101\n"
              "  at         Attic \"North\" \\ wing, ra0\n"
              "  link       2.4 GHz -60 dBm 72 Mbit/s\n");
}

TEST_F(ViewsTest, WhatHappenedInWords) {
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

// ---- strangers' names ----

TEST_F(ViewsTest, AStrangersNameIsOneCellOfOneRow) {
    for (const std::string &name : {std::string("a\tb\nc"), std::string("\x1b]0;x\x07"), std::string(100000, 'x'),
                                    std::string("\xe2\x80\xae"), std::string("\"'`$(reboot)|;")}) {
        snapshot_.stations[0].name = name;
        snapshot_.devices[1].name = name;
        for (const Format format : {Format::kTable, Format::kWide, Format::kTsv, Format::kValue}) {
            const std::string text = stations(as(format));
            EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), format == Format::kValue ? 8 : 9)
                << name.substr(0, 20);
            EXPECT_EQ(text.find('\x1b'), std::string::npos);
            EXPECT_EQ(text.find('\x07'), std::string::npos);
            EXPECT_EQ(text.find("\xe2\x80\xae"), std::string::npos);
        }
        const auto json = nlohmann::json::parse(stations(as(Format::kJson)));
        EXPECT_EQ(json["stations"][0]["name"], name);
        for (const std::string &text :
             {cli::tree_text(snapshot_, {}, true, true), cli::path_text(snapshot_, snapshot_.stations[0], {}, true),
              cli::status_text(snapshot_, cli::health_of(snapshot_, 0), {}),
              cli::show_text(snapshot_, cli::find(snapshot_, "02:57:00:00:00:01"), {})}) {
            EXPECT_EQ(text.find('\x1b'), std::string::npos);
            EXPECT_EQ(text.find("\xe2\x80\xae"), std::string::npos);
        }
    }
}

}  // namespace
