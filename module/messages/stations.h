// The Wi-Fi stations of this device, for an Agent's report. Timer thread.
#pragma once

#include "qo1905.h"

namespace qo1905 {

// Stations of the interfaces ra0 to ra3 and rai0 to rai3, without those that are mesh Agents, appended to `stations`.
// Returns their number; 16, which the caller takes for a number too, when memory runs out (the list then holds what was
// found so far). The caller frees the list with freeWifiClientTable.
int getStaPhyrateList(qo1905_client *&stations);

// Frees a client list and leaves it empty. Returns 0.
int freeWifiClientTable(qo1905_client *&stations);

}  // namespace qo1905
