// The commands that messages/ has run: how each is put together, and when it must not be run. A command that would be
// more than the one program it is meant to be is never built.
#pragma once

#include <cstddef>

#include "module/base/text.h"

namespace qo1905 {

inline constexpr std::size_t kCommandSize = 4096;
inline constexpr std::size_t kBlockCommandSize = 128;
using SendCommand = BoundedText<kCommandSize>;
using SendPayload = BoundedText<kCommandSize>;
using BlockCommand = BoundedText<kBlockCommandSize>;
using KillCommand = BoundedText<512>;

// Longest payload that still makes a whole send command to this destination.
std::size_t send_payload_limit(Text destination);

// "tx_higher_layer_data" with an escaped payload; only kBuilt may be run. kNotPlain: the destination would not stay one
// word. kTooLong: the whole does not fit, or the payload did not.
enum class SendCommandResult { kBuilt, kNotPlain, kTooLong };
[[nodiscard]] SendCommandResult build_send_command(SendCommand &command, Text destination, const SendPayload &payload);

// "kill -9" for the line of a process id file, taken as it is. False when it must not be run: the line is not one
// number above 1.
[[nodiscard]] bool build_kill_command(KillCommand &command, Text line);

// "block_acl": puts a station into the block list, or takes it out. A command that is longer than its buffer is cut, as
// its readers know it. False when it must not be run: the station is not one plain word, so that others would take its
// place, or the interface's text is more than one.
[[nodiscard]] bool build_block_command(BlockCommand &command, bool block, Text station, Text interface_text);

}  // namespace qo1905
