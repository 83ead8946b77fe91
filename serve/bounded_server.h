// A web server that strangers cannot wear out: what a connection may cost is bounded in number, bytes and time, and one
// that waits gives way to one that asks.
#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace serve {

struct Bounds {
    std::size_t connections = 64;  // at once; a further one is taken when one of them ends or waits
    std::size_t requests = 1000;   // on one connection
    std::size_t head_bytes = 16384;
    std::chrono::milliseconds idle{30000};    // between two requests
    std::chrono::milliseconds head{5000};     // from the first byte of a request to the end of its head
    std::chrono::milliseconds answer{30000};  // until all of it has been taken
};

class Connection;

// All connections that are open, to end those that only wait.
class OpenConnections {
public:
    void add(Connection &connection);
    void remove(Connection &connection);

    // Whether a connection waits for its next request.
    void set_waiting(Connection &connection, bool waits);

    // Closes the one that waits longest.
    void close_one();

    // Closes all, those to come included.
    void close_all();
    void open_again();
    bool are_closed() const;

private:
    mutable std::mutex mutex_;
    std::set<Connection *> all_;
    bool are_closed_ = false;
};

class BoundedServer : public httplib::Server {
public:
    explicit BoundedServer(Bounds bounds);

    // After binding: the library lets five connections wait to be accepted, and the sixth tries again in a second.
    void let_more_wait();

    // Until it is ended.
    void listen_on(const std::string &address, int port);

    // Ends that and every connection.
    void end();

    // Set in a request whose client takes gzip; the library's own way would compress anew for each of them.
    static constexpr const char *kTakesGzip = "qo1905-takes-gzip";

private:
    bool process_and_close_socket(socket_t socket) override;

    const Bounds bounds_;
    OpenConnections open_;
    std::atomic<bool> is_ended_{false};
};

}  // namespace serve
