// What is said of dumps before the module sees them.
#include "lab/replay/dump_file.h"

#include <gmock/gmock.h>

using lab::look_at_dump;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

std::string device(const std::string &members) { return R"({"AL MAC": "02:c0:00:00:00:01", )" + members + '}'; }

std::string dump_with(const std::string &entries) { return R"({"topology information": [)" + entries + "]}"; }

const std::string kController = device(R"("Device role": "01")");

TEST(DumpFile, ThatIsNoneIsExplained) {
    const struct {
        std::string bytes;
        const char *obstacle;
    } cases[] = {
        {"", "is empty"},
        {" \r\n\t", "is empty"},
        {"\x1f\x8b\x08 and more", "is compressed by gzip; unpacked it can be replayed: zcat FILE | ./dev run --dump -"},
        {"\xfd"
         "7zXZ and more",
         "is compressed by xz"},
        {"BZh91AY", "is compressed by bzip2"},
        {"PK\x03\x04 and more", "is a zip archive"},
        {std::string("\xff\xfe{\0}\0", 6), "is UTF-16, the daemon writes UTF-8: iconv -f UTF-16 -t UTF-8 FILE"},
        {std::string("\xfe\xff\0{\0}", 6), "is UTF-16"},
        {"\xef\xbb\xbf" + dump_with(kController), "begins with a byte order mark"},
        {std::string("{\0}\0", 4), "is no text: it holds zero bytes"},
        {"hello", "cannot be read beyond line 1: no JSON: "},
        {"{\n\"topology information\": [\n{\"AL MAC\": \"02:c0", "line 3: no JSON: it ends there, in the middle: "},
        {"[]", "is JSON, but no topology dump: array where an object with \"topology information\" has to be"},
        {"17", "is JSON, but no topology dump: number where"},
        {"{}", "is JSON, but no topology dump: it has no \"topology information\""},
        {R"({"Topology Information": []})",
         "it has no \"topology information\", but \"Topology Information\", which is not the same"},
        {R"({"topology information": 5})", "\"topology information\" has to be an array, and is number"},
        {R"({"topology information": null})", "\"topology information\" has to be an array, and is null"},
        {dump_with(device(R"("Device role": "02")")), "holds Agents only (1)"},
        {dump_with(device(R"("Device role": "")") + "," + device(R"("Device role": "0")")), "holds Agents only (2)"},
    };
    for (const auto &item : cases) {
        EXPECT_THAT(look_at_dump(item.bytes).obstacle, HasSubstr(item.obstacle)) << item.bytes;
    }
    EXPECT_EQ(look_at_dump(dump_with(kController)).obstacle, "");
    EXPECT_EQ(look_at_dump(dump_with("")).obstacle, "");
}

TEST(DumpFile, TellsWhatItHolds) {
    const std::string agent = device(
        R"("Device role": "02", "Radio Info": [{"BSSINFO": [{"BSSID": "02:0a:00:00:06:00", "connected sta info": [)"
        R"({"STA MAC address": "02:57:00:00:00:01", "BH STA": "No"}, {"STA MAC address": "02:57:00:00:00:02", "BH STA": "Yes"}]}]}])");
    EXPECT_EQ(lab::dump_contents(look_at_dump(dump_with(kController + "," + agent))), "2 devices, 1 Agent, 1 station");
    EXPECT_EQ(lab::dump_contents(look_at_dump(dump_with(""))), "0 devices, 0 Agents, 0 stations");
}

TEST(DumpFile, OddThingsAreTold) {
    const struct {
        std::string entries;
        const char *oddity;
    } cases[] = {
        {"7", "device 0: is number and no object"},
        {R"({"Device role": "01"})", "device 0: AL MAC \"\" is no MAC: the module reads zeros or a part of it"},
        {R"({"AL MAC": "ff:ff:ff:ff:ff:ff", "Device role": "01"})",
         "device 0: AL MAC ff:ff:ff:ff:ff:ff is no single device's"},
        {kController + "," + kController, "device 1: AL MAC 02:c0:00:00:00:01 is another device's, too"},
        {device(R"("Device role": "3")"), "device 0: role \"3\" is neither 01, Controller, nor 02, Agent"},
        {device(R"("Device role": "01", "Number of radios": 2, "Radio Info": [])"),
         "device 0: \"Number of radios\" is 2, \"Radio Info\" has 0; the module looks at as many as both have"},
        {device(R"("Device role": "01", "Number of radios": "1", "Radio Info": [{"BSSINFO": [{}]}])"),
         "device 0: a BSS without BSSID: the module does not read the rest of this device"},
        {device(R"("Device role": "01", "Number of radios": 1, "Radio Info": [{"BSSINFO": [{"BSSID": "x", )"
                R"("connected sta info": [{"STA MAC address": "00:00:00:00:00:00"}]}]}])"),
         "device 0: station 00:00:00:00:00:00 is no single device's"},
        {R"({"AL MAC": "02:c0:00:00:00:01", "Device role": "02", "Device role": "01"})",
         "the key \"Device role\" is twice in one object; the last one counts"},
    };
    for (const auto &item : cases) {
        EXPECT_THAT(look_at_dump(dump_with(item.entries)).oddities, ElementsAre(item.oddity)) << item.entries;
    }
    const std::string station = R"({"STA MAC address": "02:57:00:00:00:01"})";
    EXPECT_THAT(
        look_at_dump(dump_with(device(
                         R"("Device role": "01", "Number of radios": 1, "Radio Info": [{"BSSINFO": [{"BSSID": "x", )"
                         R"("connected sta info": [)" +
                         station + "," + station + "]}]}]")))
            .oddities,
        ElementsAre("device 0: station 02:57:00:00:00:01 is there twice"));
    EXPECT_THAT(look_at_dump(dump_with(kController)).oddities, IsEmpty());
}

// Ten thousand brackets, strange types at every place: words, never a fault.
TEST(DumpFile, NothingInItIsTrusted) {
    (void)look_at_dump(std::string(10000, '['));
    (void)look_at_dump(std::string(10000, '[') + std::string(10000, ']'));
    for (const char *value :
         {"null", "1", "\"x\"", "[]", "{}", "[null]", "[[]]", "[{}]", "\"\\ud800\"", "-1e999", "\"\xff\""}) {
        for (const char *key :
             {"AL MAC", "Device role", "Number of radios", "Radio Info", "BH Interface(APCLI)", "Device name"}) {
            (void)look_at_dump(dump_with("{\"" + std::string(key) + "\": " + value + '}'));
        }
        (void)look_at_dump(
            dump_with(device(std::string(R"("Radio Info": [{"BSSINFO": [{"connected sta info": )") + value + "}]}]")));
    }
    EXPECT_THAT(look_at_dump("{\"a\nb\": 1, \"a\nb\": 2}").obstacle,
                StartsWith("cannot be read beyond line 2: no JSON"));
}

}  // namespace
