#include "lab/mesh/clock.h"

namespace lab {

void Clock::tick(std::size_t device, unsigned cycle) {
    const bool idle = devices_.is_idle(device);
    owed_[device] = idle ? 0 : cycle;
    if (idle) {
        devices_.tick(device, cycle);
    }
}

void Clock::begin_cycle() {
    behind_ = all_done() ? 0 : behind_ + 1;
    ++cycle_;
    devices_.begin_cycle();
    const auto controller = devices_.controller();
    if (controller_waits_ && controller) {  // an Agent hangs
        tick(*controller, cycle_ - 1);
    }
    for (std::size_t i = 0; i < owed_.size(); ++i) {
        if (controller != i) {
            tick(i, cycle_);
        }
    }
    controller_waits_ = controller.has_value();
    tick_controller();
}

void Clock::look() {
    for (std::size_t i = 0; i < owed_.size(); ++i) {
        if (owed_[i] != 0 && devices_.is_idle(i)) {
            tick(i, owed_[i]);
        }
    }
    tick_controller();
}

// A Controller takes over what has been reported since its last cycle, and nothing older. If all devices went at the
// same moment it would be chance which Agents are in time; in the field they do not.
void Clock::tick_controller() {
    if (!controller_waits_) {
        return;
    }
    const auto controller = devices_.controller();
    for (std::size_t i = 0; i < owed_.size(); ++i) {
        if (controller != i && !devices_.is_idle(i)) {
            return;
        }
    }
    controller_waits_ = false;
    if (controller) {
        tick(*controller, cycle_);
    }
}

bool Clock::all_done() const {
    for (std::size_t i = 0; i < owed_.size(); ++i) {
        if (owed_[i] != 0 || !devices_.is_idle(i)) {
            return false;
        }
    }
    return !controller_waits_;
}

}  // namespace lab
