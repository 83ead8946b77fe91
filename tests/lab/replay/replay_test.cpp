// Customers' dumps through the real module, as a support engineer replays them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/lab/mesh/lab_process.h"

using namespace lab_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

const std::string kSamples = QO1905_SOURCE_DIR "/lab/samples/";

class ReplayTest : public InOwnFolder {
protected:
    static Result replay(Words words) {
        words.insert(words.begin(), {kLab, "replay"});
        return run(words);
    }

    static Result replay_text(const std::string &dump) {
        std::ofstream("customer.json", std::ios::binary) << dump;
        return replay({"--dump", "customer.json", "--out", "out"});
    }

    static json model() { return json::parse(text_of("out/tmp/qo1905.json"), nullptr, false); }

    static json topology() {
        return model().value("/Device/X_0A3C5E_IEEE1905/AL/NetworkTopology"_json_pointer, json::object());
    }
};

TEST_F(ReplayTest, TakesWhatItNeedsFromTheDumpAndSaysWhatItLacks) {
    const Result result = replay({"--dump", kSamples + "home.dump.json", "--out", "out"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("home.dump.json: 3 devices, 2 Agents, 14 stations; replayed on the Controller "
                                "02:c0:00:00:00:01\n"),
                      HasSubstr("--reports FILE: firmware versions"), HasSubstr("--leases FILE: addresses"),
                      HasSubstr("--device FILE: its own"), HasSubstr("\ncycle 1: 3 devices, 2 Agents, "),
                      HasSubstr("/out/tmp: qo1905.json, ")));
    EXPECT_THAT(result.output, Not(HasSubstr("cycle 2")));
    EXPECT_EQ(model()["Device"]["X_0A3C5E_IEEE1905"]["AL"]["IEEE1905Id"], "02:c0:00:00:00:01");
    EXPECT_EQ(topology()["IEEE1905Device.1"]["Hostname"], "Unknown");
    EXPECT_FALSE(fs::exists("out/tmp/scratch"));
    EXPECT_FALSE(fs::exists("out/tmp/mapd_ctrl"));
}

TEST_F(ReplayTest, ReportsAndLeasesFillTheModel) {
    const Result result = replay({"--dump", kSamples + "home.dump.json", "--reports", kSamples + "home.reports.json",
                                  "--leases", kSamples + "home.leases", "--out", "out"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, AllOf(Not(HasSubstr("--reports FILE")), HasSubstr("--device FILE")));
    EXPECT_EQ(topology()["IEEE1905Device.1"]["Hostname"], "living-room");
    EXPECT_EQ(topology()["IEEE1905Device.1"]["FirmwareVersion"], "2.4.1");
    EXPECT_EQ(topology()["IEEE1905Device.2"]["DeviceIP"], "192.168.1.121") << "the lease";
}

TEST_F(ReplayTest, AnAgentsDumpIsReplayedOnAnAgent) {
    const Result result =
        replay_text(R"({"topology information": [{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"},)"
                    R"({"AL MAC": "02:c0:00:00:00:01", "Device role": "01"}]})");
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("replayed on the Agent 02:0a:00:00:00:01\n"));
    EXPECT_EQ(topology()["IEEE1905Device.1"]["IEEE1905Id"], "02:c0:00:00:00:01");
}

TEST_F(ReplayTest, ADumpThatMakesNoModelEndsWithItsReason) {
    const std::string good = text_of(kSamples + "home.dump.json");
    const struct {
        std::string dump;
        const char *reason;
    } cases[] = {
        {"", "!! it is empty\n"},
        {good.substr(0, good.size() / 2), "no JSON: it ends there, in the middle"},
        {"\xef\xbb\xbf" + good, "!! it begins with a byte order mark"},
        {"\xff\xfe{", "!! it is UTF-16"},
        {"\x1f\x8b\x08", "!! it is compressed by gzip"},
        {"{}", "!! it is JSON, but no topology dump: it has no \"topology information\"\n"},
        {R"({"topology information": [{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"}]})",
         "!! it holds Agents only (1)"},
        // Only the module knows how deep it reads.
        {R"({"topology information": [], "deep": )" + std::string(100, '[') + std::string(100, ']') + "}",
         "!! nothing wrong is known of it; the last that the module said:\n"},
    };
    for (const auto &item : cases) {
        const Result result = replay_text(item.dump);
        EXPECT_EQ(result.status, 1) << result.output;
        EXPECT_THAT(result.output,
                    AllOf(HasSubstr("!! customer.json: no model was made of it\n"), HasSubstr(item.reason)));
        EXPECT_FALSE(fs::exists("out/tmp/qo1905.json"));
    }
}

// It reads on to the end of the first value, as its parser does; that is no success.
TEST_F(ReplayTest, WhatTheModuleTakesAllTheSameIsTold) {
    const Result result = replay_text(R"({"topology information": []} and more)");
    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_THAT(result.output, AllOf(HasSubstr("!! customer.json cannot be read beyond line 1: no JSON: "),
                                     HasSubstr("made a model all the same"), HasSubstr("/out/tmp: qo1905.json")));
}

TEST_F(ReplayTest, AModelThatLacksDevicesOfTheDumpIsNoSuccess) {
    const Result empty = replay_text(R"({"topology information": []})");
    EXPECT_EQ(empty.status, 1);
    EXPECT_THAT(empty.output, HasSubstr("!! customer.json holds no device: "));
    std::string dump = text_of(kSamples + "home.dump.json");
    const std::string al_mac = "\"AL MAC\": \"02:0a:00:00:00:01\",";
    const Result part = replay_text(dump.erase(dump.find(al_mac), al_mac.size()));
    EXPECT_EQ(part.status, 1);
    EXPECT_THAT(part.output, AllOf(HasSubstr("== odd: device 1: AL MAC \"\" is no MAC"),
                                   HasSubstr("!! the model lacks 2 of the dump's 3 devices\n")));
}

