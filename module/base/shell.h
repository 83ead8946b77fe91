// The one place that builds and runs shell commands. Nothing that a stranger wrote reaches the shell but through here:
// inside double quotes it is escaped, where it stands bare it is looked at first, and a command that would be more than
// the one program it is meant to be is not run.
#pragma once

#include <cstddef>

#include "module/base/owned.h"
#include "module/base/text.h"

namespace qo1905 {

inline constexpr std::size_t kCommandSize = 4096;
inline constexpr std::size_t kBlockCommandSize = 128;
using SendCommand = BoundedText<kCommandSize>;
using SendPayload = BoundedText<kCommandSize>;
using BlockCommand = BoundedText<kBlockCommandSize>;
using KillCommand = BoundedText<512>;

// Runs a command and waits for it. Its exit status is of no use to this module.
void run_command(const char *command);

// What a command prints, to be read; null when it cannot be run. Programs started meanwhile do not inherit the pipe.
Pipe read_command(const char *command);

// How many words a text is that stands bare in a command; -1 when it may not: it may hold letters, digits, ':', '.',
// '_', '-', blank and tab only, and no word may begin with '-'.
int bare_words(Text text);

// "kill -9" for the line of a process id file, taken as it is. False when it must not be run: the line is not one
// number above 1.
bool build_kill_command(KillCommand &command, Text line);

// Appends a value as it has to stand in a JSON string inside a double-quoted shell word: the JSON that the program gets
// holds exactly the value.
void append_quoted_json(SendPayload &out, Text value);

// Longest payload that still makes a whole send command to this destination.
std::size_t send_payload_limit(Text destination);

// "tx_higher_layer_data" with an escaped payload. False when it must not be run: the destination is not plain, or the
// whole does not fit.
bool build_send_command(SendCommand &command, Text destination, Text payload);

// "block_acl": puts a station into the block list, or takes it out. A command that is longer than its buffer is cut, as
// its readers know it. False when it must not be run: the station is not one plain word, so that others would take its
// place, or the interface's text is more than one.
bool build_block_command(BlockCommand &command, bool block, Text station, Text interface_text);

}  // namespace qo1905
