#include "lab/mesh/screen.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <string_view>

#include "lab/common/text.h"

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

// To the begin of the line, and what was there away.
const std::string kBeginOfLine = "\r\033[K";

bool has_no_colour() {
    const char *wish = std::getenv("NO_COLOR");
    return wish != nullptr && *wish != '\0';
}

// A terminal that knows no more than lines.
bool is_dumb() {
    const char *terminal = std::getenv("TERM");
    return terminal == nullptr || std::string_view(terminal) == "dumb";
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

Screen::Screen()
    : is_terminal_(isatty(STDOUT_FILENO) != 0 && !is_dumb()), has_colour_(is_terminal_ && !has_no_colour()) {}

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
            error_ = errno == EPIPE ? 0 : errno;  // a reader that has had enough is no error
        }
    }
}

void Screen::put(const std::string &text) {
    if (waiting_.size() < kMaxWaiting) {
        waiting_ += text;
    }
    write_waiting(0);
}

void Screen::line(const char *style, const std::string &text) {
    const std::string begin = is_terminal_ ? kBeginOfLine : std::string();
    const bool plain = !has_colour_ || style == kPlain;
    put(begin + (plain ? text + '\n' : std::string("\033[") + style + 'm' + text + "\033[0m\n"));
}

void Screen::progress(const std::string &text) {
    if (is_terminal_) {
        put(kBeginOfLine + text);
    }
}

void Screen::heading(const std::string &text) { line(kBold, "== " + text); }

std::string Screen::columns(unsigned cycle, const std::string &who) const {
    std::ostringstream text;
    text << "cycle " << std::setw(4) << cycle << "  " << std::left << std::setw(kNameWidth) << who << "  ";
    return text.str();
}

void Screen::cycle(const World &world, std::size_t device, const CycleReport &report) {
    const bool controller = world.now(device).role == Role::kController;
    std::string text =
        columns(report.cycle, world.at_start(device).name) + (controller ? "Controller  " : "Agent       ");
    text += report.files.text();
    if (report.files.files_written != 0) {
        text += ", model of " + std::to_string((report.files.model_bytes + 512) / 1024) + " KiB";
    }
    line(controller ? kBold : kPlain, text);
}

void Screen::changes(const World &world, const Changes &changes) {
    std::string text;
    add_told(text, changes.roamed, "roam", [&](std::size_t station) {
        return world.station_name(station) + " roams to " + world.at_start(world.station_now(station).device).name;
    });
    add_told(text, changes.left, "leave", [&](std::size_t station) { return world.station_name(station) + " leaves"; });
    add_told(text, changes.came_back, "come back",
             [&](std::size_t station) { return world.station_name(station) + " comes back"; });
    if (!text.empty()) {
        line(kDim, columns(world.cycle(), "the world") + text);
    }
}

void Screen::happening(const std::string &who, const std::string &what) { line(kBold, "== " + who + ' ' + what); }

void Screen::trouble(const std::string &who, const std::string &what) { line(kRed, "!! " + who + ' ' + what); }

void Screen::said(const std::string &who, const std::string &text) { line(kDim, who + " | " + text); }

}  // namespace lab
