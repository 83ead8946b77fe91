// The command as people and scripts run it: what goes out where, and with which status it ends.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/lab/program.h"

using lab_test::Result;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

const std::string kMesh = QO1905_SOURCE_DIR "/tests/fixtures/meshes/two_agents/";

class CommandTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        fs::current_path(folder_);
        fs::create_directory("mesh");
        fs::copy(kMesh + "dump.json", "mesh/dump.txt");
        for (const char *name : {"qo1905.json", "ecnt_agent_assoc_list.24g", "ecnt_agent_assoc_list.5g"}) {
            fs::copy(kMesh + "expected/" + name, std::string("mesh/") + name);
        }
        std::ofstream("mesh/dnsmasq.leases") << "1 02:57:00:00:00:01 192.168.1.101 phone *\n";
    }
    void TearDown() override {
        fs::current_path("/");
        fs::remove_all(folder_);
    }

    // Its output alone; the errors are in errors_.
    Result ask(const std::string &words) {
        Result result = lab_test::run({"sh", "-c", QO1905_BINARY_DIR "/qo1905 " + words + " 2>errors"});
        errors_ = lab_test::text_of("errors");
        return result;
    }

    std::string folder_ = testing::TempDir() + "qo1905-command.XXXXXX";
    std::string errors_;
};

TEST_F(CommandTest, DataGoesToStandardOutputAndWordsToStandardError) {
    const Result result = ask("-s mesh tree");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith("02:00:00:00:00:01  controller\n"));
    EXPECT_EQ(errors_, "");
    fs::remove("mesh/dump.txt");
    EXPECT_EQ(ask("-s mesh devices").status, 0);
    EXPECT_EQ(errors_,
              "qo1905: mesh/dump.txt: No such file or directory; without it the stations of the device that "
              "wrote the model are missing\n");
    EXPECT_EQ(ask("-s mesh devices -o json").status, 0);
    EXPECT_EQ(errors_, "") << "programs find it in the JSON";
}

TEST_F(CommandTest, EveryVerbAnswersInJsonOfOneShape) {
    for (const char *verb :
         {"status", "devices", "stations", "links", "tree", "show 02:0a:00:00:00:01", "path phone"}) {
        const Result result = ask(std::string("-s mesh -o json ") + verb);
        EXPECT_EQ(result.status, 0) << verb;
        const json answer = json::parse(result.output, nullptr, false);
        ASSERT_FALSE(answer.is_discarded()) << verb;
        EXPECT_EQ(answer["schema"], 1) << verb;
        EXPECT_EQ(answer["source"], "mesh") << verb;
        EXPECT_TRUE(answer.contains("age") && answer.contains("missing")) << verb;
    }
}

TEST_F(CommandTest, NothingThatMatchesIsStatus1) {
    for (const char *words :
         {"show nobody", "path nobody", "stations --device nowhere", "stations --name nobody", "get Device.None"}) {
        EXPECT_EQ(ask(std::string("-s mesh ") + words).status, 1) << words;
    }
    ask("-s mesh show nobody");
    EXPECT_EQ(errors_, "qo1905: nothing here goes by nobody\n");
    ask("-s mesh path pho");
    EXPECT_EQ(errors_, "qo1905: nothing here goes by pho; there are: phone\n");
    EXPECT_EQ(ask("-s mesh show 02-57-00-00-00-01").status, 0) << "as some write MACs";
}

TEST_F(CommandTest, WrongWordsAreStatus2) {
    for (const char *words : {"", "frobnicate", "-o tsv tree", "--columns name status", "-o xml devices",
                              "--columns colour devices", "show", "--max-age 0 status", "wait", "wait --for colour=red",
                              "stations --band 6", "stations --weak-below 90", "-o json --columns mac stations"}) {
        EXPECT_EQ(ask(std::string("-s mesh ") + words).status, 2) << words;
        EXPECT_NE(errors_, "") << words;
    }
}

