// Lease lines are read by hand where they have the form that nearly all have. Whatever the form, the result is the C
// library's, which is asked here for thousands of lines that are nearly of that form.
#include <cstdio>
#include <cstring>
#include <random>

#include "tests/support/module_test.h"

namespace {

using LeasesTest = ModuleTest;

std::string choose(std::mt19937 &random, const std::vector<std::string> &texts) {
    return texts[random() % texts.size()];
}

const std::vector<std::string> kMacs = {"02:0a:00:00:00:01",
                                        "02:0a:00:00:00:02",
                                        "02:0A:00:00:00:01",
                                        "2:a:0:0:0:1",
                                        "02:0a:00:00:00",
                                        "02:0a:00:00:00:1",
                                        "02-0a-00-00-00-01",
                                        "02:0a:00:00:00:011",
                                        "02:0a:00:00:00:zz",
                                        "",
                                        "x",
                                        " 02:0a:00:00:00:02"};

std::string draw_line(std::mt19937 &random) {
    const std::vector<std::string> blanks = {" ", " ", " ", " ", "  ", "\t", ""};
    return choose(random, {"1795262400", "0", "-1", "+7", "x", "", " 12", "99999999999999999999", "duid",
                           std::string(480 + random() % 60, '0')}) +
           choose(random, blanks) + choose(random, kMacs) + choose(random, blanks) +
           choose(random, {"10.0.0.1", "10.0.0.2", "10.0.0.3", "", "fe80::1", "a\tb", std::string("1\0002", 3),
                           std::string("1\0012", 3), std::string(300, '7'), std::string(random() % 1100, '8')}) +
           choose(random, blanks) + choose(random, {"name", "*", ""}) + choose(random, blanks) +
           choose(random, {"01:02", "*", "", "\r"}) + choose(random, {"\n", "\n", "\n", "\n\n", ""});
}

// The address that the file gives a device; empty when none.
std::string leased(const std::string &text, const uint8_t (&al_mac)[6]) {
    write_file("leases.txt", text);
    std::FILE *file = std::fopen("leases.txt", "r");
    uint8_t mac[6] = {};
    char address[512] = {};
    char line[512];
    std::string found;
    while (found.empty() && std::fgets(line, sizeof(line), file) != nullptr) {
        (void)std::sscanf(line, "%*u %hhx:%hhx:%hhx:%hhx:%hhx:%hhx %511[^ ] %*[^ ] %*[^ ] %*[^ ]\n", &mac[0], &mac[1],
                          &mac[2], &mac[3], &mac[4], &mac[5], address);
        if (std::memcmp(mac, al_mac, sizeof(mac)) == 0) {
            found = address[0] == '\0' ? "(empty)" : std::string(address).substr(0, 128);
        }
    }
    (void)std::fclose(file);
    return found;
}

TEST_F(LeasesTest, AreReadAsTheCLibraryReadsThem) {
    std::mt19937 random(1905);
    const std::string device = R"({"Device role": "02", "AL MAC": ")";
    for (int round = 0; round < 400; ++round) {
        std::string text;
        // Now and then more than is read at once.
        for (auto lines = random() % (round % 8 == 0 ? 200 : 8); lines > 0; --lines) {
            text += draw_line(random);
        }
        write_file(kLeases, text);
        const auto devices = build(device + "02:0a:00:00:00:01\"}, " + device + "02:0a:00:00:00:02\"}, " + device +
                                   "02:0a:00:00:00:01\"}");
        ASSERT_EQ(devices.size(), 3U);
        for (const qo1905_device *built : devices) {
            const std::string expected = leased(text, built->IEEE1905Id);
            const auto &field = built->Info.DeviceIP;
            const std::string address(field, strnlen(field, sizeof(field)));
            ASSERT_EQ(address, expected == "(empty)" ? "" : expected) << visible(text);
        }
    }
}

// fgets cuts a line at 511 bytes: what stands behind the cut is a line of its own.
TEST_F(LeasesTest, ALineIsReadUpToItsCut) {
    for (std::size_t padding = 480; padding < 530; ++padding) {
        const std::string text =
            "7 02:0a:00:00:00:01 10.0.0.1 h c\n" + std::string(padding, '0') + " 02:0a:00:00:00:02 10.0.0.2 host *\n";
        write_file(kLeases, text);
        const auto devices = build(R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:01"},)"
                                   R"({"Device role": "02", "AL MAC": "02:0a:00:00:00:02"})");
        for (const qo1905_device *device : devices) {
            const std::string expected = leased(text, device->IEEE1905Id);
            ASSERT_EQ(device->Info.DeviceIP, expected == "(empty)" ? "" : expected) << padding;
        }
    }
}

}  // namespace
