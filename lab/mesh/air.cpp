#include "lab/mesh/air.h"

#include <numeric>

#include "lab/world/views.h"

namespace lab {

unsigned long Traffic::lost_in_all() const { return std::accumulate(lost.begin(), lost.end(), 0UL); }

void Air::transmit(std::size_t from, const std::string &al_mac, const std::string &payload) {
    ++traffic_[from].sent;
    const auto to = world_.find_al_mac(al_mac);
    if (payload.size() > kMaxMessage) {
        lose(from, Loss::kTooLong);
    } else if (!to) {
        lose(from, Loss::kUnknown);
    } else if (!world_.reaches(from, *to)) {
        lose(from, Loss::kOutOfReach);
    } else if (!deliver_(*to, payload)) {
        lose(from, Loss::kNoListener);
    }
}

void Air::delivered(std::size_t device, bool arrived) {
    if (arrived) {
        ++traffic_[device].received;
    } else {
        lose(device, Loss::kNoListener);  // whoever sent it believed that it had arrived
    }
}

unsigned long Air::lost(Loss reason) const {
    return std::accumulate(traffic_.begin(), traffic_.end(), 0UL, [=](unsigned long sum, const Traffic &traffic) {
        return sum + traffic.lost[static_cast<std::size_t>(reason)];
    });
}

}  // namespace lab
