// Scenarios of any size, from a seed.
#pragma once

#include "lab/world/scenario.h"

namespace lab {

enum class Shape { kStar, kChain, kTree };

struct Plan {
    std::size_t agents = 2;     // up to 200
    std::size_t stations = 12;  // up to 60,000
    Shape shape = Shape::kTree;
    std::uint64_t seed = 1905;
    Pace pace;
};

// A Controller and its Agents, with stations spread over all of them.
Scenario generate(const Plan &plan);

}  // namespace lab