TEST_F(CommandTest, WrongWordsAreNamed) {
    ask("-s mesh frobnicate");
    EXPECT_EQ(errors_, "qo1905: there is no verb frobnicate here; --help lists them\n");
    ask("mesh status");
    EXPECT_EQ(errors_, "qo1905: not expected here: mesh; a source is named by -s mesh\n");
    EXPECT_EQ(ask("check --max-weak -1").status, 3) << "2 would be a broken mesh";
    EXPECT_EQ(ask("-s mesh check -o json").status, 3);
    EXPECT_THAT(errors_, HasSubstr("check: has one output, which -o and --columns do not change\n"));
    ask("schema none");
    EXPECT_EQ(errors_, "qo1905: there is no schema none; there are: model, change-log, snapshot, event, history\n");
    ask("-s mesh -o xml devices");
    EXPECT_THAT(errors_, HasSubstr("xml not in {"));
    ask("-s mesh -o value path phone");
    EXPECT_THAT(errors_, HasSubstr("path: has no rows and columns; table and json are its outputs\n"));
    ask("-s mesh wait --for devices=3 --timeout abc");
    EXPECT_THAT(errors_, HasSubstr("--timeout"));
}

TEST_F(CommandTest, ADumpInPlaceOfAModelIsTold) {
    EXPECT_EQ(ask("-s mesh/dump.txt status").status, 4);
    EXPECT_THAT(errors_, HasSubstr("is a topology dump and no model; a replay makes one of it (./dev run --dump)\n"));
}

TEST_F(CommandTest, NoModelOrAnOldOneIsStatus3) {
    EXPECT_EQ(ask("-s none status").status, 3);
    EXPECT_EQ(errors_, "qo1905: none: No such file or directory\n");
    fs::create_directory("empty");
    EXPECT_EQ(ask("-s empty status").status, 3);
    EXPECT_EQ(errors_, "qo1905: empty/qo1905.json: No such file or directory\n");
    fs::last_write_time("mesh/qo1905.json", fs::last_write_time("mesh/qo1905.json") - std::chrono::hours(1));
    const Result old = ask("-s mesh --max-age 60 devices");
    EXPECT_EQ(old.status, 3);
    EXPECT_THAT(old.output, HasSubstr("02:0b:00:00:00:01")) << "it is shown all the same";
    EXPECT_THAT(errors_, MatchesRegex("qo1905: the model of mesh is 36[0-9][0-9] s old, more than --max-age\n"));
    EXPECT_EQ(ask("-s mesh --max-age 7200 devices").status, 0);
    // The dump alone tells a part.
    fs::remove("mesh/qo1905.json");
    const Result part = ask("-s mesh devices -o value --columns al_mac");
    EXPECT_EQ(part.status, 3);
    EXPECT_EQ(part.output, "02:00:00:00:00:01\n02:0a:00:00:00:01\n02:0b:00:00:00:01\n");
}

TEST_F(CommandTest, AModelThatCannotBeReadIsStatus4) {
    fs::remove("mesh/dump.txt");
    const std::string whole = lab_test::text_of("mesh/qo1905.json");
    const struct {
        std::string text;
        const char *reason;
    } cases[] = {
        {"", "is empty"},
        {whole.substr(0, whole.size() / 2), "is cut: it does not end as a model does"},
        {"no JSON }\n", "line 1: no JSON: "},
        {"{}\n", "is JSON, but no model: it has no Device.X_0A3C5E_IEEE1905.AL"},
        {std::string(10000, '[') + "}\n", "line 1: no JSON: "},
        {std::string("\x7f\x45LF\0}\n", 7), "line 1: no JSON: "},
    };
    for (const auto &item : cases) {
        std::ofstream("mesh/qo1905.json", std::ios::binary) << item.text;
        for (const char *source : {"mesh", "mesh/qo1905.json"}) {
            const Result result = ask(std::string("-s ") + source + " status");
            EXPECT_EQ(result.status, 4) << item.reason;
            EXPECT_EQ(result.output, "");
            EXPECT_THAT(errors_, AllOf(StartsWith("qo1905: mesh/qo1905.json: "), HasSubstr(item.reason)));
            EXPECT_EQ(errors_.find('\n'), errors_.size() - 1) << errors_;
        }
    }
    fs::remove("mesh/qo1905.json");
    ASSERT_EQ(mkfifo("mesh/qo1905.json", 0600), 0);
    EXPECT_EQ(ask("-s mesh status").status, 4);
    EXPECT_THAT(errors_, HasSubstr("gives nothing"));
}

