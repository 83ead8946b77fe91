// A terminal that is drawn on again and again, without flicker, and left as it was.
#pragma once

#include <cstddef>
#include <string>

namespace cli {

class Screen {
public:
    Screen();
    ~Screen() { leave(); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    // Whether standard output is one that can be drawn on; if not, nothing is.
    bool is_terminal() const { return is_terminal_; }
    std::size_t columns() const;

    // As much of the text as there is room for, over what was there before, in one go.
    void draw(const std::string &text);

    // Back to what was on the terminal before the first drawing.
    void leave();

private:
    bool is_terminal_;
    bool is_entered_ = false;
};

}  // namespace cli
