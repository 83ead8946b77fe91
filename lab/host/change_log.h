// Fills the change log of the module's table, which the module itself leaves to its host: compares each table with the
// one before. What a gateway's host needs for that is all in the public header.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <tuple>
#include <vector>

#include "qo1905.h"

namespace lab {

class ChangeLog {
public:
    // After every cycle, on the timer thread: puts what has changed since the table before into `network`, with all
    // that is still kept of earlier changes, as each build empties the log. The first table is what others are compared
    // with. The newest 256 changes are kept; LastChange is the number of the newest, which after 256 begins at 1 again.
    void update(qo1905_network_topology &network, std::uint32_t now);

private:
    using Mac = std::array<std::uint8_t, 6>;

    // A neighbour as one interface of one device has it.
    struct Neighbour {
        Mac device;
        Mac interface;
        std::uint32_t type;  // 0 IEEE1905, 1 Non-IEEE1905
        Mac id;
        bool operator<(const Neighbour &other) const {
            return std::tie(device, interface, type, id) <
                   std::tie(other.device, other.interface, other.type, other.id);
        }
    };

    // All that a table tells.
    struct Neighbourhood {
        std::set<Mac> devices;
        std::set<Neighbour> neighbours;
    };

    static Mac mac_of(const std::uint8_t (&bytes)[6]);
    static Neighbourhood read(const qo1905_network_topology &network);
    static void read(const qo1905_device &device, Neighbourhood &neighbourhood);
    void compare(const Neighbourhood &now, std::uint32_t time);
    void add(const Neighbour &neighbour, std::uint32_t event, std::uint32_t time);

    std::optional<Neighbourhood> before_;
    std::vector<qo1905_change_log_entry> entries_;  // at their places
    std::size_t last_ = 0;                          // number of the newest, from 1 on; 0 before the first
};

}  // namespace lab
