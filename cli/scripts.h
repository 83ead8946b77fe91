// The verbs for scripts and for looking closely: get, diff, check, wait, schema.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// As subcommands of `app`; the one that is used sets question.deed.
void add_scripts(CLI::App &app, Question &question);

// The lines "path => value" of what a pattern means in the source of `options`.
void get_values(const std::string &pattern, const Options &options, Answer &answer);

}  // namespace cli