TEST_F(CommandTest, ATimeThatIsUpIsStatus5) {
    EXPECT_EQ(ask("-s mesh wait --for station=phone@02:0a:00:00:00:01").status, 0);
    EXPECT_EQ(ask("-s mesh wait --for device=nowhere --timeout 0.1").status, 5);
    EXPECT_EQ(errors_, "qo1905: not within the time: device=nowhere\n");
    fs::remove("mesh/qo1905.json");
    ask("-s mesh wait --for device=nowhere --timeout 0.1");
    EXPECT_EQ(errors_, "qo1905: not within the time: device=nowhere; mesh/qo1905.json: No such file or directory\n");
}

TEST_F(CommandTest, StandardInputIsASource) {
    const Result result = ask("-s - devices -o value --columns al_mac <mesh/qo1905.json");
    EXPECT_EQ(result.status, 0) << errors_;
    EXPECT_EQ(result.output, "02:00:00:00:00:01\n02:0a:00:00:00:01\n02:0b:00:00:00:01\n");
}

TEST_F(CommandTest, ValuesByTheirPaths) {
    EXPECT_EQ(ask("-s mesh get 'Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.IEEE1905Device.*.IEEE1905Id'").output,
              "Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.IEEE1905Device.1.IEEE1905Id => 02:0a:00:00:00:01\n"
              "Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.IEEE1905Device.2.IEEE1905Id => 02:0b:00:00:00:01\n");
    EXPECT_EQ(ask("-s mesh -o value get Device.X_0A3C5E_IEEE1905.AL.LowerLayers").output,
              "[\"Interface.1\",\"Interface.2\",\"Interface.3\"]\n");
    const json line =
        json::parse(ask("-s mesh -o ndjson get Device.X_0A3C5E_IEEE1905.AL.InterfaceNumberOfEntries").output);
    EXPECT_EQ(line["path"], "Device.X_0A3C5E_IEEE1905.AL.InterfaceNumberOfEntries");
    EXPECT_EQ(line["value"], 3);
    const json whole =
        json::parse(ask("-s mesh -o json get Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.Enable").output);
    EXPECT_EQ(whole["values"],
              json::parse(R"([{"path": "Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.Enable", "value": true}])"));
    EXPECT_EQ(ask("-s mesh -o tsv get Device.X_0A3C5E_IEEE1905.AL.Status").output,
              "path\tvalue\nDevice.X_0A3C5E_IEEE1905.AL.Status\tUP\n");
}

TEST_F(CommandTest, WhatHappenedBetweenTwoSources) {
    fs::copy("mesh", "later");
    EXPECT_EQ(ask("diff mesh later").output, "");
    EXPECT_EQ(errors_, "qo1905: nothing has changed\n");
    EXPECT_EQ(ask("diff mesh/qo1905.json later").status, 0);
    EXPECT_THAT(errors_, StartsWith("qo1905: stations of the device that wrote the model are not compared: "));
    std::string model = lab_test::text_of("mesh/qo1905.json");
    const std::string old_version = "1.0.2(A)b7";
    std::ofstream("later/qo1905.json") << model.replace(model.find(old_version), old_version.size(), "1.0.3");
    EXPECT_EQ(ask("diff mesh later").output,
              "Attic \"North\" \\ wing (02:0a:00:00:00:01) has the firmware 1.0.3, was 1.0.2(A)b7\n");
    EXPECT_EQ(errors_, "qo1905: 1 other change\n");
    EXPECT_THAT(ask("diff mesh later -o table").output,
                HasSubstr("\nfirmware  Attic \"North\" \\ wing  02:0a:00:00:00:01  1.0.2(A)b7  1.0.3\n"));
    const json whole = json::parse(ask("-o json diff mesh later").output);
    EXPECT_EQ(whole["before"]["source"], "mesh");
    EXPECT_EQ(whole["after"]["source"], "later");
    const json &events = whole["events"];
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0]["event"], "firmware");
    EXPECT_EQ(ask("-s later diff mesh -o value --columns event").output, "firmware\n");
}

TEST_F(CommandTest, SignalsThatChangedByFarAreToldWithTheDifferences) {
    fs::copy("mesh", "later");
    std::string model = lab_test::text_of("mesh/qo1905.json");
    std::ofstream("later/qo1905.json") << model.replace(model.find("-70"), 3, "-85");
    EXPECT_EQ(ask("diff mesh later").output, "02:57:00:00:00:04 is heard with -85 dBm, was -70\n");
    EXPECT_EQ(errors_, "qo1905: 1 signal changed by 10 dB or more\n");
    EXPECT_EQ(json::parse(ask("-o json diff mesh later").output)["signals"],
              json::parse(R"([{"station": "02:57:00:00:00:04", "before": -70, "after": -85}])"));
}

