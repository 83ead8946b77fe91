#include "cli/follower.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifdef QO1905_COVERAGE
extern "C" void __gcov_dump(void);  // of the compiler's own library
#endif

namespace cli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto kRest = milliseconds(100);  // the module writes its other files right behind the model
constexpr auto kMostUnrest = milliseconds(1000);
constexpr auto kLongest = milliseconds(60000);

int milliseconds_until(Clock::time_point until) {
    const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
    return static_cast<int>(std::clamp(left, milliseconds(0), kLongest).count());
}

}  // namespace

Follower::Follower(const reader::Source &source, milliseconds pause) : source_(source), pause_(pause) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH, SIGTSTP, SIGCONT}) {
        struct sigaction now = {};
        (void)sigaction(signal, nullptr, &now);
        if (now.sa_handler != SIG_IGN) {  // as nohup wants it, or a shell of what it runs in the background
            sigaddset(&set, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &set, &before_);
    signals_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    changes_ = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (signals_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signals cannot be waited for");
    }
    (void)watch();  // before the first look, so that nothing is missed between that and the first wait
}

Follower::~Follower() {
    close(signals_);
    if (changes_ >= 0) {
        close(changes_);
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

// Every time anew: the folder may have gone and come back. False when there is nothing that could be watched.
bool Follower::watch() {
    const std::string file = source_.watched();
    if (changes_ < 0 || file.empty()) {
        return false;
    }
    const std::string folder = fs::path(file).parent_path();
    return inotify_add_watch(changes_, folder.c_str(),
                             IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_ONLYDIR) >=
           0;
}

// Takes what the kernel tells; a folder such as /tmp has other files, too.
bool Follower::is_about_the_file() {
    const std::string name = fs::path(source_.watched()).filename();
    alignas(inotify_event) std::array<char, 4096> events = {};
    bool found = false;
    for (ssize_t size = 0; (size = read(changes_, events.data(), events.size())) > 0;) {
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

void Follower::let_it_settle() {
    const auto end = Clock::now() + kMostUnrest;
    pollfd more = {changes_, POLLIN, 0};
    while (Clock::now() < end && poll(&more, 1, static_cast<int>(kRest.count())) > 0) {
        (void)is_about_the_file();
    }
}

Follower::Wake Follower::read_signal() {
    signalfd_siginfo info = {};
    if (read(signals_, &info, sizeof(info)) != sizeof(info) || info.ssi_signo == SIGWINCH ||
        info.ssi_signo == SIGCONT) {
        return Wake::kDraw;
    }
    signal_ = static_cast<int>(info.ssi_signo);
    return signal_ == SIGTSTP ? Wake::kPause : Wake::kEnd;
}

Follower::Wake Follower::wait(Clock::time_point until) {
    const bool is_watched = watch();
    const auto look_again = Clock::now() + (is_watched ? kLongest : pause_);
    for (;;) {
        std::array<pollfd, 2> ready = {{{signals_, POLLIN, 0}, {is_watched ? changes_ : -1, POLLIN, 0}}};
        const int count = poll(ready.data(), ready.size(), milliseconds_until(std::min(until, look_again)));
        if (ready[0].revents != 0) {
            return read_signal();
        }
        if (ready[1].revents != 0 && is_about_the_file()) {
            let_it_settle();
            return Wake::kLook;
        }
        if (count <= 0 && Clock::now() >= std::min(until, look_again)) {
            return until <= look_again ? Wake::kTimeIsUp : Wake::kLook;
        }
    }
}

// By the signal's own way: where nobody could continue the program, the kernel lets it go on.
void pause_here() {
    sigset_t set;
    sigset_t before;
    sigemptyset(&set);
    sigaddset(&set, SIGTSTP);
    (void)raise(SIGTSTP);
    pthread_sigmask(SIG_UNBLOCK, &set, &before);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void die_of(int signal) {
#ifdef QO1905_COVERAGE
    __gcov_dump();  // else what ends by a signal would count nothing
#endif
    (void)std::signal(signal, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    (void)raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    std::_Exit(128 + signal);
}

}  // namespace cli
