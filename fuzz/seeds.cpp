// Writes seeds for every fuzz target: what the lab's generated meshes would send a gateway, and inputs that are made to
// cost.
//
//     seeds FOLDER      makes FOLDER/dump, FOLDER/payload and so on
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "lab/world/generate.h"
#include "lab/world/views.h"
#include "tests/support/hostile_shapes.h"

namespace {

namespace fs = std::filesystem;

class Seeds {
public:
    explicit Seeds(fs::path folder) : folder_(std::move(folder)) {}

    void add(const char *target, const std::string &bytes) {
        fs::create_directories(folder_ / target);
        std::ofstream(folder_ / target / ("seed-" + std::to_string(count_++)), std::ios::binary) << bytes;
    }

private:
    fs::path folder_;
    unsigned count_ = 0;
};

// What an Agent reports of itself and its stations.
std::string report(const nlohmann::ordered_json &device) {
    nlohmann::ordered_json stations = nlohmann::ordered_json::array();
    const auto interfaces = device.value("stations", nlohmann::ordered_json::object());
    for (const auto &list : interfaces) {
        for (const auto &station : list) {
            stations.push_back({{"STAMac", station.at("mac")}, {"PhyRate", station.at("rate")}});
        }
    }
    return nlohmann::ordered_json{{"SrcAlMac", device.at("base_mac")},
                                  {"FWVersion", device.at("firmware_version")},
                                  {"HostName", device.at("host_name")},
                                  {"DeviceIP", device.at("ip")},
                                  {"STAInfo", stations}}
        .dump();
}

// As the multi-AP daemon hands it over: number 6, length with the protocol byte, protocol 1.
std::string event(const std::string &payload) {
    std::string bytes{6, 0, 0, 0};
    const auto length = static_cast<std::uint32_t>(payload.size() + 1);
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(length >> shift & 0xffU);
    }
    return bytes + '\1' + payload;
}

// The texts of the target `send`, each ended by a byte 0xff.
std::string own_texts(const nlohmann::ordered_json &device) {
    std::string bytes;
    for (const char *key : {"firmware_version", "host_name", "ip"}) {
        bytes += device.at(key).get<std::string>() + '\xff';
    }
    return bytes;
}

void add_mesh(Seeds &seeds, const lab::Plan &plan) {
    lab::World world(lab::generate(plan));
    for (int i = 0; i < 5; ++i) {
        (void)world.step();
    }
    seeds.add("dump", lab::topology_dump(world, 0));
    seeds.add("leases", lab::leases(world));
    const auto agent = lab::device_description(world, world.size() - 1);
    seeds.add("payload", '1' + report(agent));
    seeds.add("event", event(report(agent)));
    seeds.add("send", own_texts(agent));
    seeds.add("reader", '\xff' + lab::topology_dump(world, 0) + '\xff' + lab::leases(world));
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: seeds FOLDER\n";
        return 2;
    }
    Seeds seeds(argv[1]);
    for (const lab::Shape shape : {lab::Shape::kStar, lab::Shape::kChain, lab::Shape::kTree}) {
        for (const std::size_t agents : {1U, 3U, 12U}) {
            add_mesh(seeds, {agents, agents * 8, shape, 1905 + agents, {}});
        }
    }
    for (const hostile::Shape &shape : hostile::shapes()) {
        for (const std::size_t bytes : {500U, 20000U}) {
            const hostile::Input input = shape.make(bytes);
            seeds.add("dump", input.dump);
            if (!input.command.empty()) {
                seeds.add("payload", '2' + input.command);
            }
        }
    }
    for (const char *interface : {"ra0", "rai0"}) {
        const std::string command =
            std::string(R"({"SrcAlMac": "02:c0:00:00:00:01", "Interface": ")") + interface +
            R"(", "Enable": "false", "FilterMode": 1, "FilterLists": "02-57-00-00-00-01,02:57:00:00:00:02"})";
        seeds.add("payload", '2' + command);
        seeds.add("event", event(command));
    }
    return 0;
}
