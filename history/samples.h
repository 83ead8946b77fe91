// What was measured, and how it is kept small: every sample of an hour in one piece, and what twelve times five minutes
// of it come to in another.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "history/database.h"

namespace history {

inline constexpr Number kMinute = 60;
inline constexpr Number kSlot = 5 * kMinute;
inline constexpr Number kHour = 60 * kMinute;
inline constexpr Number kDay = 24 * kHour;

// The beginning of the slot, hour or day that a time lies in.
inline Number start_of(Number unit, Number time) { return time - ((time % unit) + unit) % unit; }

// A link at one moment.
struct Sample {
    Number time;                // seconds since the epoch
    std::optional<int> signal;  // dBm
    std::optional<int> rate;    // Mbit/s
};

// What some values come to.
struct Range {
    Number n = 0, min = 0, sum = 0, max = 0;

    void add(Number value);
    void add(const Range &other);
    double mean() const { return n == 0 ? 0 : static_cast<double>(sum) / static_cast<double>(n); }
};

// What the samples of one link in one stretch of time come to.
struct RollUp {
    Number time;   // its beginning
    Number link;   // id
    Number n = 0;  // samples, also those without signal and rate
    Range signal;  // dBm
    Range rate;    // Mbit/s
};

// By stretches of so many seconds. The samples are ordered by time; `links` tells whose each is.
struct LinkedSample {
    Sample sample;
    Number link;
};
std::vector<RollUp> roll_up(const std::vector<LinkedSample> &samples, Number unit);

// The same of shorter stretches.
std::vector<RollUp> roll_up(const std::vector<RollUp> &parts, Number unit);

// For a column of a table, and back. Whatever the bytes are: what makes no sense is nothing, and nothing grows beyond a
// megabyte.
std::string pack(const std::vector<LinkedSample> &samples);
std::vector<LinkedSample> unpack_samples(const std::string &bytes);
std::string pack(const std::vector<RollUp> &parts);
std::vector<RollUp> unpack_roll_ups(const std::string &bytes);

// Of all that was measured since the last commit, by node; not compressed, as it is gone within the hour.
struct TailSample {
    Number node;
    LinkedSample linked;
};
std::string pack_tail(const std::vector<TailSample> &samples);
std::vector<TailSample> unpack_tail(const std::string &bytes);

}  // namespace history
