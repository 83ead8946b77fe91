#include "lab/host/timer.h"

#include <atomic>
#include <thread>

#include "module/platform/lanmon.h"

int log_level = 0;

namespace {

std::atomic<qo1905_event *> registered{nullptr};
constexpr int32_t kEventId = 1;

}  // namespace

extern "C" void lanmon_timer_event_add(qo1905_event *event) {
    event->event_id = kEventId;
    registered = event;
}

namespace lab {

const qo1905_event *registered_event() { return registered; }

void run_timer(std::chrono::duration<double> unit, unsigned cycles, const std::function<void(unsigned)> &after_cycle) {
    using Clock = std::chrono::steady_clock;
    const qo1905_event &entry = *registered_event();
    const auto units = [unit](std::uint32_t count) {
        return std::chrono::duration_cast<Clock::duration>(unit * static_cast<double>(count));
    };
    auto next = Clock::now() + units(entry.first_delay);
    for (unsigned cycle = 1; cycles == 0 || cycle <= cycles; ++cycle) {
        std::this_thread::sleep_until(next);
        entry.handler();
        after_cycle(cycle);
        next = std::max(next + units(entry.interval), Clock::now());
    }
}

}  // namespace lab
