// What is between the devices: carries a message to the device with that address, or loses it and counts why.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "lab/world/world.h"

namespace lab {

// Why a message did not arrive.
enum class Loss { kTooLong, kUnknown, kOutOfReach, kNoListener };
inline constexpr std::size_t kLosses = 4;

// Of one device.
struct Traffic {
    unsigned long sent = 0;
    unsigned long received = 0;
    std::array<unsigned long, kLosses> lost = {};  // by reason; of those sent, but for kNoListener

    unsigned long lost_in_all() const;
};

class Air {
public:
    // Hands a message to the module of a device, now or later; false when nobody listens there.
    using Deliver = std::function<bool(std::size_t device, const std::string &payload)>;

    Air(const World &world, Deliver deliver) : world_(world), deliver_(std::move(deliver)), traffic_(world.size()) {}

    // A module has sent it.
    void transmit(std::size_t from, const std::string &al_mac, const std::string &payload);

    // What was handed over has been taken, or not.
    void delivered(std::size_t device, bool arrived);

    const Traffic &traffic(std::size_t device) const { return traffic_[device]; }
    unsigned long lost(Loss reason) const;  // of all devices

private:
    void lose(std::size_t device, Loss reason) { ++traffic_[device].lost[static_cast<std::size_t>(reason)]; }

    const World &world_;
    Deliver deliver_;
    std::vector<Traffic> traffic_;
};

}  // namespace lab
