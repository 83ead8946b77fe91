#include "lab/common/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "lab/common/error.h"

namespace lab {
namespace {

bool is_standard_input(const std::string &path) { return path == "-"; }

[[noreturn]] void fail(const std::string &path, int error) {
    throw Error(input_name(path) + ": cannot be read: " + std::strerror(error));
}

// Opening a named pipe waits until somebody opens its other end, so that is said.
int open_input(const std::string &path) {
    if (is_standard_input(path)) {
        return dup(STDIN_FILENO);
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode) && path.rfind("/dev/", 0) != 0 &&
        path.rfind("/proc/", 0) != 0) {
        std::cerr << "== " << path << " is a pipe: waiting for what is written into it\n";
    }
    return open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

}  // namespace

std::string input_name(const std::string &path) { return is_standard_input(path) ? "standard input" : path; }

std::string read_input(const std::string &path) {
    const int fd = open_input(path);
    if (fd < 0) {
        fail(path, errno);
    }
    std::string text;
    char chunk[65536];
    ssize_t size = 0;
    while ((size = read(fd, chunk, sizeof(chunk))) != 0) {
        if (size > 0) {
            text.append(chunk, static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            const int error = errno;
            close(fd);
            fail(path, error);
        }
    }
    close(fd);
    return text;
}

}  // namespace lab
