// The command as a whole: options, verbs, and what a run of it comes to.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/answer.h"

namespace cli {

class Program {
public:
    Program();

    // Reads the words, answers to standard output and error, and gives the status.
    int run(int argc, const char *const *argv);

private:
    void add_options();
    bool complete(int argc, const char *const *argv) const;
    int status_of_wrong_words() const;
    int parse(int argc, const char *const *argv);
    void answer(Answer &answer);

    CLI::App app_;
    Question question_;
};

}  // namespace cli
