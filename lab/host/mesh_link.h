// A host in a mesh: the mesh tells it what it is and when a cycle passes; it tells the mesh what it has done. Lines of
// JSON over a stream socket:
//
//     to the host     a device description (lab/host/device.h); {"tick": N}
//     to the mesh     {"ready": true}; {"cycle": N, "resident_kb": ..., ...}; {"instance": N, "enable": true}
#pragma once

#include <functional>
#include <mutex>
#include <string>

namespace lab {

class MeshLink {
public:
    // Connects and becomes the device of the first description. Throws Error.
    explicit MeshLink(const std::string &path);
    MeshLink(const MeshLink &) = delete;
    MeshLink &operator=(const MeshLink &) = delete;

    // The calling thread becomes the timer thread: it lets 20 units pass at every tick and calls the handler of the
    // registered event when that is due. Ends when the mesh goes.
    void run();

    // From any thread: an interface was switched.
    void tell_switched(int instance, bool enable);

private:
    bool read_line(std::string &line);
    void send(const std::string &line);
    void obey(const std::string &line);
    void tick(unsigned cycle);

    int fd_;
    std::string input_;
    std::mutex sending_;
    unsigned units_ = 0;      // passed so far
    unsigned next_call_ = 0;  // in units
};

// The link of this process, if it is part of a mesh.
extern MeshLink *mesh_link;

}  // namespace lab
