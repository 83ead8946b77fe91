// The change log file.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "tests/support/module_test.h"

using testing::HasSubstr;

namespace {

class ChangeLogTest : public ModuleTest {
protected:
    std::string written() const {
        EXPECT_EQ(module_.writeJsonqo1905log(), 0);
        return read_file(kChangeLog);
    }
    qo1905_network_topology &network() const { return *module_.getNetTopolTable(); }
};

TEST_F(ChangeLogTest, WithoutEntriesFourLinesAndTheBrace) {
    build("");
    EXPECT_EQ(written(),
              "{\n\t\"MaxChangeLogEntries\": 0,\n\t\"LastChange\": \"ChangeLog.0\",\n"
              "\t\"IEEE1905DeviceNumberOfEntries\": 0,\n\t\"ChangeLogNumberOfEntries\": 0\n}\n");
}

TEST_F(ChangeLogTest, EventType2IsEmptyAndNeighborType2IsUnknown) {
    build("");
    network().ChangeLogNumberOfEntries = 1;
    network().ChangeLog[0].EventType = 2;
    network().ChangeLog[0].NeighborType = 2;
    EXPECT_THAT(written(), HasSubstr("\t\t\"EventType\": \"\",\n"));
    EXPECT_THAT(written(), HasSubstr("\t\t\"NeighborType\": \"Unknown\",\n"));
}

TEST_F(ChangeLogTest, ALastChangeOfMinusOnePrintsSo) {
    build("");
    network().LastChange = -1;
    EXPECT_THAT(written(), HasSubstr("\t\"LastChange\": \"ChangeLog.-1\",\n"));
    network().LastChange = -32768;
    network().MaxChangeLogEntries = 65535;
    EXPECT_THAT(written(), HasSubstr("\t\"MaxChangeLogEntries\": 65535,\n\t\"LastChange\": \"ChangeLog.-32768\",\n"));
}

TEST_F(ChangeLogTest, EntriesArePrintedInArrayOrderBeyondTheMaximum) {
    build("");
    network().MaxChangeLogEntries = 1;
    network().ChangeLogNumberOfEntries = 3;
    for (uint8_t i = 0; i < 3; ++i) {
        network().ChangeLog[i].NeighborId[5] = i;
    }
    const std::string text = written();
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(object_text(text, "ChangeLog." + std::to_string(i + 1)),
                    HasSubstr("\"NeighborId\": \"00:00:00:00:00:0" + std::to_string(i) + "\"\n"));
    }
}

TEST_F(ChangeLogTest, WithoutATableTwoBracesAndNoMessage) {
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(written(), "{\n\n}\n"); }), "");
}

TEST_F(ChangeLogTest, ACountBeyondTheArrayReadsNothingBeyondIt) {
    build("");
    network().ChangeLogNumberOfEntries = 65535;
    const std::string text = written();
    EXPECT_THAT(text, HasSubstr("\"ChangeLogNumberOfEntries\": 65535,\n"));
    EXPECT_NE(object_text(text, "ChangeLog.256"), "");
    EXPECT_EQ(object_text(text, "ChangeLog.257"), "");
}

// Beyond 2038 where the C library gets there: with 32 bits it is 2^32 seconds behind.
TEST_F(ChangeLogTest, TimesAreLocalAndReachAsFarAsTheCLibrarysDo) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    build("");
    network().ChangeLogNumberOfEntries = 2;
    network().ChangeLog[0].TimeStamp = 1772694249;   // 2026-03-05 07:04:09 UTC
    network().ChangeLog[1].TimeStamp = 4102444800U;  // 2100-01-01 00:00:00 UTC
    const std::string text = written();
    EXPECT_THAT(text, HasSubstr("\t\t\"TimeStamp\": \"2026-03-05T08:04:09\",\n"));
    const char *beyond = sizeof(std::time_t) > 4 ? "2100-01-01T01:00:00" : "1963-11-25T18:31:44";
    EXPECT_THAT(text, HasSubstr("\t\t\"TimeStamp\": \"" + std::string(beyond) + "\",\n"));
}

TEST_F(ChangeLogTest, AFileThatCannotBeOpenedIsSkippedSilently) {
    build("");
    ASSERT_EQ(mkdir(kChangeLog, 0755), 0);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.writeJsonqo1905log(), 0); }), "");
    rmdir(kChangeLog);
}

}  // namespace
