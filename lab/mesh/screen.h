// What a person sees of a running mesh. Colour on a terminal, none in a pipe.
#pragma once

#include <string>

#include "lab/mesh/node.h"
#include "lab/mesh/world.h"

namespace lab {

class Screen {
public:
    Screen();

    void heading(const std::string &text);
    void cycle(const World &world, std::size_t device, const CycleReport &report);
    void changes(const World &world, const Changes &changes);
    void happening(const std::string &who, const std::string &what);
    void trouble(const std::string &who, const std::string &what);
    void said(const std::string &who, const std::string &text);

    // False when nobody reads any more.
    bool is_open() const;

private:
    void line(const char *style, const std::string &text);
    std::string columns(unsigned cycle, const std::string &who) const;

    bool colour_;
};

}  // namespace lab
