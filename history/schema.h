// The tables of a history, docs/history.md, and how older ones become them.
#pragma once

#include "history/database.h"

namespace history {

inline constexpr Number kVersion = 2;  // user_version

// Says in the file that it is one of ours (SQLite's application_id, "qo19").
inline constexpr Number kApplication = 0x716f3139;

// A history that this program may write: made where there is none, brought up to kVersion where it is older. Throws
// Failure; a newer one is left as it is. `is_durable`: a commit survives a loss of power.
Database open_for_writing(const std::string &path, bool is_durable);

// One that it may read. An older one is refused with the advice to let `record` bring it up to date.
Database open_for_reading(const std::string &path);

}  // namespace history