TEST_F(ReplayTest, WhatStandsBesideTheDumpAndIsAboutNothingInItIsTold) {
    std::ofstream("reports.json") << R"([{"SrcAlMac": "02:99:00:00:00:01"}])";
    std::ofstream("leases") << "1 02:99:00:00:00:01 10.0.0.1 x *\n";
    const Result result = replay(
        {"--dump", kSamples + "home.dump.json", "--reports", "reports.json", "--leases", "leases", "--out", "out"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("!! reports.json: no report of a device of this dump\n"),
                                     HasSubstr("!! leases: no lease of a device of this dump\n")));
    EXPECT_EQ(replay({"--reports", kSamples + "home.dump.json"}).status, 2);
}

// Nothing is left of one that says all there is to say.
TEST_F(ReplayTest, AFailedOneLeavesNoFolder) {
    const auto folders = [] {
        return std::count_if(fs::directory_iterator("/tmp"), fs::directory_iterator(), [](const auto &entry) {
            return entry.path().filename().string().rfind("qo1905-replay.", 0) == 0;
        });
    };
    const auto before = folders();
    std::ofstream("empty.json").flush();
    const Result result = replay({"--dump", "empty.json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, Not(HasSubstr("/tmp/qo1905-replay.")));
    EXPECT_EQ(folders(), before);
}

TEST_F(ReplayTest, ADeviceThatIsNotInAMeshSaysSo) {
    std::string device = text_of(kSamples + "controller.device.json");
    std::ofstream("device.json") << device.replace(device.find('{'), 1, "{\"easymesh\": false,");
    const Result result = replay({"--dump", kSamples + "home.dump.json", "--device", "device.json", "--out", "out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("!! the device description says \"easymesh\": false"));
}

TEST_F(ReplayTest, AnyKindOfFileIsRead) {
    const std::string replay_it = kLab + " replay --out out --dump ";
    const std::string sample = kSamples + "home.dump.json";
    for (const std::string &command :
         {replay_it + "- <" + sample, "cat " + sample + " | " + replay_it + "-", replay_it + "<(cat " + sample + ")",
          "mkfifo pipe; cat " + sample + " >pipe & " + replay_it + "pipe",
          replay_it.substr(0, replay_it.size() - 1) + "=" + sample}) {
        const Result result = run({"bash", "-c", command});
        EXPECT_EQ(result.status, 0) << command << '\n' << result.output;
        EXPECT_THAT(result.output, HasSubstr("replayed on the Controller 02:c0:00:00:00:01")) << command;
    }
    EXPECT_THAT(replay({"--dump", "none.json"}).output,
                HasSubstr("none.json: cannot be read: No such file or directory\n"));
    EXPECT_THAT(replay({"--dump", "."}).output, HasSubstr(".: cannot be read: Is a directory\n"));
}

TEST_F(ReplayTest, AnyNumberRunSideBySide) {
    std::vector<std::unique_ptr<Program>> programs;
    programs.reserve(4);
    for (int i = 0; i < 4; ++i) {
        programs.push_back(std::make_unique<Program>(
            Words{kLab, "replay", "--dump", kSamples + "home.dump.json", "--out", "out" + std::to_string(i)}));
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(programs[static_cast<std::size_t>(i)]->wait(), 0);
        const std::string at = "out" + std::to_string(i) + "/tmp/qo1905.json";
        EXPECT_TRUE(json::accept(text_of(at))) << at;
    }
}

TEST_F(ReplayTest, OneFolderIsForOneReplayAndForNothingElse) {
    const Words words = {kLab, "replay", "--dump", kSamples + "home.dump.json", "--out", "out"};
    Words stays = words;
    stays.emplace_back("--stay");
    Program first(stays);
    ASSERT_TRUE(wait_until([] { return fs::exists("out/tmp/qo1905.json"); }));
    const Result second = run(words);
    EXPECT_EQ(second.status, 2);
    EXPECT_THAT(second.output, HasSubstr("/out: another replay is running there; choose another --out\n"));
    EXPECT_EQ(first.end(SIGINT), 130);
    EXPECT_THAT(first.output(), HasSubstr("/out/tmp: qo1905.json"));
    const Result third = run(words);
    EXPECT_EQ(third.status, 0);
    EXPECT_THAT(third.output, HasSubstr("== what an earlier replay left there is now in "));
    EXPECT_TRUE(fs::exists("out.before/tmp/qo1905.json"));
    EXPECT_EQ(run(words).status, 0);

    fs::create_directories("mine");
    std::ofstream("mine/letter.txt") << "dear";
    EXPECT_THAT(replay({"--out", "mine"}).output, HasSubstr("/mine: there are files, and not those of a replay"));
    EXPECT_TRUE(fs::exists("mine/letter.txt"));
}

TEST_F(ReplayTest, MistakesInWhatStandsBesideTheDumpNameTheUsersFile) {
    std::ofstream("reports.json") << "[1]";
    std::ofstream("device.json") << "{\"role\": \"boss\"}";
    const std::string sample = kSamples + "home.dump.json";
    EXPECT_THAT(replay({"--dump", sample, "--reports", "reports.json"}).output,
                StartsWith("qo1905-lab: reports.json[0]: key \"SrcAlMac\" is missing"));
    EXPECT_THAT(replay({"--dump", sample, "--device", "device.json"}).output,
                StartsWith("qo1905-lab: device.json: role: must be \"controller\" or \"agent\""));
    EXPECT_EQ(replay({"--dump", sample, "--cycles", "0"}).status, 2);
    EXPECT_EQ(replay({"--dump", sample, "--unit", "0"}).status, 2);
}

}  // namespace
