#include "reader/bundle.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/reader/inputs.h"

using reader::Inputs;
using reader::Problem;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

class BundleTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(mkdtemp(folder_.data()), nullptr); }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string &name) const { return folder_ + '/' + name; }

    static Inputs read(const std::string &file) {
        auto source = reader::open_source(file);
        return std::get<std::unique_ptr<reader::Source>>(source)->read();
    }

    // What a shell prints.
    static std::string shell(const std::string &command) {
        FILE *pipe = popen(command.c_str(), "r");
        std::string text;
        std::array<char, 4096> block = {};
        for (std::size_t size = 0; (size = fread(block.data(), 1, block.size(), pipe)) > 0;) {
            text.append(block.data(), size);
        }
        EXPECT_EQ(pclose(pipe), 0) << command;
        return text;
    }

    std::string folder_ = testing::TempDir() + "qo1905-bundle.XXXXXX";
};

TEST_F(BundleTest, WhatWentInComesOut) {
    const Inputs before = two_agents();
    ASSERT_EQ(reader::write_bundle(before, "test 1", path("b.tar.gz")), std::nullopt);
    const Inputs after = read(path("b.tar.gz"));
    EXPECT_EQ(after.source, path("b.tar.gz"));
    EXPECT_EQ(after.model.text, before.model.text);
    EXPECT_EQ(after.model.time, before.model.time);
    EXPECT_EQ(after.dump.text, before.dump.text);
    EXPECT_EQ(after.list_24g.text, before.list_24g.text);
    EXPECT_EQ(after.list_5g.text, before.list_5g.text);
    EXPECT_EQ(after.leases.problem->text(), path("b.tar.gz") + ":var/dnsmasq/dnsmasq.leases: not in the bundle");
    EXPECT_EQ(reader::make_snapshot(after).stations.size(), 8U);
}

TEST_F(BundleTest, OrdinaryToolsOpenIt) {
    ASSERT_EQ(reader::write_bundle(two_agents(), "test 1", path("b.tar.gz")), std::nullopt);
    EXPECT_EQ(shell("tar tzf " + path("b.tar.gz")),
              "bundle.json\ntmp/qo1905.json\ntmp/dump.txt\ntmp/ecnt_agent_assoc_list.24g\n"
              "tmp/ecnt_agent_assoc_list.5g\n");
    const auto notes = nlohmann::json::parse(shell("tar xzOf " + path("b.tar.gz") + " bundle.json"));
    EXPECT_EQ(notes["schema"], 1);
    EXPECT_EQ(notes["made_by"], "test 1");
    EXPECT_EQ(notes["made_at"], "2023-11-14T22:14:12Z");
    EXPECT_FALSE(notes.contains("anonymous"));
    EXPECT_EQ(notes["files"].size(), 4U);
    EXPECT_EQ(notes["files"][0]["time"], "2023-11-14T22:14:02Z");
    EXPECT_EQ(notes["missing"][0]["file"], "var/dnsmasq/dnsmasq.leases");
}

TEST_F(BundleTest, OneThatSomebodyPackedByHandIsOne) {
    fs::create_directories(path("ticket 7/files"));
    std::ofstream(path("ticket 7/files/qo1905.json")) << two_agents().model.text;
    std::ofstream(path("ticket 7/notes.txt")) << "hello";
    (void)shell("tar czf '" + path("hand.tgz") + "' -C '" + folder_ + "' 'ticket 7'");
    EXPECT_EQ(reader::make_snapshot(read(path("hand.tgz"))).devices.size(), 3U);
}

