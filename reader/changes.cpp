#include "reader/changes.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

namespace reader {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRestMs = 100;
constexpr auto kSeldom = std::chrono::seconds(2);
constexpr auto kHalfWritten = std::chrono::milliseconds(100);

// Whether the dump was caught half written; what cannot be had at all is not waited for.
bool is_cut(const Inputs &inputs, const Snapshot &snapshot) {
    return !inputs.model.problem && !inputs.dump.problem && snapshot.problem_with(Missing::Part::kDump) != nullptr;
}

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

void follow(const Source &source, std::chrono::milliseconds pause, int stop, const std::function<void()> &look) {
    Changes changes(source);
    const auto wait = source.watched().empty() ? pause : std::chrono::milliseconds(kSeldom);
    while (true) {
        const int watched = changes.watch() >= 0 ? changes.descriptor() : -1;
        look();
        std::array<pollfd, 2> ready = {{{stop, POLLIN, 0}, {watched, POLLIN, 0}}};
        (void)poll(ready.data(), ready.size(), static_cast<int>(wait.count()));
        if (ready[0].revents != 0) {
            return;
        }
        if (ready[1].revents != 0) {
            (void)changes.have_settled();
        }
    }
}

Snapshot make_settled_snapshot(Source &source, Inputs &inputs, const std::function<bool()> &may_wait) {
    constexpr int kTries = 5;
    Snapshot snapshot = make_snapshot(inputs);
    for (int i = 1; i < kTries && is_cut(inputs, snapshot) && may_wait(); ++i) {
        std::this_thread::sleep_for(kHalfWritten);
        inputs = source.read();
        snapshot = make_snapshot(inputs);
    }
    return snapshot;
}

}  // namespace reader
