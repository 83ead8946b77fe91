// Programs of the lab as people start them.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace lab_test {

using Words = std::vector<std::string>;

// Empty for a file that is not there.
std::string text_of(const std::string &path);

// False when it does not come true within the limit.
bool wait_until(const std::function<bool()> &condition, std::chrono::seconds limit = std::chrono::seconds(60),
                std::chrono::milliseconds pause = std::chrono::milliseconds(10));

// A program in the background, its output and errors in one file of the working directory. Its end ends the program, as
// Ctrl-C does.
class Program {
public:
    explicit Program(const Words &words);
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    // Its exit status, or 128 and the signal that ended it.
    int wait();
    int end(int signal);
    pid_t pid() const { return pid_; }
    std::string output() const { return text_of(output_); }

private:
    std::string output_;
    pid_t pid_ = -1;
    int status_ = -1;
};

struct Result {
    int status;
    std::string output;  // and errors
};

// Runs it to its end.
Result run(const Words &words);

}  // namespace lab_test
