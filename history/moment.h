// A mesh as it was.
#pragma once

#include <map>
#include <optional>

#include "history/database.h"
#include "history/samples.h"
#include "reader/snapshot.h"

namespace history {

// None where nothing is known of that time: before and after all moments of the home, and in gaps. Its `time` is that
// of the last moment before; signals are the samples of then, or where these are not kept any more, what five minutes
// or an hour came to on average.
std::optional<reader::Snapshot> snapshot_at(const Database &database, Number source, Number time);

// A node's samples that are in no chunk yet, between two times.
std::vector<LinkedSample> tail_samples(const Database &database, Number source, Number node, Number from, Number until);

}  // namespace history
