// When devices get to know that a cycle passes: the world takes its step, then come the Agents, then the Controller
// when they have reported. Knows neither time nor processes: whoever owns it says when a cycle is to begin, and when a
// device may have become idle.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace lab {

// So many cycles in a row begun too early are no accident.
inline constexpr unsigned kNoticeablyBehind = 3;

// The devices, as the clock sees them.
class ClockedDevices {
public:
    virtual ~ClockedDevices() = default;
    virtual std::size_t count() const = 0;
    virtual std::optional<std::size_t> controller() const = 0;
    virtual bool is_idle(std::size_t device) const = 0;  // in no cycle; so is one that is down
    virtual void begin_cycle() = 0;                      // the world takes its step
    virtual void tick(std::size_t device, unsigned cycle) = 0;
};

class Clock {
public:
    // `cycles`: how many there are; 0 for ever.
    Clock(ClockedDevices &devices, unsigned cycles) : devices_(devices), cycles_(cycles), owed_(devices.count(), 0) {}

    // The next cycle begins, whoever is still in the last. A device that is gets it right after that one; of several
    // that passed meanwhile only the latest.
    void begin_cycle();

    // A device may have become idle, ended or changed its role.
    void look();

    unsigned cycle() const { return cycle_; }
    bool is_last() const { return cycles_ != 0 && cycle_ >= cycles_; }

    // Every device has done all that passed.
    bool all_done() const;

    // How many cycles in a row have begun before the one before them was done.
    unsigned behind() const { return behind_; }

private:
    void tick(std::size_t device, unsigned cycle);
    void tick_controller();

    ClockedDevices &devices_;
    unsigned cycles_;
    unsigned cycle_ = 0;
    unsigned behind_ = 0;
    bool controller_waits_ = false;  // for its Agents to have done the cycle
    std::vector<unsigned> owed_;     // a cycle by device; 0: none
};

}  // namespace lab
