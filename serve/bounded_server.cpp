#include "serve/bounded_server.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <system_error>

namespace serve {

using Clock = std::chrono::steady_clock;

// One client, as the library reads and writes it.
class Connection : public httplib::Stream {
public:
    Connection(socket_t socket, const Bounds &bounds, OpenConnections &open)
        : socket_(socket), bounds_(bounds), open_(open) {
        open_.add(*this);
    }
    ~Connection() override {
        open_.remove(*this);
        if (has_rest_) {
            drain();
        }
        close(socket_);
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Until the head of a request has come; false when none comes, or one that takes too long or is too long.
    bool wait_for_request() {
        if (received_.empty()) {
            open_.set_waiting(*this, true);
            const bool came = is_ready(POLLIN, Clock::now() + bounds_.idle) && receive();
            open_.set_waiting(*this, false);
            if (!came) {
                return false;
            }
        }
        answer_until_.reset();
        has_head_ = false;
        return receive_head(Clock::now() + bounds_.head);
    }

    // What follows the head is not read: nothing here takes a body.
    void take_head(httplib::Request &request) {
        has_head_ = true;
        has_rest_ = has_rest_ || request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
        const bool takes_gzip = takes(request.get_header_value("Accept-Encoding"), "gzip");
        request.headers.erase("Accept-Encoding");
        request.headers.erase(BoundedServer::kTakesGzip);
        if (takes_gzip) {
            request.headers.emplace(BoundedServer::kTakesGzip, "1");
        }
    }

    // Whether what follows is another request.
    bool can_go_on() const { return has_head_ && !has_rest_; }
    std::optional<Clock::time_point> waiting_since;  // guarded by OpenConnections

    void shut_down() const { (void)shutdown(socket_, SHUT_RDWR); }

    // The head alone: nothing here takes a body.
    ssize_t read(char *to, size_t size) override {
        const std::size_t taken = std::min(size, head_.size() - at_);
        std::memcpy(to, head_.data() + at_, taken);
        at_ += taken;
        return taken > 0 ? static_cast<ssize_t>(taken) : -1;
    }

    ssize_t write(const char *from, size_t size) override {
        if (!answer_until_) {
            answer_until_ = Clock::now() + bounds_.answer;
        }
        for (std::size_t sent = 0; sent < size;) {
            if (!is_ready(POLLOUT, *answer_until_)) {
                return -1;
            }
            const ssize_t taken = send(socket_, from + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (taken < 0 && errno != EAGAIN && errno != EINTR) {
                return -1;
            }
            sent += taken > 0 ? static_cast<std::size_t>(taken) : 0;
        }
        return static_cast<ssize_t>(size);
    }

    bool is_readable() const override { return at_ < head_.size(); }
    bool is_writable() const override { return is_ready(POLLOUT, Clock::now() + bounds_.answer); }
    socket_t socket() const override { return socket_; }
    void get_remote_ip_and_port(std::string &ip, int &port) const override { tell_address(getpeername, ip, port); }
    void get_local_ip_and_port(std::string &ip, int &port) const override { tell_address(getsockname, ip, port); }

private:
    // "gzip, br;q=0.5": whether one of them is `name`, and not refused.
    static bool takes(const std::string &list, const std::string &name) {
        for (std::size_t at = 0; at < list.size();) {
            const std::size_t end = std::min(list.find(',', at), list.size());
            std::string item = list.substr(at, end - at);
            item.erase(std::remove(item.begin(), item.end(), ' '), item.end());
            if (item.substr(0, item.find(';')) == name) {
                const std::size_t quality = item.find(";q=");
                return quality == std::string::npos || item.find_first_of("123456789", quality) != std::string::npos;
            }
            at = end + 1;
        }
        return false;
    }

    bool is_ready(short event, Clock::time_point until) const {
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
            pollfd ready = {socket_, event, 0};
            const int count = poll(&ready, 1, static_cast<int>(std::max<std::int64_t>(0, left.count())));
            if (count >= 0 || errno != EINTR) {
                return count > 0;
            }
        }
    }

    bool receive() {
        std::array<char, 4096> chunk = {};
        const ssize_t size = recv(socket_, chunk.data(), chunk.size(), MSG_DONTWAIT);
        received_.append(chunk.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
        return size > 0;
    }

    bool receive_head(Clock::time_point until) {
        constexpr const char *kEnd = "\r\n\r\n";
        constexpr std::size_t kEndSize = 4;
        std::size_t end = 0;
        while ((end = received_.find(kEnd)) == std::string::npos) {
            if (received_.size() > bounds_.head_bytes || !is_ready(POLLIN, until) || !receive()) {
                return false;
            }
        }
        head_ = without_traps(received_.substr(0, end + kEndSize));
        received_.erase(0, end + kEndSize);
        at_ = 0;
        return head_.size() <= bounds_.head_bytes;
    }

    // The library parses ranges by a recursion as deep as the header is long, and answers an expectation twice. Neither
    // is of any use here.
    static std::string without_traps(const std::string &head) {
        std::string kept;
        for (std::size_t at = 0; at < head.size();) {
            const std::size_t end = head.find("\r\n", at) + 2;
            const std::string name = head.substr(at, std::min(head.find(':', at), end) - at);
            const bool is_trap = strcasecmp(name.c_str(), "range") == 0 || strcasecmp(name.c_str(), "expect") == 0;
            kept.append(is_trap ? "" : head.substr(at, end - at));
            at = end;
        }
        return kept;
    }

    // A socket that is closed while there is something to be read takes the answer with it.
    void drain() {
        constexpr auto kMostTime = std::chrono::milliseconds(500);
        constexpr int kMostReads = 16;
        (void)shutdown(socket_, SHUT_WR);
        const auto until = Clock::now() + kMostTime;
        for (int i = 0; i < kMostReads && is_ready(POLLIN, until) && receive(); ++i) {
            received_.clear();
        }
    }

    template <class Ask>
    void tell_address(Ask ask, std::string &ip, int &port) const {
        sockaddr_storage address = {};
        socklen_t size = sizeof(address);
        std::array<char, NI_MAXHOST> host = {};
        std::array<char, NI_MAXSERV> service = {};
        if (ask(socket_, reinterpret_cast<sockaddr *>(&address), &size) == 0 &&
            getnameinfo(reinterpret_cast<sockaddr *>(&address), size, host.data(), host.size(), service.data(),
                        service.size(), NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
            ip = host.data();
            port = static_cast<int>(std::strtol(service.data(), nullptr, 10));
        }
    }

    const socket_t socket_;
    const Bounds &bounds_;
    OpenConnections &open_;
    std::string received_;                           // and not yet taken
    std::string head_;                               // of the request that is being answered
    std::size_t at_ = 0;                             // how much of it the library has read
    std::optional<Clock::time_point> answer_until_;  // from its first byte on
    bool has_head_ = false;
    bool has_rest_ = false;
};

void OpenConnections::add(Connection &connection) {
    const std::lock_guard<std::mutex> lock(mutex_);
    all_.insert(&connection);
    if (are_closed_) {
        connection.shut_down();
    }
}

void OpenConnections::remove(Connection &connection) {
    const std::lock_guard<std::mutex> lock(mutex_);
    all_.erase(&connection);
}

void OpenConnections::set_waiting(Connection &connection, bool waits) {
    const std::lock_guard<std::mutex> lock(mutex_);
    connection.waiting_since = waits ? std::optional(Clock::now()) : std::nullopt;
}

void OpenConnections::close_one() {
    const std::lock_guard<std::mutex> lock(mutex_);
    Connection *longest = nullptr;
    for (Connection *connection : all_) {
        if (connection->waiting_since && (longest == nullptr || connection->waiting_since < longest->waiting_since)) {
            longest = connection;
        }
    }
    if (longest != nullptr) {
        longest->waiting_since.reset();  // it is on its way out, and not to be chosen again
        longest->shut_down();
    }
}

void OpenConnections::close_all() {
    const std::lock_guard<std::mutex> lock(mutex_);
    are_closed_ = true;
    for (const Connection *connection : all_) {
        connection->shut_down();
    }
}

void OpenConnections::open_again() {
    const std::lock_guard<std::mutex> lock(mutex_);
    are_closed_ = false;
}

bool OpenConnections::are_closed() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return are_closed_;
}

namespace {

// A thread for each connection, up to a number; when all are taken, the next connection waits where it has not been
// accepted yet, and one that is open and has nothing to say is closed for it.
class Workers : public httplib::TaskQueue {
public:
    Workers(std::size_t most, OpenConnections &open) : most_(most), open_(open) {}

    void enqueue(std::function<void()> task) override {
        constexpr auto kLookAgain = std::chrono::milliseconds(100);
        std::unique_lock<std::mutex> lock(mutex_);
        while (busy_ >= most_ && !open_.are_closed()) {
            lock.unlock();
            open_.close_one();
            lock.lock();
            room_.wait_for(lock, kLookAgain, [this] { return busy_ < most_; });
        }
        ++busy_;
        tasks_.push_back(std::move(task));
        if (threads_.size() < std::min(busy_, most_) && !start_thread()) {
            most_ = threads_.size();
        }
        work_.notify_one();
    }

    void shutdown() override {
        open_.close_all();
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            is_over_ = true;
        }
        work_.notify_all();
        for (std::thread &thread : threads_) {
            thread.join();
        }
    }

private:
    // False where the machine has no more of them: those that are there will do.
    bool start_thread() {
        try {
            threads_.emplace_back([this] { work(); });
        } catch (const std::system_error &) {
            if (threads_.empty()) {
                throw;
            }
            return false;
        }
        return true;
    }

    void work() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            work_.wait(lock, [this] { return is_over_ || !tasks_.empty(); });
            if (tasks_.empty()) {
                return;
            }
            const std::function<void()> task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.unlock();
            task();
            lock.lock();
            --busy_;
            room_.notify_one();
        }
    }

