// The example of a host that reads the table does what it says.
#include <cstdio>

#include "tests/support/module_test.h"

extern "C" void print_stations(FILE *out);

// The example calls the accessor by its name, as a host does that the module is loaded into.
qo1905_network_topology *getNetTopolTable() { return module().getNetTopolTable(); }

namespace {

using ReadTableTest = ModuleTest;

TEST_F(ReadTableTest, PrintsEveryStationOfEveryDevice) {
    build(
        R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02", "Number of radios": 1, "Radio Info": [{"channel": "36",
            "BSSINFO": [{"BSSID": "02:0b:00:00:00:01", "connected sta info": [
            {"STA MAC address": "02:57:00:00:00:0a", "BH STA": "No", "uplink rssi": "-61"}]}]}]})");
    EXPECT_EQ(printed_by([] { print_stations(stdout); }), "Unknown:\n  02:57:00:00:00:0a -61 dBm\n");
}

TEST_F(ReadTableTest, PrintsNothingWithoutATable) {
    EXPECT_EQ(printed_by([] { print_stations(stdout); }), "");
}

}  // namespace
