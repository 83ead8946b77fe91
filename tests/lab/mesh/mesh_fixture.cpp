#include "tests/lab/mesh/mesh_fixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace lab_test {

namespace fs = std::filesystem;
using nlohmann::json;

std::vector<json> remote_devices(const json &model) {
    std::vector<json> devices;
    if (model.is_discarded()) {
        return devices;
    }
    const json topology =
        model.value(json::json_pointer("/Device/X_0A3C5E_IEEE1905/AL/NetworkTopology"), json::object());
    for (const auto &[key, value] : topology.items()) {
        if (key.rfind("IEEE1905Device.", 0) == 0) {
            devices.push_back(value);
        }
    }
    return devices;
}

std::map<std::string, Seen> stations_in(const json &model) {
    std::map<std::string, Seen> stations;
    for (const json &device : remote_devices(model)) {
        for (const auto &[key, value] : device.items()) {
            if (key.rfind("NonIEEE1905Neighbor.", 0) == 0 && value.contains("RATE")) {
                stations[value["NeighborInterfaceId"]] = {value["RATE"], value["RSSI"], device["IEEE1905Id"]};
            }
        }
    }
    return stations;
}

std::map<std::string, std::string> lines_by_mac(const std::string &text) {
    std::map<std::string, std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines[line.substr(0, 17)] = line;
    }
    return lines;
}

json read_scenario(const std::string &name) {
    return json::parse(text_of(QO1905_SOURCE_DIR "/lab/scenarios/" + name + ".json"));
}

std::string MeshTest::write_scenario(const json &scenario) {
    std::ofstream("scenario.json") << scenario;
    return fs::absolute("scenario.json");
}

void MeshTest::expect_nothing_left(const std::string &folder) {
    EXPECT_THAT(processes_of(folder), testing::IsEmpty());
    EXPECT_FALSE(fs::exists(folder));
}

}  // namespace lab_test
