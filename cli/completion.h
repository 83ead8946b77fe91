// Completion of words in shells: the scripts only ask `qo1905 complete`, so that all three know the same.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// `completion` as a subcommand of `app`.
void add_completion(CLI::App &app, Question &question);

// What the last of `words`, which may be empty, can become: verbs, options, values, names of devices and stations. The
// first line is ":files" where a file would do, too.
std::vector<std::string> completions(const CLI::App &app, const std::vector<std::string> &words);

}  // namespace cli