TEST_F(BundleTest, OneThatIsCutAnywhereIsToldAndNeverWhole) {
    ASSERT_EQ(reader::write_bundle(two_agents(), "test 1", path("b.tar.gz")), std::nullopt);
    std::ifstream file(path("b.tar.gz"), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    const std::string whole = bytes.str();
    for (std::size_t size = 2; size < whole.size(); size += 7) {
        std::ofstream(path("cut.tar.gz"), std::ios::binary | std::ios::trunc) << whole.substr(0, size);
        const Inputs inputs = read(path("cut.tar.gz"));
        ASSERT_TRUE(inputs.model.problem) << size;
        EXPECT_THAT(inputs.model.problem->text(), HasSubstr("cut.tar.gz")) << size;
        (void)reader::make_snapshot(inputs);
    }
}

TEST_F(BundleTest, OneThatUnpacksWithoutEndIsBounded) {
    // Highly compressed: 200 MiB of blanks in some hundred kilobytes.
    (void)shell("mkdir -p " + path("tmp") + " && head -c 209715200 /dev/zero | tr '\\0' ' ' >" +
                path("tmp/qo1905.json") + " && tar czf " + path("bomb.tar.gz") + " -C " + folder_ + " tmp && rm " +
                path("tmp/qo1905.json"));
    const Inputs inputs = read(path("bomb.tar.gz"));
    EXPECT_THAT(inputs.model.problem->text(), HasSubstr("tmp/qo1905.json: is larger than any model"));
    EXPECT_LT(inputs.model.text.size(), 1U);
}

TEST_F(BundleTest, OneThatIsPackedMoreThanOnceOrPromisesTooMuchIsRefused) {
    ASSERT_EQ(reader::write_bundle(two_agents(), "test 1", path("b.tar.gz")), std::nullopt);
    (void)shell("gzip -c " + path("b.tar.gz") + " >" + path("twice.tar.gz"));
    EXPECT_THAT(read(path("twice.tar.gz")).model.problem->text(), HasSubstr("is packed more than once"));
    (void)shell("cd " + folder_ + " && truncate -s 700M x && tar cf - x | gzip -1 >large.tar.gz && rm x");
    EXPECT_THAT(read(path("large.tar.gz")).model.problem->text(), HasSubstr("has more in it than a bundle"));
}

TEST_F(BundleTest, ATimeThatNoClockHasShownIsSomeTime) {
    fs::create_directories(path("tmp"));
    std::ofstream(path("tmp/qo1905.json")) << two_agents().model.text;
    for (const char *time : {"@99999999999", "@-99999999999"}) {
        (void)shell("tar czf " + path("time.tar.gz") + " --format=pax --mtime=" + time + " -C " + folder_ +
                    " tmp 2>&1");
        const reader::Snapshot snapshot = reader::make_snapshot(read(path("time.tar.gz")));
        EXPECT_GE(snapshot.age(), 0) << time;
        EXPECT_EQ(snapshot.devices.size(), 3U);
    }
}

TEST_F(BundleTest, NothingOfAnArchiveReachesTheDisk) {
    (void)shell(
        "cd " + folder_ +
        " && mkdir in && cd in && echo '{}' >qo1905.json && ln -s /etc/passwd dump.txt && "
        "tar czPf ../evil.tar.gz --transform 's,qo1905.json,../../../tmp/../qo1905.json,' qo1905.json dump.txt");
    const auto count = std::distance(fs::recursive_directory_iterator(folder_), fs::recursive_directory_iterator());
    const Inputs inputs = read(path("evil.tar.gz"));
    EXPECT_EQ(inputs.model.text, "{}\n");
    EXPECT_TRUE(inputs.dump.problem) << "a link is no file";
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder_), fs::recursive_directory_iterator()), count);
}

TEST_F(BundleTest, OneThatIsThereStays) {
    std::ofstream(path("old.tar.gz")) << "a customer's own";
    const auto problem = reader::write_bundle(two_agents(), "test 1", path("old.tar.gz"));
    EXPECT_EQ(problem->text(), path("old.tar.gz") + ": is there already, and stays");
    EXPECT_EQ(reader::read_file(path("old.tar.gz")).text, "a customer's own");
}

TEST_F(BundleTest, ItTellsByWhichTableItIsAnonymous) {
    Inputs inputs = two_agents();
    inputs.anonymous = "1234";
    ASSERT_EQ(reader::write_bundle(inputs, "test 1", path("b.tar.gz")), std::nullopt);
    EXPECT_EQ(reader::make_snapshot(read(path("b.tar.gz"))).anonymous, "1234");
    auto source = reader::open_source(path("b.tar.gz"));
    EXPECT_FALSE(std::get<std::unique_ptr<reader::Source>>(source)->can_change());
}

TEST_F(BundleTest, OneThatCannotBeWrittenIsTold) {
    const auto problem = reader::write_bundle(two_agents(), "test 1", path("none/b.tar.gz"));
    ASSERT_TRUE(problem);
    EXPECT_THAT(problem->text(), HasSubstr(path("none/b.tar.gz") + ": "));
    EXPECT_TRUE(reader::write_bundle(two_agents(), "test 1", "/dev/full"));
}

}  // namespace
