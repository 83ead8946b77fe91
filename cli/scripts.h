// The verbs for scripts and for looking closely: get, diff, check, wait, schema.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// As subcommands of `app`; the one that is used sets question.deed.
void add_scripts(CLI::App &app, Question &question);

// The lines "path => value" of what a pattern means, for a model as it was read.
void get_values(const reader::Inputs &inputs, const std::string &pattern, const Options &options, Answer &answer);

}  // namespace cli
