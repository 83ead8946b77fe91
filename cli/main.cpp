// qo1905: answers questions about a mesh from what its gateway writes.

#include <clocale>
#include <csignal>
#include <cstdio>
#include <iostream>

#include "cli/program.h"

int main(int argc, char **argv) {
    try {
        (void)std::setlocale(LC_CTYPE, "");
        (void)std::signal(SIGPIPE, SIG_DFL);
        const int status = cli::Program().run(argc, argv);
        if (std::cout.flush()) {
            return status;
        }
        (void)std::fputs("qo1905: standard output cannot be written\n", stderr);
    } catch (const std::exception &error) {
        (void)std::fprintf(stderr, "qo1905: %s\n", error.what());
    }
    return cli::kUnreadable;
}
