#include "lab/mapd/wire.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "lab/common/unix_address.h"

namespace lab {

std::string encode_request(const std::vector<std::string> &words) {
    std::string datagram;
    for (const std::string &word : words) {
        datagram += word;
        datagram += '\0';
    }
    return datagram;
}

std::vector<std::string> decode_request(std::string_view datagram) {
    std::vector<std::string> words;
    while (!datagram.empty()) {
        const std::size_t end = datagram.find('\0');
        words.emplace_back(datagram.substr(0, end));
        datagram.remove_prefix(end == std::string_view::npos ? datagram.size() : end + 1);
    }
    return words;
}

std::string encode_event(std::int32_t id, std::string_view body) {
    const auto length = static_cast<std::int32_t>(body.size());
    std::string datagram(sizeof(id) + sizeof(length), '\0');
    std::memcpy(datagram.data(), &id, sizeof(id));
    std::memcpy(datagram.data() + sizeof(id), &length, sizeof(length));
    return datagram.append(body);
}

std::string encode_higher_layer_event(std::uint8_t protocol, std::string_view payload) {
    return encode_event(kHigherLayerDataEvent, static_cast<char>(protocol) + std::string(payload));
}

int open_client_socket() {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un own = {};
    own.sun_family = AF_UNIX;
    // Binding no more than the family lets the kernel choose an abstract address.
    if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr *>(&own), sizeof(own.sun_family)) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

bool connect_to(int fd, const std::string &path) {
    sockaddr_un daemon;
    if (!fill_unix_address(daemon, path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    return connect(fd, reinterpret_cast<sockaddr *>(&daemon), sizeof(daemon)) == 0;
}

std::string ask(int fd, const std::vector<std::string> &words, int timeout_ms) {
    const std::string request = encode_request(words);
    if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return {};
    }
    pollfd readable = {fd, POLLIN, 0};
    if (poll(&readable, 1, timeout_ms) != 1) {
        return {};
    }
    std::string answer(kMaxDatagram, '\0');
    const ssize_t size = recv(fd, answer.data(), answer.size(), 0);
    answer.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return answer;
}

}  // namespace lab
