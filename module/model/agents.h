// The AL MACs of the Agents in the last dump that was counted. Timer thread only.
#pragma once

#include "module/base/mac.h"
#include "module/model/list.h"

namespace qo1905 {

// A record of the agent list.
struct Agent {
    Agent *next;
    Mac AlMac;
};

template <>
inline constexpr NodeKind kNodeKind<Agent> = NodeKind::kPlain;

// In the order of the dump. Replaced by every count of the Agents.
extern Agent *agents;

}  // namespace qo1905
