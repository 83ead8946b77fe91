// The verbs that stay: events streams what happens, watch draws one picture again and again.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// As subcommands of `app`; the one that is used sets question.deed.
void add_following(CLI::App &app, Question &question);

}  // namespace cli
