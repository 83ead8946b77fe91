// The gateway's functions that the module imports, answered for one device. They are plain C, and the module finds them
// in this program by name: which device they answer for is said once, before the module is loaded.
#pragma once

#include "lab/host/device.h"

namespace lab {

// `device` has to outlive the module.
void answer_for(Device &device);

}  // namespace lab
