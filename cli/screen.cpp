#include "cli/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "cli/text.h"

namespace cli {
namespace {

// What a terminal that has no size, such as a serial line, is taken for.
constexpr unsigned short kRows = 24;
constexpr unsigned short kColumns = 80;

winsize size_now() {
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        size.ws_row = kRows;
        size.ws_col = kColumns;
    }
    return size;
}

void write_all(const std::string &text) {
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t size = write(STDOUT_FILENO, text.data() + at, text.size() - at);
        if (size <= 0) {
            return;  // who has gone sees nothing
        }
        at += static_cast<std::size_t>(size);
    }
}

// The rest of the old line goes after the new one is there: nothing is ever empty in between. Behind a full line there
// is no rest, and a terminal would take its last character.
std::string line_at(std::size_t row, const std::string &line, std::size_t columns) {
    const bool has_colour = line.find('\x1b') != std::string::npos;
    return "\x1b[" + std::to_string(row) + ";1H" + line + (has_colour ? "\x1b[0m" : "") +
           (width(line) < columns ? "\x1b[K" : "");
}

}  // namespace

Screen::Screen() {
    const char *kind = std::getenv("TERM");
    is_terminal_ = isatty(STDOUT_FILENO) != 0 && kind != nullptr && std::string(kind) != "dumb" && *kind != '\0';
}

std::size_t Screen::columns() const { return size_now().ws_col; }

void Screen::draw(const std::string &text) {
    const winsize size = size_now();
    std::string frame = is_entered_ ? "" : "\x1b[?1049h\x1b[?25l";
    is_entered_ = true;
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    std::istringstream stream(text);
    std::string line;
    for (std::size_t row = 1; row <= size.ws_row && std::getline(stream, line); ++row) {
        if (row == size.ws_row && lines > row) {
            line = "... and " + counted(lines - row + 1, "more line");
        }
        frame += line_at(row, cut(line, size.ws_col), size.ws_col);
    }
    // Not behind the last line, whose last character it would take if that is full.
    write_all(frame + (lines < size.ws_row ? "\x1b[" + std::to_string(lines + 1) + ";1H\x1b[J" : ""));
}

void Screen::leave() {
    if (is_entered_) {
        write_all("\x1b[?25h\x1b[?1049l");
        is_entered_ = false;
    }
}

}  // namespace cli
