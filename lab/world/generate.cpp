#include "lab/world/generate.h"

#include <array>
#include <random>

namespace lab {
namespace {

constexpr const char *kRooms[] = {"living-room", "kitchen", "bedroom",  "study",   "garage",
                                  "attic",       "cellar",  "workshop", "veranda", "pool-house"};
constexpr const char *kKinds[] = {"phone", "laptop", "tablet", "tv", "camera", "speaker", "printer", "watch"};

std::string hex_byte(std::size_t value) {
    constexpr char kDigits[] = "0123456789abcdef";
    return {kDigits[value / 16 % 16], kDigits[value % 16]};
}

// `kind` is the second byte.
std::string make_mac(const char *kind, std::size_t high, std::size_t middle, std::size_t low) {
    return std::string("02:") + kind + ":00:" + hex_byte(high) + ':' + hex_byte(middle) + ':' + hex_byte(low);
}

std::string make_ip(std::size_t net, std::size_t index) {
    return "10." + std::to_string(net) + '.' + std::to_string(index / 250) + '.' + std::to_string(1 + index % 250);
}

class Generator {
public:
    explicit Generator(const Plan &plan) : plan_(plan), random_(plan.seed) {}

    Scenario generate() {
        Scenario scenario;
        scenario.seed = plan_.seed;
        scenario.pace = plan_.pace;
        for (std::size_t i = 0; i <= plan_.agents; ++i) {
            scenario.devices.push_back(device(i));
        }
        for (std::size_t i = 0; i < plan_.stations; ++i) {
            scenario.stations.push_back(station(i));
        }
        return scenario;
    }

private:
    std::size_t draw(std::size_t most) { return static_cast<std::size_t>(random_() % most); }
    int draw_signal() { return -40 - static_cast<int>(draw(40)); }

    std::string device_name(std::size_t index) const {
        constexpr std::size_t kRoomCount = std::size(kRooms);
        if (index == 0) {
            return "gateway";
        }
        return plan_.agents <= kRoomCount ? kRooms[index - 1] : "agent-" + std::to_string(index);
    }

    DeviceAtStart device(std::size_t index) {
        DeviceAtStart device;
        device.name = device_name(index);
        device.role = index == 0 ? Role::kController : Role::kAgent;
        device.al_mac = device.base_mac = make_mac("d0", 0, index, 1);
        device.uplink_mac = make_mac("d0", 0, index, 0x0c);
        device.firmware_version = "2.4." + std::to_string(index % 3);
        device.host_name = device.name;
        device.ip = device.lease_ip = make_ip(0, index);
        device.radios = {radio(6, "ra", index, 6), radio(149, "rai", index, 0x95)};
        for (std::size_t i = draw(3); i > 0; --i) {
            device.wired_clients.push_back(make_mac("e7", 0, index, i));
        }
        device.has_backhaul = index != 0;
        if (device.has_backhaul) {
            device.backhaul = backhaul(index);
        }
        return device;
    }

    static Radio radio(int channel, const std::string &prefix, std::size_t device, std::size_t byte) {
        return {channel,
                {{prefix + "0", 0, make_mac("b0", device, byte, 0), false},
                 {prefix + "1", 1, make_mac("b0", device, byte, 1), true}}};
    }

    // Every fourth link is a cable, every fifth of the others on 2.4 GHz.
    Backhaul backhaul(std::size_t index) {
        const std::size_t upper = plan_.shape == Shape::kStar    ? 0
                                  : plan_.shape == Shape::kChain ? index - 1
                                                                 : draw(index);
        if (draw(4) == 0) {
            return {upper, Medium::kEthernet, 0, 1000};
        }
        const int signal = draw_signal();
        return draw(5) == 0 ? Backhaul{upper, Medium::k2_4GHz, signal, 200 + signal}
                            : Backhaul{upper, Medium::k5GHz, signal, 1500 + 8 * signal};
    }

    StationAtStart station(std::size_t index) {
        StationAtStart station;
        const std::string kind = kKinds[draw(std::size(kKinds))];
        station.mac = make_mac("57", 0, index / 256, index % 256);
        station.device = draw(plan_.agents + 1);
        station.band = draw(3) == 0 ? Band::k2_4GHz : Band::k5GHz;
        station.signal = draw_signal();
        station.rate = station.band == Band::k2_4GHz ? 170 + station.signal : 1200 + 8 * station.signal;
        station.host_name = kind + '-' + std::to_string(index + 1);
        station.ip = make_ip(1, index);
        return station;
    }

    Plan plan_;
    std::mt19937_64 random_;
};

}  // namespace

Scenario generate(const Plan &plan) { return Generator(plan).generate(); }

}  // namespace lab
