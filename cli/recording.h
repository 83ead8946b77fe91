// Remembering: the verb that follows sources into a history.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// `record` as a subcommand of `app`.
void add_recording(CLI::App &app, Question &question);

// --db FILE, or what QO1905_DB says.
CLI::Option *add_database(CLI::App &verb, std::string &file);

// Says why a database cannot be used; the status that follows.
int tell(const std::exception &failure);

}  // namespace cli
