// A host in a mesh: the mesh tells it what it is and when a cycle passes; it tells the mesh what it has done. Lines of
// JSON over a stream socket:
//
//     to the host     a device description (lab/host/device.h); {"tick": N}
//     to the mesh     {"ready": true}; {"cycle": N, "resident_kb": ..., ...}; {"instance": N, "enable": true}
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "lab/host/device.h"

namespace lab {

class MeshLink {
public:
    // Connects, and `device` becomes that of the first description. Throws Error.
    MeshLink(const std::string &path, Device &device);
    MeshLink(const MeshLink &) = delete;
    MeshLink &operator=(const MeshLink &) = delete;

    // The calling thread becomes the timer thread: it lets 20 units pass at every tick and calls the handler of the
    // registered event when that is due, and then `after_call`. Ends when the mesh goes.
    void run(const std::function<void()> &after_call);

private:
    bool read_line(std::string &line);
    void send(const std::string &line);
    void obey(const std::string &line, const std::function<void()> &after_call);
    void call_if_due(const std::function<void()> &after_call);

    int fd_;
    Device &device_;
    std::string input_;
    std::mutex sending_;
    unsigned units_ = 0;      // passed so far
    unsigned next_call_ = 0;  // in units
};

}  // namespace lab
