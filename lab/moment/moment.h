// The world as the reader would see it: what is recorded, published and looked at without running a single module.
#pragma once

#include "lab/world/world.h"
#include "reader/snapshot.h"

namespace lab {

// What the Controller's files would tell: the devices that it reaches, and their stations.
reader::Snapshot moment_of(const World &world, reader::Time time);

}  // namespace lab
