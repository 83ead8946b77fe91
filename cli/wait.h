// Waiting until a mesh is as somebody wants it.
#pragma once

#include <cstddef>
#include <string>

#include "reader/snapshot.h"
#include "reader/source.h"

namespace cli {

// "station=NAME", "station=NAME@DEVICE", "device=NAME", "devices=N"; names may be MACs and addresses.
struct Wanted {
    std::string station;
    std::string device;
    std::size_t devices = 0;
};

// What is wrong with the words; empty when nothing is.
std::string read_wanted(const std::string &words, Wanted &wanted);

bool is_fulfilled(const reader::Snapshot &snapshot, const Wanted &wanted);

// How a wait ended, and why the source could not be read the last time, if it could not.
struct Waited {
    bool is_fulfilled;
    std::string problem;
};

// Until it is so or the time is up. A source that is gone for a while is asked again.
Waited wait_until(reader::Source &source, const Wanted &wanted, double seconds);

}  // namespace cli