    std::size_t most_;
    OpenConnections &open_;
    std::mutex mutex_;
    std::condition_variable work_, room_;
    std::deque<std::function<void()>> tasks_;
    std::vector<std::thread> threads_;
    std::size_t busy_ = 0;  // connections that are open or have a thread coming
    bool is_over_ = false;
};

}  // namespace

BoundedServer::BoundedServer(Bounds bounds) : bounds_(bounds) {
    new_task_queue = [this] { return new Workers(bounds_.connections, open_); };
    // Without the library's SO_REUSEPORT, which would let two servers share a port.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        (void)setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
    set_tcp_nodelay(true);
    set_payload_max_length(0);
}

void BoundedServer::let_more_wait() { (void)::listen(svr_sock_, SOMAXCONN); }

// The library stops listening for good when the machine is short of something for a moment.
void BoundedServer::listen_on(const std::string &address, int port) {
    constexpr auto kPause = std::chrono::milliseconds(200);
    (void)listen_after_bind();
    while (!is_ended_) {
        std::this_thread::sleep_for(kPause);
        if (!is_ended_ && bind_to_port(address, port)) {
            open_.open_again();
            let_more_wait();
            (void)listen_after_bind();
        }
    }
}

void BoundedServer::end() {
    is_ended_ = true;
    open_.close_all();
    stop();
}

bool BoundedServer::process_and_close_socket(socket_t socket) {
    Connection connection(socket, bounds_, open_);
    for (std::size_t i = 1; connection.wait_for_request(); ++i) {
        bool is_closed = false;
        const bool is_last = i >= bounds_.requests || open_.are_closed();
        const bool went_well = process_request(connection, is_last, is_closed,
                                               [&](httplib::Request &request) { connection.take_head(request); });
        if (!went_well || is_last || is_closed || !connection.can_go_on()) {
            return went_well;
        }
    }
    return true;
}

}  // namespace serve
