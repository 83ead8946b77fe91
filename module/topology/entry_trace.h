// What the trace says of a dump entry once it is read. Timer thread.
#pragma once

#include "qo1905.h"

namespace qo1905 {

// Nothing below log level 7. `index` is the entry's place in the dump.
void trace_entry(const qo1905_device &device, unsigned index);

}  // namespace qo1905
