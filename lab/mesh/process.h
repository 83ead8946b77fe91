// A child process in a group of its own, whose output is read line by line and which dies with its parent.
#pragma once

#include <asio.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lab {

class Process {
public:
    using LineHandler = std::function<void(const std::string &)>;

    // Starts it; `on_line` gets every line of its output and of its errors. Throws Error.
    Process(asio::io_context &io, const std::vector<std::string> &command, LineHandler on_line);
    ~Process();  // kills it and waits for its end
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    // True once it has ended and reap() has seen that; then `status` is what waitpid tells.
    bool has_ended(int &status) const;

    // After SIGCHLD: looks after all children that have ended, also those of children that were killed.
    static void reap();

private:
    struct Output;

    std::shared_ptr<Output> output_;  // a read under way needs it longer than this
    pid_t pid_;                       // -1 once it has ended
    int status_ = 0;
};

}  // namespace lab
