// Lines of JSON over a stream socket, both ways: what a host and its mesh, or a lab and its commands, say to each
// other.
#pragma once

#include <asio.hpp>
#include <functional>
#include <memory>
#include <string>

namespace lab {

class LineLink : public std::enable_shared_from_this<LineLink> {
public:
    using Socket = asio::local::stream_protocol::socket;
    using LineHandler = std::function<void(const std::string &)>;
    using EndHandler = std::function<void()>;

    explicit LineLink(Socket socket) : socket_(std::move(socket)) {}

    // Starts to read. Neither handler is called after close().
    void open(LineHandler on_line, EndHandler on_end);

    // Sends a line; what is sent first arrives first. Nothing happens once the other side has gone.
    void send(const std::string &line);

    // Ends the link, once all that was sent has gone out.
    void close_when_sent();

    // Ends it at once.
    void close();

private:
    void read();
    void write();

    Socket socket_;
    std::string input_;
    std::string output_;   // not yet handed to the socket
    std::string sending_;  // being sent; empty when nothing is
    bool closing_ = false;
    LineHandler on_line_;
    EndHandler on_end_;
};

}  // namespace lab
