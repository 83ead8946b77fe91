#include "cli/health.h"

#include "cli/mesh.h"
#include "tests/cli/named_mesh.h"

using cli::Options;
using testing::HasSubstr;

namespace {

using HealthTest = NamedMesh;

Options utc() {
    Options options;
    options.in_utc = true;
    return options;
}

TEST_F(HealthTest, OneScreenTellsWhetherAllIsWell) {
    const cli::Health health = cli::health_of({snapshot_}, cli::kWeakSignal);
    EXPECT_EQ(cli::status_text(snapshot_, health, utc()),
              "mesh      of gateway, written 2023-11-14 22:14:02Z, 10 s old\n"
              "devices   3 devices, all reach the gateway\n"
              "links     no weak one\n"
              "stations  2 on 2.4 GHz, 3 on 5 GHz, 3 wired\n"
              "weak      phone -100 dBm at cellar\n"
              "changed   not known, this is one moment (--since SOURCE compares two)\n"
              "in short  the devices are well linked, but 1 station is heard badly\n");
    EXPECT_FALSE(cli::to_json(snapshot_, health)["well"]);
    EXPECT_TRUE(cli::to_json(snapshot_, cli::health_of({snapshot_}, -101))["well"]);
}

TEST_F(HealthTest, OneScreenTellsWhatIsNot) {
    snapshot_.devices[1].hops.reset();
    snapshot_.devices[2].signal = -80;
    snapshot_.read_at += std::chrono::hours(3);
    snapshot_.missing.push_back(
        {reader::Missing::Part::kDump, {reader::Problem::Kind::kMissing, "dump.txt", "No such file or directory"}});
    const cli::Health health = cli::health_of({snapshot_}, cli::kWeakSignal);
    EXPECT_EQ(cli::status_text(snapshot_, health, utc()),
              "mesh      of gateway, written 2023-11-14 22:14:02Z, 3 h old\n"
              "devices   3 devices, no way to the gateway is known for: Attic \"North\" \\ wing\n"
              "links     weak: cellar 2.4 GHz -80 dBm\n"
              "stations  2 on 2.4 GHz, 3 on 5 GHz, 3 wired\n"
              "weak      phone -100 dBm at cellar\n"
              "changed   not known, this is one moment (--since SOURCE compares two)\n"
              "missing   dump.txt: No such file or directory\n"
              "in short  3 h ago: something is wrong with the devices or their links\n");
    EXPECT_FALSE(cli::to_json(snapshot_, health)["well"]);
}

TEST_F(HealthTest, ASlowLinkHoldsBackAllBehindIt) {
    snapshot_.devices[2].rate = 99;
    cli::Health health = cli::health_of({snapshot_}, -101);
    EXPECT_THAT(cli::status_text(snapshot_, health, {}),
                HasSubstr("links     weak: cellar 2.4 GHz -52 dBm 99 Mbit/s\n"));
    snapshot_.devices[2].rate = 100;
    health = cli::health_of({snapshot_}, -101);
    EXPECT_TRUE(health.is_well());
}

TEST_F(HealthTest, OneScreenSaysHowFarItSees) {
    snapshot_.knows_local_stations = false;
    cli::Health health = cli::health_of({snapshot_}, -120);
    EXPECT_THAT(cli::status_text(snapshot_, health, {}),
                testing::AllOf(HasSubstr("3 wired; not those of the device that wrote the model\n"),
                               HasSubstr("weak      none\n"),
                               HasSubstr("in short  all is well, as far as these files tell\n")));
    Options options;
    options.max_age = 5;
    EXPECT_THAT(cli::status_text(snapshot_, health, options), HasSubstr("in short  too old to tell\n"));
}

TEST_F(HealthTest, OneScreenTellsWhatHasChanged) {
    reader::Snapshot before = snapshot_;
    before.stations.erase(before.stations.begin());
    before.devices[1].firmware = "0.9";
    const cli::Health health = cli::health_of({snapshot_, &before}, cli::kWeakSignal);
    Options options;
    options.in_utc = true;
    EXPECT_THAT(cli::status_text(snapshot_, health, options),
                HasSubstr("changed   1 station joined, 1 other change since 2023-11-14 22:14:02Z\n"));
    const auto json = cli::to_json(snapshot_, health);
    EXPECT_EQ(json["since"], "2023-11-14T22:14:02Z");
    EXPECT_EQ(json["changes"].size(), 2U);
}

TEST_F(HealthTest, AStrangersNameIsHarmless) {
    for (const std::string &name : strangers_names()) {
        snapshot_.stations[0].name = name;
        snapshot_.devices[1].name = name;
        expect_harmless(cli::status_text(snapshot_, cli::health_of({snapshot_}, 0), {}));
    }
}

}  // namespace
