// The daemon's side of the wire: one control socket, the clients attached to it, and what their commands ask of whoever
// stands behind (ControlService). Knows datagrams, not meshes.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

// What a multi-AP daemon does when it is asked. The calls come one at a time, on the thread that serves the socket.
class ControlService {
public:
    virtual ~ControlService() = default;
    virtual bool dump_topology() = 0;  // writes the dump; false when it could not
    virtual void send_higher_layer_data(const std::string &destination, std::uint8_t protocol,
                                        const std::string &payload) = 0;
    virtual void block_acl(const std::vector<std::string> &words) = 0;  // what stands after the command
};

enum class Delivery { kDone, kNobody, kBusy };

class ControlServer {
public:
    // Binds the socket, in place of one that is there; throws Error when it cannot.
    ControlServer(const std::string &path, ControlService &service);
    ~ControlServer();
    ControlServer(const ControlServer &) = delete;
    ControlServer &operator=(const ControlServer &) = delete;

    // To wait on for requests.
    int fd() const { return fd_; }

    // Waits for a request and answers it; returns after the time-out at the latest.
    void serve_once(int timeout_ms);

    // Sends an event to every attached client. A client that is gone is forgotten. With kBusy some client does not keep
    // up and has not got it.
    Delivery broadcast(std::string_view event);

private:
    std::string answer(const std::vector<std::string> &words, const std::string &sender);
    std::string transmit(const std::vector<std::string> &words);

    std::string path_;
    std::string epoch_;
    ControlService &service_;
    int fd_;
    std::set<std::string> clients_;  // addresses, as the kernel gives them
};

}  // namespace lab
