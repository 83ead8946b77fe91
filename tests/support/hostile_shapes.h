// Inputs that are made to cost: each shape fills a given number of bytes with what makes one list be walked inside
// another, or much be made of little. For the tests that hold the module to its bounds and the benchmark that measures
// them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace hostile {

// What reaches a gateway.
struct Input {
    std::string dump;
    std::vector<std::string> reports;  // on a Controller
    std::string leases;
    std::string command;  // on an Agent; empty: none
};

struct Shape {
    const char *name;
    std::function<Input(std::size_t bytes)> make;
};

// Each fills about `bytes`.
const std::vector<Shape> &shapes();

// A dump of a Controller, then Agents with these JSON entries.
std::string dump_of(const std::string &agents);

}  // namespace hostile
