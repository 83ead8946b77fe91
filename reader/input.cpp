#include "reader/input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

namespace reader {
namespace {

constexpr int kSilenceMs = 2000;
constexpr auto kMostTime = std::chrono::seconds(10);
constexpr int kTries = 3;
constexpr auto kPause = std::chrono::milliseconds(20);

struct Descriptor {
    explicit Descriptor(int number) : fd(number) {}
    ~Descriptor() {
        if (fd >= 0) {
            close(fd);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    const int fd;
};

Input with_problem(Input input, Problem::Kind kind, const std::string &reason) {
    input.text.clear();
    input.problem = Problem{kind, input.file, reason};
    return input;
}

Input with_error(Input input, int error) {
    const auto kind = error == ENOENT || error == ENOTDIR ? Problem::Kind::kMissing : Problem::Kind::kUnreadable;
    return with_problem(std::move(input), kind, error == ETIMEDOUT ? "gives nothing" : std::strerror(error));
}

Time time_of(const struct stat &status) {
    return reader::time_of(status.st_mtim.tv_sec) +
           std::chrono::duration_cast<Time::duration>(std::chrono::nanoseconds(status.st_mtim.tv_nsec));
}

// To the end, the limit or the first mistake; its errno, or 0. One that drips is given up, too.
int read_all(int fd, std::string &text) {
    const auto end = std::chrono::steady_clock::now() + kMostTime;
    char chunk[65536];
    for (;;) {
        pollfd readable = {fd, POLLIN, 0};
        if (poll(&readable, 1, kSilenceMs) == 0 || std::chrono::steady_clock::now() > end) {
            return ETIMEDOUT;
        }
        const ssize_t size = read(fd, chunk, sizeof(chunk));
        if (size < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (size <= 0) {
            return size < 0 ? errno : 0;
        }
        text.append(chunk, static_cast<std::size_t>(size));
        if (text.size() > kMostBytes) {
            return EFBIG;
        }
    }
}

}  // namespace

Time time_of(std::int64_t seconds) {
    constexpr std::int64_t kYear2100 = 4102444800;
    return Time(std::chrono::seconds(std::clamp<std::int64_t>(seconds, 0, kYear2100)));
}

Input read_file(const std::string &path) {
    Input input;
    input.file = path == "-" ? "standard input" : path;
    // Non-blocking, so that a pipe nobody writes into holds nobody up.
    const Descriptor file(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (file.fd < 0 || fstat(file.fd, &status) != 0) {
        return with_error(std::move(input), errno);
    }
    input.time = S_ISREG(status.st_mode) ? time_of(status) : std::chrono::system_clock::now();
    if (S_ISREG(status.st_mode)) {
        input.text.reserve(
            static_cast<std::size_t>(status.st_size) < kMostBytes ? static_cast<std::size_t>(status.st_size) + 1 : 0);
    }
    const int error = read_all(file.fd, input.text);
    return error == 0 ? input : with_error(std::move(input), error);
}

bool is_whole_model(const std::string &text) {
    return text.size() >= 2 && text.compare(text.size() - 2, 2, "}\n") == 0;
}

namespace {

// What does not begin as a model is none, whole or not.
bool is_torn_model(const std::string &text) {
    const bool begins = text.empty() || text[0] == '{';
    return begins && !is_whole_model(text);
}

// Read again, three times in all, while it is not `whole`.
template <class IsWhole>
Input read_until(const std::string &path, IsWhole is_whole) {
    Input input = read_file(path);
    for (int tries = 1; tries < kTries && path != "-" && !input.problem && !is_whole(input.text); ++tries) {
        std::this_thread::sleep_for(kPause);
        input = read_file(path);
    }
    return input;
}

}  // namespace

Input read_dump_file(const std::string &path) {
    return read_until(path, [](const std::string &text) {
        const std::size_t last = text.find_last_not_of(" \t\r\n");
        return last != std::string::npos && text[last] == '}';
    });
}

Input read_line_file(const std::string &path) {
    return read_until(path, [](const std::string &text) { return text.empty() || text.back() == '\n'; });
}

Input read_model_file(const std::string &path) {
    Input input = read_until(path, [](const std::string &text) { return !is_torn_model(text); });
    if (!input.problem && is_torn_model(input.text)) {
        const bool empty = input.text.empty();
        return with_problem(std::move(input), Problem::Kind::kTorn,
                            empty ? "is empty" : "is cut: it does not end as a model does");
    }
    return input;
}

}  // namespace reader
