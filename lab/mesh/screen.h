// What a person sees of a running mesh. Colour on a terminal that has some, none in a pipe or with NO_COLOR.
#pragma once

#include <string>

#include "lab/mesh/node.h"
#include "lab/world/world.h"

namespace lab {

class Screen {
public:
    Screen();
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    void heading(const std::string &text);
    void cycle(const World &world, std::size_t device, const CycleReport &report);
    void changes(const World &world, const Changes &changes);
    void happening(const std::string &who, const std::string &what);
    void trouble(const std::string &who, const std::string &what);
    void said(const std::string &who, const std::string &text);

    // How far something is that ends soon; shown on a terminal only, until the next line.
    void progress(const std::string &text);

    // False when nobody reads any more, or what is written gets lost: then `error` is errno, else 0.
    bool is_open() const { return is_open_; }
    int error() const { return error_; }

private:
    void line(const char *style, const std::string &text);
    std::string columns(unsigned cycle, const std::string &who) const;

    void write_waiting(int wait_ms);

    void put(const std::string &text);

    bool is_terminal_;
    bool has_colour_;
    bool is_open_ = true;
    int error_ = 0;
    std::string waiting_;  // for a reader that does not keep up
};

}  // namespace lab
