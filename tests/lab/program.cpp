#include "tests/lab/program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>

namespace lab_test {
namespace {

using Clock = std::chrono::steady_clock;

std::string next_file() {
    static int number = 0;
    return "output" + std::to_string(++number) + ".txt";
}

}  // namespace

std::string text_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool wait_until(const std::function<bool()> &condition, std::chrono::seconds limit, std::chrono::milliseconds pause) {
    const auto end = Clock::now() + limit;
    while (Clock::now() < end) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(pause);
    }
    return condition();
}

Program::Program(const Words &words) : output_(next_file()) {
    std::vector<char *> arguments;
    for (const std::string &word : words) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        const int file = open(output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
}

Program::~Program() { end(SIGINT); }

int Program::wait() {
    int status = 0;
    if (pid_ > 0 && waitpid(pid_, &status, 0) == pid_) {
        pid_ = -1;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_;
}

int Program::end(int signal) {
    if (pid_ > 0) {
        kill(pid_, signal);
    }
    return wait();
}

Result run(const Words &words) {
    Program program(words);
    const int status = program.wait();
    return {status, program.output()};
}

}  // namespace lab_test
