#include "reader/changes.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <filesystem>

namespace reader {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRestMs = 100;
constexpr auto kMostUnrest = std::chrono::seconds(1);

}  // namespace

Changes::Changes(const Source &source) : source_(source), descriptor_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {}

Changes::~Changes() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

int Changes::watch() {
    const std::string file = source_.watched();
    if (descriptor_ < 0 || file.empty()) {
        return -1;
    }
    const std::string folder = fs::path(file).parent_path();
    return inotify_add_watch(descriptor_, folder.c_str(),
                             IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_ONLYDIR);
}

bool Changes::are_about_the_file() {
    const std::string name = fs::path(source_.watched()).filename();
    alignas(inotify_event) std::array<char, 4096> events = {};
    bool found = false;
    for (ssize_t size = 0; (size = read(descriptor_, events.data(), events.size())) > 0;) {
        inotify_event event = {};
        for (std::size_t at = 0; at + sizeof(event) <= static_cast<std::size_t>(size);
             at += sizeof(event) + event.len) {
            std::memcpy(&event, events.data() + at, sizeof(event));
            const bool is_folder = event.len == 0;
            found = found || is_folder || name == events.data() + at + sizeof(event);
        }
    }
    return found;
}

bool Changes::have_settled() {
    if (!are_about_the_file()) {
        return false;
    }
    const auto end = Clock::now() + kMostUnrest;
    pollfd more = {descriptor_, POLLIN, 0};
    while (Clock::now() < end && poll(&more, 1, kRestMs) > 0) {
        (void)are_about_the_file();
    }
    return true;
}

}  // namespace reader
