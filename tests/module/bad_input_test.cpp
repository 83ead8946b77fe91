// Whole cycles on input that is broken, wrong or hostile: the host lives, the files parse, the previous ones stay where
// there is nothing new to write.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/module_test.h"

using testing::HasSubstr;

namespace {

class BadInputTest : public ModuleTest {
protected:
    BadInputTest() {
        fake::host.role = "1";
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
    }

    // A cycle on this dump; returns what it printed.
    std::string cycle(const std::string &dump) {
        fake::host.dump = dump;
        return printed_by([&] { module_.checkUpdate1905Information(); });
    }

    void expect_parsing_model() { parse_json(read_file(kModel)); }
};

std::string agent(const std::string &members) {
    return R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01")" + members + "}";
}

std::string dump_of(const std::string &device) {
    return R"({"topology information": [{"AL MAC": "02:00:00:00:00:01", "Device role": "01"}, )" + device + "]}";
}

TEST_F(BadInputTest, ADumpThatIsNoneLeavesThePreviousFiles) {
    EXPECT_EQ(cycle(fixture("meshes/two_agents/dump.json")), "");
    const std::string model = read_file(kModel);
    const std::string list = read_file(kAssoc5G);
    const std::string whole = fixture("meshes/two_agents/dump.json");
    const std::string bad[] = {"",
                               " ",
                               "\n",
                               "{",
                               "[",
                               "nonsense",
                               std::string("\0\0\0", 3),
                               std::string(100000, '['),
                               std::string("{\"topology information\": ") + std::string(10000, '['),
                               std::string("\xff\xfe\0{", 4)};
    for (const std::string &dump : bad) {
        EXPECT_THAT(cycle(dump), HasSubstr("Update 1905 information Error!!\n"));
        EXPECT_EQ(read_file(kModel), model);
        EXPECT_EQ(read_file(kAssoc5G), list);
    }
    // Cut anywhere: no dump, never half a mesh.
    for (std::size_t size = 1; size + 3 < whole.size(); size += 37) {
        EXPECT_THAT(cycle(whole.substr(0, size)), HasSubstr("Update 1905 information Error!!\n")) << size;
    }
    EXPECT_EQ(read_file(kModel), model);
    EXPECT_EQ(cycle(whole), "");
}

TEST_F(BadInputTest, ADumpThatIsADirectoryOrAnEmptyPipeDoesNotHoldTheCycleUp) {
    ASSERT_EQ(mkdir(kDump, 0755), 0);
    fake::host.dump.reset();
    EXPECT_THAT(printed_by([&] { module_.checkUpdate1905Information(); }), HasSubstr("second chance"));
    rmdir(kDump);
    ASSERT_EQ(mkfifo(kDump, 0600), 0);
    EXPECT_THAT(printed_by([&] { module_.checkUpdate1905Information(); }), HasSubstr("second chance"));
    unlink(kDump);
}

TEST_F(BadInputTest, MembersOfEveryWrongTypeStillMakeAValidModel) {
    const char *kValues[] = {"null", "true",        "7",           "-1.5",        "1e99",
                             "\"\"", "\"x\"",       "[]",          "[null]",      "[[[[]]]]",
                             "{}",   "{\"a\": {}}", "\"\\u0000\"", "\"\\ud800\"", "\"\\\"\\\\\\n\""};
    const char *kMembers[] = {"AL MAC",           "Device role",          "BH Interface(APCLI)",
                              "Number of radios", "Radio Info",           "Other Clients Info",
                              "BH Info",          "backhaul link metrics"};
    for (const char *member : kMembers) {
        for (const char *value : kValues) {
            cycle(dump_of(agent(std::string(", \"") + member + "\": " + value)));
            expect_parsing_model();
        }
    }
    const char *kInner[] = {"channel", "BSSINFO",         "BSSID",  "connected sta info",
                            "BH STA",  "STA MAC address", "Medium", "uplink rssi"};
    for (const char *member : kInner) {
        for (const char *value : kValues) {
            const std::string pair = std::string("\"") + member + "\": " + value;
            cycle(dump_of(agent(R"(, "Number of radios": 1, "Radio Info": [{"channel": "6", )" + pair +
                                R"(, "BSSINFO": [{"BSSID": "1", )" + pair +
                                R"(, "connected sta info": [{"BH STA": "No", )" + pair + "}]}]}]")));
            expect_parsing_model();
        }
    }
}

TEST_F(BadInputTest, TextsOfAHundredThousandCharacters) {
    const std::string text(100000, '7');
    const std::string quoted = "\"" + text + "\"";
    EXPECT_EQ(cycle(dump_of(agent(R"(, "AL MAC": )" + quoted + R"(, "Number of radios": )" + quoted +
                                  R"(, "Radio Info": [{"channel": )" + quoted + R"(, "BSSINFO": [{"BSSID": )" + quoted +
                                  R"(, "connected sta info": [{"BH STA": "No", "STA MAC address": )" + quoted +
                                  R"(, "uplink rssi": )" + quoted + R"(, "Medium": )" + quoted +
                                  "}]}]}], \"BH Info\": [{\"neighbor almac addr\": " + quoted +
                                  ", \"RSSI\": " + quoted + "}]"))),
              "");
    expect_parsing_model();
    EXPECT_EQ(module_.getNetTopolTable()->IEEE1905Device->InterfaceNumberOfEntries, 3);
}

TEST_F(BadInputTest, HostileReportsStillMakeAValidModel) {
    for (const char *name : {"\\u0000", "\\u0001\\u001f", "\\\"}]}", "\\\\", "</script>", "\xff\xfe", "\xed\xa0\x80",
                             "%s%n%n%n", "\\r\\n"}) {
        receive(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": ")" + std::string(name) + R"(", "HostName": ")" + name +
                R"(", "DeviceIP": ")" + name + "\"}");
        EXPECT_EQ(cycle(dump_of(agent(""))), "");
        expect_parsing_model();
    }
}

TEST_F(BadInputTest, ADeepDumpIsNoDump) {
    EXPECT_THAT(cycle(dump_of(agent(", \"x\": " + std::string(10000, '[') + std::string(10000, ']')))),
                HasSubstr("second chance"));
}

TEST_F(BadInputTest, AMeshOfThousandsGoesThrough) {
    std::string devices;
    for (int i = 0; i < 2000; ++i) {
        devices += (i > 0 ? "," : "") +
                   agent(R"(, "Number of radios": 1, "Radio Info": [{"channel": "36", "BSSINFO": [{"BSSID": "1"}]}])");
    }
    EXPECT_EQ(cycle(dump_of(devices)), "");
    expect_parsing_model();
    EXPECT_EQ(module_.getNetTopolTable()->IEEE1905DeviceNumberOfEntries, 2000);
}

}  // namespace
