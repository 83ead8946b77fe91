#include "cli/follower.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <system_error>
#include <utility>

#ifdef QO1905_COVERAGE
extern "C" void __gcov_dump(void);  // of the compiler's own library
#endif

namespace cli {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto kLongest = milliseconds(60000);

int milliseconds_until(Clock::time_point until) {
    const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
    return static_cast<int>(std::clamp(left, milliseconds(0), kLongest).count());
}

}  // namespace

Follower::Follower(const reader::Source &source, milliseconds pause) : changes_(source), pause_(pause) {
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
    if (signals_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signals cannot be waited for");
    }
    watched_ = changes_.watch();  // before the first look, so that nothing is missed between that and the first wait
}

Follower::~Follower() {
    close(signals_);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
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

// A folder that is there again after the last look may have the file already.
bool Follower::has_come_back() {
    const int before = std::exchange(watched_, changes_.watch());
    return watched_ >= 0 && watched_ != before;
}

Follower::Wake Follower::wait(Clock::time_point until) {
    if (has_come_back()) {
        return Wake::kLook;
    }
    const int watched = watched_ >= 0 ? changes_.descriptor() : -1;
    const auto look_again = Clock::now() + (watched >= 0 ? kLongest : pause_);
    for (;;) {
        std::array<pollfd, 2> ready = {{{signals_, POLLIN, 0}, {watched, POLLIN, 0}}};
        const int count = poll(ready.data(), ready.size(), milliseconds_until(std::min(until, look_again)));
        if (ready[0].revents != 0) {
            return read_signal();
        }
        if (ready[1].revents != 0 && changes_.have_settled()) {
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
