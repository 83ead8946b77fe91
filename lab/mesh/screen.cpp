#include "lab/mesh/screen.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <iomanip>
#include <sstream>

namespace lab {
namespace {

constexpr const char *kBold = "1";
constexpr const char *kDim = "2";
constexpr const char *kRed = "31";
constexpr const char *kPlain = "0";
constexpr std::size_t kMaxTold = 4;  // changes of one kind that are told one by one
constexpr int kNameWidth = 12;
constexpr std::size_t kMaxWaiting = std::size_t{1} << 20U;  // what comes beyond that is not shown
constexpr int kLastWaitMs = 500;

std::string station_name(const World &world, std::size_t station) {
    const StationSpec &spec = world.station(station);
    return spec.host_name == "*" ? spec.mac : spec.host_name;
}

// "phone-1 roams to attic, tv-2 roams to study"; beyond a few, only how many.
template <class Tell>
void add_told(std::string &text, const std::vector<std::size_t> &stations, const char *done, Tell tell) {
    if (stations.size() > kMaxTold) {
        text += (text.empty() ? "" : ", ") + plural(static_cast<long>(stations.size()), "station") + ' ' + done;
        return;
    }
    for (const std::size_t station : stations) {
        text += (text.empty() ? "" : ", ") + tell(station);
    }
}

}  // namespace

Screen::Screen() : colour_(isatty(STDOUT_FILENO) != 0) {}

// What is left goes out if somebody reads.
Screen::~Screen() { write_waiting(kLastWaitMs); }

// Never waits longer than that: a reader that pauses must not stop the world.
void Screen::write_waiting(int wait_ms) {
    pollfd writable = {STDOUT_FILENO, POLLOUT, 0};
    while (is_open_ && !waiting_.empty() && poll(&writable, 1, wait_ms) == 1) {
        // So much a pipe that is writable takes without blocking.
        const ssize_t size = write(STDOUT_FILENO, waiting_.data(), std::min<std::size_t>(waiting_.size(), PIPE_BUF));
        if (size > 0) {
            waiting_.erase(0, static_cast<std::size_t>(size));
        } else if (size < 0 && errno != EINTR && errno != EAGAIN) {
            is_open_ = false;
        }
    }
}

void Screen::line(const char *style, const std::string &text) {
    if (waiting_.size() < kMaxWaiting) {
        const bool plain = !colour_ || style == kPlain;
        waiting_ += plain ? text + '\n' : std::string("\033[") + style + 'm' + text + "\033[0m\n";
    }
    write_waiting(0);
}

void Screen::heading(const std::string &text) { line(kBold, "== " + text); }

std::string Screen::columns(unsigned cycle, const std::string &who) const {
    std::ostringstream text;
    text << "cycle " << std::setw(4) << cycle << "  " << std::left << std::setw(kNameWidth) << who << "  ";
    return text.str();
}

void Screen::cycle(const World &world, std::size_t device, const CycleReport &report) {
    const bool controller = world.now(device).role == Role::kController;
    std::string text = columns(report.cycle, world.spec(device).name) + (controller ? "Controller  " : "Agent       ");
    text += report.files.text();
    if (report.files.files_written != 0) {
        text += ", model of " + std::to_string((report.files.model_bytes + 512) / 1024) + " KiB";
    }
    line(controller ? kBold : kPlain, text);
}

void Screen::changes(const World &world, const Changes &changes) {
    std::string text;
    add_told(text, changes.roamed, "roam", [&](std::size_t station) {
        return station_name(world, station) + " roams to " + world.spec(world.station_now(station).device).name;
    });
    add_told(text, changes.left, "leave",
             [&](std::size_t station) { return station_name(world, station) + " leaves"; });
    add_told(text, changes.came_back, "come back",
             [&](std::size_t station) { return station_name(world, station) + " comes back"; });
    if (!text.empty()) {
        line(kDim, columns(world.cycle(), "the world") + text);
    }
}

void Screen::happening(const std::string &who, const std::string &what) { line(kBold, "== " + who + ' ' + what); }

void Screen::trouble(const std::string &who, const std::string &what) { line(kRed, "!! " + who + ' ' + what); }

void Screen::said(const std::string &who, const std::string &text) { line(kDim, who + " | " + text); }

}  // namespace lab
