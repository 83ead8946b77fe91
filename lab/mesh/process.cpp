#include "lab/mesh/process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>

#include "lab/common/error.h"

namespace lab {
namespace {

constexpr std::size_t kMaxLine = 65536;

// All that run.
std::map<pid_t, Process *> &processes() {
    static std::map<pid_t, Process *> map;
    return map;
}

constexpr unsigned kFirstOther = 3;  // descriptors before it are input, output and errors

// In the child, between fork and exec. Signals and descriptors as a program expects them.
[[noreturn]] void become(const std::vector<char *> &arguments, int output, pid_t parent) {
    (void)setpgid(0, 0);
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    (void)std::signal(SIGPIPE, SIG_DFL);
    const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const bool ready = null >= 0 && dup2(null, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
                       dup2(output, STDERR_FILENO) >= 0 && close_range(kFirstOther, ~0U, 0) == 0 && getppid() == parent;
    if (ready) {
        execvp(arguments[0], arguments.data());
    }
    _exit(127);
}

}  // namespace

struct Process::Output : std::enable_shared_from_this<Output> {
    Output(asio::io_context &io, LineHandler handler) : end(io), on_line(std::move(handler)) {}

    void read_line() {
        asio::async_read_until(end, asio::dynamic_buffer(buffer, kMaxLine), '\n',
                               [self = shared_from_this()](const asio::error_code &error, std::size_t size) {
                                   self->take_line(error, size);
                               });
    }

    void take_line(const asio::error_code &error, std::size_t size) {
        if (error == asio::error::not_found) {  // a line without an end
            size = buffer.size();
        } else if (error) {
            return;
        }
        const std::string line = buffer.substr(0, size);
        buffer.erase(0, size);
        if (on_line) {
            on_line(line.substr(0, line.find('\n')));
            read_line();
        }
    }

    asio::posix::stream_descriptor end;
    std::string buffer;
    LineHandler on_line;
};

Process::Process(asio::io_context &io, const std::vector<std::string> &command, LineHandler on_line)
    : output_(std::make_shared<Output>(io, std::move(on_line))), pid_(-1) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw Error(command[0] + ": no pipe: " + std::strerror(errno));
    }
    output_->end.assign(ends[0]);
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &word : command) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        become(arguments, ends[1], parent);
    }
    close(ends[1]);
    if (pid_ < 0) {
        throw Error(command[0] + ": no process: " + std::strerror(errno));
    }
    processes()[pid_] = this;
    output_->read_line();
}

Process::~Process() {
    output_->on_line = nullptr;
    asio::error_code ignored;
    (void)output_->end.close(ignored);
    if (pid_ > 0) {
        processes().erase(pid_);
        (void)kill(-pid_, SIGKILL);
        (void)kill(pid_, SIGKILL);  // in case it has not yet got its group
        (void)waitpid(pid_, nullptr, 0);
    }
}

bool Process::has_ended(int &status) const {
    status = status_;
    return pid_ < 0;
}

void Process::reap() {
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
        const auto found = processes().find(pid);
        if (found != processes().end()) {
            found->second->pid_ = -1;
            found->second->status_ = status;
            processes().erase(found);
        }
    }
}

}  // namespace lab
