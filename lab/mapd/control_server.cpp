#include "lab/mapd/control_server.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>

#include "lab/common/error.h"
#include "lab/common/unix_address.h"
#include "lab/mapd/wire.h"

namespace lab {
namespace {

const sockaddr *as_address(const std::string &bytes) { return reinterpret_cast<const sockaddr *>(bytes.data()); }

int bind_control_socket(const std::string &path) {
    sockaddr_un own;
    if (!fill_unix_address(own, path)) {
        throw Error(path + ": too long for a socket's path");
    }
    unlink(path.c_str());
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&own), sizeof(own)) != 0) {
        throw Error(path + ": control socket cannot be opened: " + std::strerror(errno));
    }
    return fd;
}

// Another one at every start.
std::string new_epoch() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return std::to_string(getpid()) + "." + std::to_string(now);
}

bool parse_number(const std::string &text, unsigned long most, unsigned long &value) {
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end && value <= most;
}

}  // namespace

ControlServer::ControlServer(const std::string &path, ControlService &service)
    : path_(path), epoch_(new_epoch()), service_(service), fd_(bind_control_socket(path)) {}

ControlServer::~ControlServer() {
    close(fd_);
    unlink(path_.c_str());
}

void ControlServer::serve_once(int timeout_ms) {
    pollfd readable = {fd_, POLLIN, 0};
    if (poll(&readable, 1, timeout_ms) != 1) {
        return;
    }
    std::string request(kMaxDatagram, '\0');
    std::string sender(sizeof(sockaddr_un), '\0');
    auto sender_size = static_cast<socklen_t>(sender.size());
    const ssize_t size =
        recvfrom(fd_, request.data(), request.size(), 0, reinterpret_cast<sockaddr *>(sender.data()), &sender_size);
    if (size < 0) {
        return;
    }
    sender.resize(sender_size);
    request.resize(static_cast<std::size_t>(size));
    const std::string text = answer(decode_request(request), sender);
    if (sender_size > sizeof(sa_family_t)) {
        (void)sendto(fd_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL, as_address(sender), sender_size);
    }
}

std::string ControlServer::answer(const std::vector<std::string> &words, const std::string &sender) {
    const std::string command = words.empty() ? "" : words[0];
    if (command == "PING") {
        return "OK " + epoch_;
    }
    if (command == "ATTACH") {
        clients_.insert(sender);
        return "OK " + epoch_;
    }
    if (command == "dump_topology_v1") {
        return service_.dump_topology() ? "OK\n" : "FAIL the dump cannot be written\n";
    }
    if (command == "tx_higher_layer_data") {
        return transmit(words);
    }
    if (command == "block_acl") {
        service_.block_acl({words.begin() + 1, words.end()});
        return "OK\n";
    }
    return "FAIL unknown command\n";
}

std::string ControlServer::transmit(const std::vector<std::string> &words) {
    unsigned long protocol = 0;
    unsigned long length = 0;
    if (words.size() != 5 || !parse_number(words[2], UINT8_MAX, protocol) ||
        !parse_number(words[3], kMaxDatagram, length)) {
        return "FAIL usage: tx_higher_layer_data MAC PROTOCOL LENGTH PAYLOAD\n";
    }
    // The length counts the backslashes that the shell has removed by now: the text itself tells where it ends.
    service_.send_higher_layer_data(words[1], static_cast<std::uint8_t>(protocol), words[4]);
    return "OK\n";
}

Delivery ControlServer::broadcast(std::string_view event) {
    Delivery delivery = Delivery::kNobody;
    for (auto client = clients_.begin(); client != clients_.end();) {
        const ssize_t sent = sendto(fd_, event.data(), event.size(), MSG_DONTWAIT | MSG_NOSIGNAL, as_address(*client),
                                    static_cast<socklen_t>(client->size()));
        const bool gone = sent < 0 && (errno == ECONNREFUSED || errno == ENOENT);
        if (!gone) {
            delivery = sent >= 0 && delivery != Delivery::kBusy ? Delivery::kDone : Delivery::kBusy;
        }
        client = gone ? clients_.erase(client) : std::next(client);
    }
    return delivery;
}

}  // namespace lab
