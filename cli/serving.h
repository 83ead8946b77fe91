// The server as a verb, and as the program that the module starts.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "cli/answer.h"
#include "serve/server.h"

namespace cli {

// A server with this command's metrics.
std::unique_ptr<serve::Server> make_server(std::unique_ptr<reader::Source> source, const serve::Wanted &wanted);

// While one exists, SIGINT, SIGTERM and SIGHUP do not end the program but a wait. Has to be made before any thread.
class EndingSignals {
public:
    EndingSignals();
    int wait() const;
    void let_go() const;

private:
    sigset_t set_ = {};
};

// `serve` as a subcommand of `app`.
void add_serving(CLI::App &app, Question &question);

}  // namespace cli
