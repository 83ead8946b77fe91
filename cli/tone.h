// Colour: what it tells is told by the text as well.
#pragma once

#include <string>

#include "cli/output.h"

namespace cli {

enum class Tone { kPlain, kStrong, kGood, kFair, kBad };

// As it is where there is no colour.
std::string paint(const std::string &text, Tone tone, const Options &options);

inline constexpr int kFairSignal = -67;  // dBm, below which calls and films begin to suffer
inline constexpr int kWeakSignal = -75;  // below which everybody notices

Tone tone_of(int signal);

}  // namespace cli
