// Waiting for what comes next: a file written anew, a signal, a terminal that has changed its size.
#pragma once

#include <chrono>
#include <csignal>
#include <string>

#include "reader/changes.h"

namespace cli {

// While one exists, signals that end or pause a program, or are about its terminal, end a wait instead.
class Follower {
public:
    // Asks an address every `pause`; a file is watched, and looked at that often while it cannot be.
    Follower(const reader::Source &source, std::chrono::milliseconds pause);
    ~Follower();
    Follower(const Follower &) = delete;
    Follower &operator=(const Follower &) = delete;

    enum class Wake { kLook, kTimeIsUp, kDraw, kPause, kEnd };

    // Until there may be something new, which has then come to rest, or until `at_most` is over.
    Wake wait(std::chrono::steady_clock::time_point until);

    // The signal that said kEnd.
    int signal() const { return signal_; }

private:
    Wake read_signal();
    bool has_come_back();

    reader::Changes changes_;
    std::chrono::milliseconds pause_;
    sigset_t before_ = {};
    int watched_ = -1;
    int signals_ = -1;
    int signal_ = 0;
};

// Stops until somebody continues the program, as Ctrl-Z does.
void pause_here();

// Ends the program as the signal would have, so that a shell sees what happened.
[[noreturn]] void die_of(int signal);

}  // namespace cli
