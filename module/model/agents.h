// The AL MACs of the Agents in the last dump that was counted. Timer thread only.
#pragma once

#include "module/base/mac.h"

namespace qo1905 {

// A record of the agent list.
struct Agent {
    Agent *next;
    Mac AlMac;
};

// Is this the AL MAC of an Agent?
bool is_agent(const Mac &al_mac);

}  // namespace qo1905
