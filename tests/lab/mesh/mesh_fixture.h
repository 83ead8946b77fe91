// What the tests of whole meshes share: scenarios, and what the files of a device say, read by the tests' own code.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/lab/mesh/lab_process.h"

namespace lab_test {

// Stations of the scenario "home".
inline constexpr char kTv[] = "02:57:00:00:00:14";
inline constexpr char kPhoneBen[] = "02:57:00:00:00:15";
inline constexpr char kTablet[] = "02:57:00:00:00:16";
inline constexpr char kWeather[] = "02:57:00:00:00:22";
inline constexpr char kLaptopBen[] = "02:57:00:00:00:23";
inline constexpr char kPhoneAnna[] = "02:57:00:00:00:24";

struct Seen {
    int rate;
    int signal;
    std::string device;  // AL MAC
};

// The objects of the remote devices in a data model, in its order; none of one that is discarded.
std::vector<nlohmann::json> remote_devices(const nlohmann::json &model);

// The Wi-Fi stations of a data model by MAC.
std::map<std::string, Seen> stations_in(const nlohmann::json &model);

// The lines of an association list by MAC.
std::map<std::string, std::string> lines_by_mac(const std::string &text);

// One of the lab's own.
nlohmann::json read_scenario(const std::string &name);

class MeshTest : public InOwnFolder {
protected:
    // In the test's own folder; gives the path.
    static std::string write_scenario(const nlohmann::json &scenario);

    // Neither a process nor the folder of a lab that has ended.
    static void expect_nothing_left(const std::string &folder);
};

}  // namespace lab_test
