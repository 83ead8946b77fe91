// The verbs that answer about one moment of a mesh: status, devices, links, stations, tree, show, path.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

// As subcommands of `parent`; the one that is used sets question.view.
void add_views(CLI::App &parent, Question &question);

// The one that is meant when none is named.
View status_view();

}  // namespace cli
