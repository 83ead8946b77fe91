// The multi-AP daemon's client library, as the host offers it to the module. A connection has a thread that pings the
// daemon; when the daemon is gone, or is another than the one attached to, the connection's descriptor is replaced by
// one that is not connected, so that whoever receives on it learns of the loss.

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "lab/mapd/wire.h"
#include "platform/mapd_client.h"

namespace {

constexpr int kAnswerMs = 1000;
constexpr auto kPingInterval = std::chrono::milliseconds(500);

struct Connection : mapd_interface {
    std::string path;
    std::string epoch;
};

// Records live until no watcher needs them and the next connection is opened.
std::shared_ptr<Connection> current;

void mark_lost(Connection &connection) {
    const int unconnected = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (unconnected >= 0) {
        dup3(unconnected, connection.fd, O_CLOEXEC);
        close(unconnected);
    }
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

void watch(const std::shared_ptr<Connection> &connection) {
    while (is_alive(*connection)) {
        std::this_thread::sleep_for(kPingInterval);
    }
    mark_lost(*connection);
}

}  // namespace

extern "C" {

mapd_interface *mapd_interface_ctrl_open(const char *path) {
    const int fd = lab::open_client_socket();
    if (fd < 0 || !lab::connect_to(fd, path)) {
        if (fd >= 0) {
            close(fd);
        }
        return nullptr;
    }
    current = std::make_shared<Connection>();
    current->fd = fd;
    current->path = path;
    return current.get();
}

int mapd_interface_ctrl_attach(mapd_interface *conn) {
    auto &connection = static_cast<Connection &>(*conn);
    connection.epoch = lab::ask(connection.fd, {"ATTACH"}, kAnswerMs);
    if (connection.epoch.rfind("OK ", 0) != 0) {
        return -1;
    }
    std::thread(watch, current).detach();
    return 0;
}
}
