// The multi-AP daemon's client library, as the host offers it to the module. Events reach the module through a pair of
// sockets with a thread in between: it hands on what the daemon sends and pings the daemon. A plain datagram socket
// tells nobody that its daemon has died; this thread does, by closing its end, which resets the module's.

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "lab/mapd/wire.h"
#include "module/platform/mapd_client.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kAnswerMs = 1000;
constexpr auto kPingInterval = std::chrono::milliseconds(500);

struct Connection : mapd_interface {
    std::string path;
    std::string epoch;
    int daemon = -1;
    int our_end = -1;

    Connection() = default;
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection() {
        for (const int end : {daemon, our_end}) {
            if (end >= 0) {
                close(end);
            }
        }
    }
};

// The connection opened last. Its record lives until the next is opened and its thread has ended.
std::shared_ptr<Connection> current;

// A byte that nobody reads waits in our end, so that closing that end resets the module's.
bool open_pair(Connection &connection) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    connection.fd = ends[0];
    connection.our_end = ends[1];
    return send(ends[0], "", 1, MSG_NOSIGNAL) == 1;
}

bool is_alive(const Connection &connection) {
    const int fd = lab::open_client_socket();
    const bool alive =
        fd >= 0 && lab::connect_to(fd, connection.path) && lab::ask(fd, {"PING"}, kAnswerMs) == connection.epoch;
    if (fd >= 0) {
        close(fd);
    }
    return alive;
}

// One event, if there is one. False when the module has given the connection up.
bool hand_on_event(const Connection &connection) {
    pollfd readable = {connection.daemon, POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(kPingInterval.count())) != 1) {
        return true;
    }
    std::string event(lab::kMaxDatagram, '\0');
    const ssize_t size = recv(connection.daemon, event.data(), event.size(), MSG_DONTWAIT);
    if (size <= 0) {
        return true;
    }
    // Waits for a module that does not keep up: what it has not taken waits at the daemon.
    const ssize_t sent = send(connection.our_end, event.data(), static_cast<std::size_t>(size), MSG_NOSIGNAL);
    return sent >= 0 || errno == EMSGSIZE;
}

void serve(const std::shared_ptr<Connection> &connection) {
    auto next_ping = Clock::now() + kPingInterval;
    while (hand_on_event(*connection)) {
        if (Clock::now() < next_ping) {
            continue;
        }
        if (!is_alive(*connection)) {
            break;
        }
        next_ping = Clock::now() + kPingInterval;
    }
    close(connection->our_end);
    connection->our_end = -1;
}

}  // namespace

extern "C" {

mapd_interface *mapd_interface_ctrl_open(const char *path) {
    current = std::make_shared<Connection>();
    current->path = path;
    current->daemon = lab::open_client_socket();
    if (current->daemon < 0 || !lab::connect_to(current->daemon, path) || !open_pair(*current)) {
        return nullptr;
    }
    return current.get();
}

int mapd_interface_ctrl_attach(mapd_interface *conn) {
    auto &connection = static_cast<Connection &>(*conn);
    connection.epoch = lab::ask(connection.daemon, {"ATTACH"}, kAnswerMs);
    if (connection.epoch.rfind("OK ", 0) != 0) {
        return -1;
    }
    std::thread(serve, current).detach();
    return 0;
}
}
