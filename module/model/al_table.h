// The one AL table of the process. Timer thread only.
#pragma once

#include "qo1905.h"

namespace qo1905 {

// Null until a build got as far as its root. Only the build replaces it; everybody else asks getAlTable.
extern qo1905_al_table *al_table;

// Frees a device list and leaves it empty.
void destroyIeee1905DevTable(qo1905_device *&devices);

// Frees the whole table, if there is one; al_table is null afterwards.
void destroy_al_table();

}  // namespace qo1905
