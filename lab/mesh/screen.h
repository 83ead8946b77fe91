// What a person sees of a running mesh. Colour on a terminal, none in a pipe.
#pragma once

#include <string>

#include "lab/mesh/node.h"
#include "lab/mesh/world.h"

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

    // False when nobody reads any more.
    bool is_open() const { return is_open_; }

private:
    void line(const char *style, const std::string &text);
    std::string columns(unsigned cycle, const std::string &who) const;

    void write_waiting(int wait_ms);

    bool colour_;
    bool is_open_ = true;
    std::string waiting_;  // for a reader that does not keep up
};

}  // namespace lab
