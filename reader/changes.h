// Waiting for a file that is written anew.
#pragma once

#include <chrono>
#include <functional>

#include "reader/snapshot.h"
#include "reader/source.h"

namespace reader {

// Tells through a descriptor when the file that a source watches has changed.
class Changes {
public:
    explicit Changes(const Source &source);
    ~Changes();
    Changes(const Changes &) = delete;
    Changes &operator=(const Changes &) = delete;

    // Before every wait: the folder may have gone and come back, and is another number then. Negative when there is
    // nothing that could be watched, and one has to look now and then.
    int watch();

    // To be polled for input; -1 where the system has no more of them.
    int descriptor() const { return descriptor_; }

    // Takes what has been told. If it was about the file (a folder such as /tmp has others, too), waits until nothing
    // changes any more, a second at most: the module writes its other files right behind the model.
    bool have_settled();

private:
    bool are_about_the_file();

    const Source &source_;
    int descriptor_;
};

// Calls `look` at once, whenever the source may have something new, and now and then besides: folders come and go, and
// lists and logs are written by themselves. An address is asked every `pause`. Until `stop`, a descriptor, can be read.
void follow(const Source &source, std::chrono::milliseconds pause, int stop, const std::function<void()> &look);

// What inputs of a source tell. While the dump in them was caught half written (the module's host writes it in place),
// and `may_wait` allows it, they are read again: five times, 100 ms apart.
Snapshot make_settled_snapshot(Source &source, Inputs &inputs, const std::function<bool()> &may_wait);

}  // namespace reader
