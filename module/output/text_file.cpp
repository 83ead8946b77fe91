#include "module/output/text_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace qo1905 {
namespace {

constexpr mode_t kFileMode = 0666;  // less the host's umask
constexpr std::size_t kFirstCapacity = 16384;

// One write, but where the disk is full: then as much as there is room for.
void write_all(int fd, Text text) {
    while (!text.empty()) {
        const ssize_t count = write(fd, text.data(), text.size());
        if (count <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

MemoryText::~MemoryText() { std::free(data_); }

bool MemoryText::grow(std::size_t bytes) {
    const std::size_t wanted = std::max({size_ + bytes, kFirstCapacity, capacity_ + capacity_ / 2});
    auto *grown = failed_ ? nullptr : static_cast<char *>(std::realloc(data_, wanted));
    if (grown == nullptr) {
        fail();
        return false;
    }
    data_ = grown;
    capacity_ = wanted;
    return true;
}

void MemoryText::fail() {
    failed_ = true;
    capacity_ = size_;
}

void MemoryText::put(Text text) {
    if (char *at = room(text.size())) {
        end_at(print_text(at, text));
    }
}

void write_text_file(const char *path, const MemoryText &text) {
    if (text.failed()) {
        std::printf("%s: too large or no memory, %s stays as it was\n", "write_text_file", path);
        return;
    }
    // As mode "w" does it; and a FIFO left at this path cannot hold up the timer thread.
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, kFileMode);
    if (fd < 0) {
        return;
    }
    write_all(fd, text.view());
    close(fd);
}

}  // namespace qo1905
