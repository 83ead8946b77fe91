#include "cli/tone.h"

namespace cli {

std::string paint(const std::string &text, Tone tone, const Options &options) {
    constexpr const char *kCodes[] = {"", "\x1b[1m", "\x1b[32m", "\x1b[33m", "\x1b[31m"};
    if (!options.colour || tone == Tone::kPlain) {
        return text;
    }
    return kCodes[static_cast<int>(tone)] + text + "\x1b[0m";
}

Tone tone_of(int signal) {
    return signal < kWeakSignal ? Tone::kBad : signal < kFairSignal ? Tone::kFair : Tone::kPlain;
}

}  // namespace cli
