#include "cli/pictures.h"

#include "tests/cli/named_mesh.h"

using testing::HasSubstr;

namespace {

using PicturesTest = NamedMesh;

cli::Options with_bars() {
    cli::Options options;
    options.bars = true;
    return options;
}

TEST_F(PicturesTest, TheTree) {
    EXPECT_EQ(cli::tree_text(snapshot_, {}, false),
              "gateway  02:00:00:00:00:01  controller\n"
              "└─ Attic \"North\" \\ wing  02:0a:00:00:00:01  Ethernet  2 stations, 3 wired\n"
              "   └─ cellar  02:0b:00:00:00:01  2.4 GHz -52 dBm  3 stations\n");
}

TEST_F(PicturesTest, TheTreeWithStationsAndBars) {
    EXPECT_EQ(cli::tree_text(snapshot_, with_bars(), true),
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

TEST_F(PicturesTest, WeakSignalsAreColouredWhereThereIsColour) {
    cli::Options options;
    options.colour = true;
    const std::string text = cli::tree_text(snapshot_, options, true);
    EXPECT_THAT(text, HasSubstr("5 GHz \x1b[31m-100 dBm\x1b[0m\n"));
    EXPECT_THAT(text, HasSubstr("5 GHz \x1b[33m-70 dBm\x1b[0m\n"));
    EXPECT_THAT(text, HasSubstr("2.4 GHz -63 dBm\n"));
}

TEST_F(PicturesTest, ADeviceThatNothingLeadsToStandsApart) {
    snapshot_.devices[2].parent.reset();
    snapshot_.devices[2].hops.reset();
    EXPECT_THAT(cli::tree_text(snapshot_, {}, false),
                HasSubstr("\ncellar  02:0b:00:00:00:01  agent  3 stations  (no way to the gateway is known)\n"));
}

TEST_F(PicturesTest, AChainOfAnyLengthIsDrawn) {
    reader::Device device = snapshot_.devices[2];
    for (int i = 0; i < 2000; ++i) {
        char text[18];
        (void)std::snprintf(text, sizeof(text), "02:ff:00:00:%02x:%02x", i / 256, i % 256);
        device.parent = snapshot_.devices.back().al_mac;
        device.al_mac = mac(text);
        snapshot_.devices.push_back(device);
    }
    const std::string text = cli::tree_text(snapshot_, {}, false);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2003);
}

TEST_F(PicturesTest, TheWayOfAStation) {
    EXPECT_EQ(cli::path_text(snapshot_, snapshot_.stations[4], {}),
              "phone  02:57:00:00:00:05\n"
              "  │ 5 GHz -100 dBm\n"
              "cellar  02:0b:00:00:00:01\n"
              "  │ 2.4 GHz -52 dBm\n"
              "Attic \"North\" \\ wing  02:0a:00:00:00:01\n"
              "  │ Ethernet\n"
              "gateway  02:00:00:00:00:01\n");
    snapshot_.devices[1].hops.reset();
    snapshot_.devices[1].parent.reset();
    EXPECT_THAT(cli::path_text(snapshot_, snapshot_.stations[4], {}),
                HasSubstr("\n  │ no way to the gateway is known\n"));
}

TEST_F(PicturesTest, TheWayOfADevice) {
    EXPECT_EQ(cli::path_text(snapshot_, snapshot_.devices[2], {}),
              "cellar  02:0b:00:00:00:01\n"
              "  │ 2.4 GHz -52 dBm\n"
              "Attic \"North\" \\ wing  02:0a:00:00:00:01\n"
              "  │ Ethernet\n"
              "gateway  02:00:00:00:00:01\n");
}

TEST_F(PicturesTest, AllThatIsKnownOfSomebody) {
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

TEST_F(PicturesTest, AStrangersNameIsHarmless) {
    for (const std::string &name : strangers_names()) {
        snapshot_.stations[0].name = name;
        snapshot_.devices[1].name = name;
        expect_harmless(cli::tree_text(snapshot_, with_bars(), true));
        expect_harmless(cli::path_text(snapshot_, snapshot_.stations[0], with_bars()));
        expect_harmless(cli::show_text(snapshot_, cli::find(snapshot_, "02:57:00:00:00:01"), {}));
        expect_harmless(cli::show_text(snapshot_, cli::find(snapshot_, "02:0a:00:00:00:01"), {}));
    }
}

}  // namespace