// ---- bundles ----

TEST_F(CommandTest, ABundleIsASourceAlsoThroughAPipe) {
    EXPECT_EQ(ask("-s mesh bundle ticket.tar.gz").status, 0);
    EXPECT_EQ(errors_, "qo1905: ticket.tar.gz: 5 files\n");
    const std::string tree = ask("-s mesh tree").output;
    EXPECT_EQ(ask("-s ticket.tar.gz tree").output, tree);
    EXPECT_EQ(ask("-s mesh bundle - 2>words | " QO1905_BINARY_DIR "/qo1905 -s - tree").output, tree);
    EXPECT_EQ(ask("-s mesh bundle ticket.tar.gz").status, 4);
    EXPECT_EQ(errors_, "qo1905: ticket.tar.gz: is there already, and stays\n");
    EXPECT_EQ(ask("-s none bundle other.tar.gz").status, 3);
    EXPECT_FALSE(fs::exists("other.tar.gz"));
    EXPECT_EQ(ask("-s mesh bundle none/x.tar.gz").status, 4);
}

TEST_F(CommandTest, WhatIsOfOneMomentIsNotWaitedFor) {
    ask("-s mesh bundle ticket.tar.gz");
    for (const char *verb : {"events -f", "watch"}) {
        EXPECT_EQ(ask(std::string("-s ticket.tar.gz ") + verb).status, 2) << verb;
        EXPECT_THAT(errors_, HasSubstr("ticket.tar.gz: is of one moment, and will not change"));
    }
    EXPECT_EQ(ask("-s ticket.tar.gz wait --for device=nowhere --timeout 1000").status, 5);
    EXPECT_EQ(ask("-s ticket.tar.gz wait --for devices=2").status, 0) << "or more";
}

TEST_F(CommandTest, BundlesUnderOtherNamesAreComparedOnlyByTheSameTable) {
    EXPECT_EQ(ask("-s mesh bundle --anonymise one.tar.gz").status, 0);
    EXPECT_THAT(errors_, StartsWith("qo1905: "));
    EXPECT_EQ(ask("-s mesh bundle --anonymise --table table two.tar.gz").status, 0);
    EXPECT_EQ(ask("-s mesh bundle --anonymise --table table three.tar.gz").status, 0);
    EXPECT_EQ(ask("diff two.tar.gz three.tar.gz").status, 0);
    EXPECT_EQ(errors_, "qo1905: nothing has changed\n");
    for (const char *sources : {"one.tar.gz two.tar.gz", "mesh one.tar.gz"}) {
        EXPECT_EQ(ask(std::string("diff ") + sources).status, 2) << sources;
        EXPECT_THAT(errors_, HasSubstr("the two have other names for the same"));
    }
    EXPECT_EQ(fs::status("table").permissions(), fs::perms::owner_read | fs::perms::owner_write);
    std::ofstream("table") << "my own notes";
    EXPECT_EQ(ask("-s mesh bundle --anonymise --table table four.tar.gz").status, 4);
    EXPECT_EQ(lab_test::text_of("table"), "my own notes");
    EXPECT_EQ(ask("-s mesh bundle --table table four.tar.gz").status, 2)
        << "without --anonymise it would be for nothing";
}

// ---- for monitoring systems ----

