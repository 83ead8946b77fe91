// Waiting for a file that is written anew.
#pragma once

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

}  // namespace reader
