// The addresses that dnsmasq leased: what it says is truer than what a device says of itself. Timer thread.
#pragma once

#include "qo1905.h"

namespace qo1905 {

// Reads the lease file and copies the address of the first line with a device's AL MAC into its `DeviceIP`. Without a
// lease file all stay as they are. False without memory to look the devices up.
bool merge_leases(qo1905_device *devices);

}  // namespace qo1905
