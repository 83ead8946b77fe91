#include "cli/happenings.h"

#include "tests/cli/named_mesh.h"

using testing::ElementsAre;

namespace {

class HappeningsTest : public NamedMesh {
protected:
    std::vector<std::string> sentences(const cli::Options &options = {}) const {
        std::vector<std::string> texts;
        for (const reader::Event &event : reader::events(snapshot_, after_)) {
            texts.push_back(cli::event_text(after_, event, options));
        }
        return texts;
    }

    reader::Snapshot after_ = snapshot_;
};

TEST_F(HappeningsTest, AreToldAsSentences) {
    after_.devices[2].parent = mac("02:00:00:00:00:01");
    after_.devices[2].medium = reader::Medium::k5GHz;
    after_.devices[1].address = "192.168.1.99";
    after_.stations[0].device = mac("02:0b:00:00:00:01");
    after_.stations[0].signal = -50;
    after_.stations.erase(after_.stations.begin() + 1);
    EXPECT_THAT(sentences(),
                ElementsAre("Attic \"North\" \\ wing (02:0a:00:00:00:01) has the address 192.168.1.99, was "
                            "192.168.1.21",
                            "cellar (02:0b:00:00:00:01) is linked to gateway, was Attic \"North\" \\ wing",
                            "cellar (02:0b:00:00:00:01) is linked over 5 GHz, was 2.4 GHz",
                            "phone (02:57:00:00:00:01) roamed from Attic \"North\" \\ wing, 2.4 GHz -60 dBm, to "
                            "cellar, 2.4 GHz -50 dBm",
                            "02:57:00:00:00:02 left Attic \"North\" \\ wing, 5 GHz -7 dBm"));
    cli::Options macs;
    macs.names = false;
    EXPECT_EQ(sentences(macs)[1], "02:0b:00:00:00:01 is linked to 02:00:00:00:00:01, was 02:0a:00:00:00:01");
    EXPECT_EQ(cli::summary_text(reader::events(snapshot_, after_)),
              "1 station left, 1 station roamed, 3 other changes");
}

TEST_F(HappeningsTest, TellOfWhoIsThereAndWhoIsNot) {
    after_.devices.pop_back();
    after_.devices[1].role = reader::Role::kController;
    after_.devices[1].name = "loft";
    after_.devices[1].firmware = "2";
    after_.stations.erase(after_.stations.begin() + 2, after_.stations.end());
    reader::Station wired = after_.stations[0];
    wired.mac = mac("02:ff:00:00:00:01");
    wired.name = "printer";
    wired.is_wired = true;
    wired.band.reset();
    wired.signal.reset();
    after_.stations.push_back(wired);
    const auto texts = sentences();
    EXPECT_EQ(texts[0], "loft (02:0a:00:00:00:01) has the role controller, was agent");
    EXPECT_EQ(texts[1], "loft (02:0a:00:00:00:01) has the firmware 2, was 1.0.2(A)b7");
    EXPECT_EQ(texts[2], "loft (02:0a:00:00:00:01) has the name loft, was Attic \"North\" \\ wing");
    EXPECT_EQ(texts[3], "cellar (02:0b:00:00:00:01) is down");
    EXPECT_EQ(texts.back(), "printer (02:ff:00:00:00:01) joined at loft, wired");
    EXPECT_EQ(cli::summary_text(reader::events(snapshot_, after_)),
              "1 device is down, 1 station joined, 6 stations left, 3 other changes");
    EXPECT_EQ(cli::summary_text(reader::events(after_, snapshot_)),
              "1 device is up, 6 stations joined, 1 station left, 3 other changes");
}

TEST_F(HappeningsTest, ASignalThatIsAnotherByFarIsTold) {
    after_.devices[2].signal = -62;   // was -52
    after_.stations[0].signal = -69;  // was -60: not far
    after_.stations[3].signal = -80;  // was -70
    after_.stations[4].signal = -60;  // was -100, and elsewhere
    after_.stations[4].device = mac("02:0a:00:00:00:01");
    const auto changes = cli::signal_changes(snapshot_, after_);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(cli::signal_text(changes[0], {}), "cellar (02:0b:00:00:00:01) is heard with -62 dBm, was -52");
    EXPECT_EQ(cli::signal_text(changes[1], {}), "02:57:00:00:00:04 is heard with -80 dBm, was -70");
    EXPECT_EQ(cli::to_json(changes[0]).dump(),
              R"({"device":"02:0b:00:00:00:01","name":"cellar","before":-52,"after":-62})");
}

TEST_F(HappeningsTest, NothingIsToldInWords) { EXPECT_EQ(cli::summary_text({}), "nothing has changed"); }

}  // namespace
