// The host's timer service: one registered event, called on a thread of its own.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

struct qo1905_event;

namespace lab {

// Blocks the calling thread, which becomes the timer thread: waits for the first delay, then calls the handler of the
// registered event every interval, as often as `cycles` says (0: for ever), and `after_cycle` after each call. A
// handler that takes longer than the interval delays the next call; calls are never made up for.
void run_timer(std::chrono::duration<double> unit, unsigned cycles, const std::function<void(unsigned)> &after_cycle);

// The event that was registered with lanmon_timer_event_add; null before.
const qo1905_event *registered_event();

}  // namespace lab
