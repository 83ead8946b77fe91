// The local Abstraction Layer and its interfaces, as the platform's configuration objects tell them. Timer thread.
#pragma once

#include "qo1905.h"

namespace qo1905 {

// Fills a zero-filled root but for its lists. Without an AL MAC text the identifier stays zero.
void retrieveAlTable(qo1905_al_table &al, const char *al_mac);

// Builds the interface list. QO1905_FAILURE when no interface is up, or without memory; the nodes before stay then.
int retrieveIntfTable(qo1905_al_table &al);

}  // namespace qo1905
