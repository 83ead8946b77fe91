// Times and durations as people type them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cli {

// Seconds since the epoch that a text means:
//
//     now, -2h, -30m, -3d, -1w            before now
//     03:00, today 03:00                  03:00 alone is the last one that has been
//     yesterday, yesterday 03:00          days begin at midnight
//     monday 14:00, mon 14:00             the last one that has been
//     2026-11-21, 2026-11-21 03:00[:05]   of the place
//     2026-11-21T03:00:05Z, ...+01:00     ISO 8601
//     03:00Z                              in UTC, also with a day before it
//     1795316400                          seconds since 1970
//
// in the zone of the place, or in UTC. Of an hour that the end of summer time brings twice it is the first. None if it
// means nothing.
std::optional<std::int64_t> read_time(const std::string &text, std::int64_t now, bool in_utc);

// "20s", "90m", "12h", "7d", "2w", "1y" (365 days), in seconds; none if it is no such thing.
std::optional<std::int64_t> read_duration(const std::string &text);

// What is wrong with such words, for the parser; empty when nothing is.
std::string check_duration(const std::string &text);

// "2 d 3 h", "1 h 20 min", "5 min", "40 s": the two largest units.
std::string duration_text(std::int64_t seconds);

inline constexpr const char *kTimeWords = "such as \"yesterday 03:00\", -2h, 03:00, \"2026-11-21 03:00\" or ISO 8601";

}  // namespace cli
