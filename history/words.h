// How sessions begin and end, as tables keep it and answers spell it.
#pragma once

#include <optional>

#include "history/database.h"

namespace history {

// Why somebody is at a link. The numbers stand in the tables.
enum class Came {
    kStart = 0,  // was there when recording began, or began again
    kJoin = 1,   // was nowhere before; of a device: it is up
    kRoam = 2,   // was at another device, or on another band; of a device: at another parent, or over another medium
    kBack = 3,   // the same, back where it was within a minute
    kMoved = 4,  // was at the same device on the same band, through another interface of it
};

// And why no more.
enum class Went {
    kGap = 0,  // nobody knows: recording ended, or there was no model
    kLeave = 1,
    kRoam = 2,
    kMoved = 4,
};

const char *word(Came came);  // "start", "join", "roam", "back", "moved"
const char *word(Went went);  // "gap", "leave", "roam", "moved"

Came came_of(Number number);
Went went_of(Number number);

inline bool is_roam(Came came) { return came == Came::kRoam || came == Came::kBack; }

// A roam is a bounce when it leads back within so many seconds.
inline constexpr Number kBounce = 60;

// A station is weak below this signal (dBm); it sticks when it stays so at one device for kSticks seconds or longer
// while another device hears its own stations with kStrong or better.
inline constexpr int kWeak = -75;
inline constexpr int kStrong = -67;
inline constexpr Number kSticks = 600;

}  // namespace history
