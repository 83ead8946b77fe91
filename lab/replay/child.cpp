#include "lab/replay/child.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include "lab/common/error.h"

namespace lab {
namespace {

constexpr int kSignalled = 128;

// What a signal handler can know: whom to tell, and what came.
volatile std::sig_atomic_t child_to_end = 0;
volatile std::sig_atomic_t signal_that_came = 0;

void hand_on(int signal) {
    signal_that_came = signal;
    if (child_to_end > 0) {
        (void)kill(child_to_end, SIGTERM);
    }
}

void listen_for_signals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        action.sa_handler = hand_on;
        action.sa_flags = SA_RESTART;
        (void)sigaction(signal, &action, nullptr);
    }
}

[[noreturn]] void become(const std::vector<std::string> &command, int output) {
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &word : command) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    (void)prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (dup2(output, STDOUT_FILENO) >= 0 && dup2(output, STDERR_FILENO) >= 0) {
        execvp(arguments[0], arguments.data());
    }
    _exit(127);
}

struct FileClose {
    void operator()(std::FILE *file) const { (void)std::fclose(file); }
};

void read_lines(int fd, const std::function<void(const std::string &)> &on_line) {
    const std::unique_ptr<std::FILE, FileClose> file(fdopen(fd, "r"));
    std::string line;
    for (int c = 0; file != nullptr && (c = std::getc(file.get())) != EOF;) {
        if (c == '\n') {
            on_line(line);
            line.clear();
        } else {
            line += static_cast<char>(c);
        }
    }
    if (!line.empty()) {
        on_line(line);
    }
}

}  // namespace

ChildEnd run_child(const std::vector<std::string> &command, const std::function<void(const std::string &)> &on_line) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw Error(command[0] + ": no pipe: " + std::strerror(errno));
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        become(command, ends[1]);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        throw Error(command[0] + ": no process: " + std::strerror(errno));
    }
    child_to_end = child;
    listen_for_signals();
    read_lines(ends[0], on_line);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    child_to_end = 0;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status), signal_that_came};
}

}  // namespace lab
