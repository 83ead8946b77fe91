// Everything for a ticket in one file.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// `bundle` as a subcommand of `app`.
void add_bundling(CLI::App &app, Question &question);

}  // namespace cli
