// What was: the verbs of `history`.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// `history` as a subcommand of `app`, with verbs of its own.
void add_history(CLI::App &app, Question &question);

}  // namespace cli