TEST_F(CommandTest, ACheckIsOneLineWithPerformanceDataAndAStatus) {
    std::ofstream("mesh/qo1905.json", std::ios::app).flush();
    fs::last_write_time("mesh/qo1905.json", fs::file_time_type::clock::now());
    const Result well = ask("-s mesh check");
    EXPECT_EQ(well.status, 0) << well.output;
    EXPECT_THAT(
        well.output,
        MatchesRegex("MESH OK - 3 devices, 5 stations, 3 wired \\| age=[0-9]+s;;120;0 devices=3;;1:;0 stations=5;;;0 "
                     "wired=3;;;0 weak_stations=1;5;;0 weak_links=0;0;;0\n"));
    const Result weak = ask("-s mesh check --max-weak 0");
    EXPECT_EQ(weak.status, 1);
    EXPECT_THAT(weak.output, StartsWith("MESH WARNING - 1 weak station | "));
    const Result few = ask("-s mesh check --min-devices 4 --max-weak 0");
    EXPECT_EQ(few.status, 2);
    EXPECT_THAT(few.output, StartsWith("MESH CRITICAL - 3 of 4 devices, 1 weak station | "));
    fs::last_write_time("mesh/qo1905.json", fs::file_time_type::clock::now() - std::chrono::minutes(10));
    EXPECT_THAT(ask("-s mesh check").output, StartsWith("MESH CRITICAL - the model is 60"));
    const Result none = ask("-s none check");
    EXPECT_EQ(none.status, 3);
    EXPECT_EQ(none.output, "MESH UNKNOWN - none: No such file or directory\n");
    std::ofstream("mesh/qo1905.json") << "{";
    EXPECT_EQ(ask("-s mesh check").output,
              "MESH UNKNOWN - mesh/qo1905.json: is cut: it does not end as a model does\n");
}

TEST_F(CommandTest, AnswersThatCannotBeWrittenAreNoSuccess) {
    EXPECT_EQ(ask("-s mesh devices >/dev/full").status, 4);
    EXPECT_EQ(errors_, "qo1905: standard output cannot be written\n");
}

TEST_F(CommandTest, AServerIsNotStartedByWordsThatWouldLetAnybodyAsk) {
    EXPECT_EQ(ask("serve mesh --listen 0.0.0.0").status, 2);
    EXPECT_THAT(errors_, HasSubstr("needs --token-file FILE"));
    std::ofstream("short") << "secret\n";
    EXPECT_EQ(ask("serve mesh --token-file short").status, 2);
    EXPECT_THAT(errors_, HasSubstr("short: a token has 16 characters or more"));
    EXPECT_EQ(ask("serve mesh --token-file none").status, 2);
    EXPECT_THAT(errors_, HasSubstr("none: No such file or directory"));
    EXPECT_EQ(ask("serve nowhere").status, 3);
    EXPECT_EQ(ask("serve --host gateway.lan nowhere").status, 3);
    EXPECT_EQ(ask("-o json serve mesh").status, 2);
    EXPECT_EQ(ask("serve mesh --listen 192.0.2.1 --token-file long").status, 2);
    std::ofstream("long") << "correct-horse-battery\n";
    EXPECT_EQ(ask("serve mesh --listen 192.0.2.1 --token-file long").status, 4) << "no address of this machine";
    EXPECT_THAT(errors_, HasSubstr("cannot listen on 192.0.2.1"));
}

TEST_F(CommandTest, AServerTellsItsAddressAndEndsInOrder) {
    const Result served =
        ask("serve mesh --port 0 --page nowhere >url 2>said & server=$!; until [ -s url ] && grep -q there said; "
            "do sleep 0.02; done; kill -TERM $server; wait $server");
    EXPECT_EQ(served.status, 0);
    EXPECT_THAT(lab_test::text_of("url"), testing::MatchesRegex("http://127.0.0.1:[0-9]+/\n"));
    EXPECT_THAT(lab_test::text_of("said"), HasSubstr("(Ctrl-C ends); source: mesh\n"));
    EXPECT_THAT(lab_test::text_of("said"),
                HasSubstr("the page is not there (nowhere), the rest is: http://127.0.0.1:"));
}

TEST_F(CommandTest, ThePageOfAMomentNeedsThePage) {
    EXPECT_EQ(ask("-s mesh export html --page nowhere").status, 4);
    EXPECT_THAT(errors_, HasSubstr("the page is not there (nowhere); --page FOLDER tells where it is"));
}

TEST_F(CommandTest, HelpTellsEveryVerb) {
    const Result help = ask("--help");
    EXPECT_EQ(help.status, 0);
    for (const char *verb : {"status", "devices", "stations", "links", "tree", "show", "path", "get", "diff", "check",
                             "wait", "watch", "events", "export", "bundle", "schema", "completion", "serve"}) {
        EXPECT_THAT(help.output, HasSubstr("\n  " + std::string(verb) + " "));
        EXPECT_EQ(ask(std::string(verb) + " --help").status, 0);
    }
    EXPECT_EQ(ask("--version").output, "1.0.0\n");
}

}  // namespace
