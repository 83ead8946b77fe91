// A client that behaves as badly as a test wants.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>

class RawClient {
public:
    explicit RawClient(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        is_connected_ = connect(socket_, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0;
    }
    ~RawClient() { close(socket_); }
    RawClient(const RawClient &) = delete;
    RawClient &operator=(const RawClient &) = delete;

    bool is_connected() const { return is_connected_; }

    void send(const std::string &text) const { (void)!::send(socket_, text.data(), text.size(), MSG_NOSIGNAL); }

    void receive_little() const {
        const int bytes = 4096;
        (void)setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof(bytes));
    }

    // Until the other end closes; `closed` tells whether it has within the time.
    std::string read(std::chrono::milliseconds most, bool *closed = nullptr) const {
        const auto until = std::chrono::steady_clock::now() + most;
        std::string text;
        for (;;) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()).count();
            pollfd ready = {socket_, POLLIN, 0};
            char chunk[65536];
            if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) <= 0) {
                return end(text, closed, false);
            }
            const ssize_t size = recv(socket_, chunk, sizeof(chunk), 0);
            if (size <= 0) {
                return end(text, closed, true);
            }
            text.append(chunk, static_cast<std::size_t>(size));
        }
    }

    // One request of its own connection, answered to the end.
    static std::string ask(int port, const std::string &request) {
        const RawClient client(port);
        client.send(request);
        return client.read(std::chrono::seconds(30));
    }

private:
    static std::string end(std::string text, bool *closed, bool is_closed) {
        if (closed != nullptr) {
            *closed = is_closed;
        }
        return text;
    }

    int socket_;
    bool is_connected_ = false;
};

// The head of a GET that ends the connection.
inline std::string get(const std::string &path, const std::string &more = "", const std::string &host = "127.0.0.1") {
    return "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n" + more + "\r\n";
}

inline std::string body_of(const std::string &answer) {
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? "" : answer.substr(end + 4);
}

inline int status_of(const std::string &answer) {
    return answer.compare(0, 9, "HTTP/1.1 ") == 0 ? std::stoi(answer.substr(9, 3)) : 0;
}

inline std::string header_of(const std::string &answer, const std::string &name) {
    const std::size_t at = answer.find("\r\n" + name + ": ");
    const std::size_t begin = at + name.size() + 4;
    return at == std::string::npos ? "" : answer.substr(begin, answer.find("\r\n", begin) - begin);
}
