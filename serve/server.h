// A server as people start it: an address, a source, and who may ask.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "serve/site.h"

namespace serve {

inline constexpr int kFirstPort = 8905;

struct Wanted {
    std::string address = "127.0.0.1";
    std::optional<int> port;                // none: the first that is free from kFirstPort on; 0: any
    std::chrono::milliseconds pause{2000};  // between two questions to a source that is an address
    std::string page = page_folder();
    Access access;
    Memory memory;
    Bounds bounds;
};

class Server {
public:
    Server(std::unique_ptr<reader::Source> source, const Wanted &wanted, Site::Metrics metrics);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // Takes requests in threads of its own. False when the address cannot be had.
    bool start();

    // "http://127.0.0.1:8905/"
    std::string url() const;

    const Page &page() const { return page_; }
    Feed &feed() { return feed_; }

private:
    bool bind();

    const Wanted wanted_;
    const Page page_;
    Feed feed_;
    Site site_;
    BoundedServer http_;
    int port_ = 0;
    std::thread thread_;
};

// Whether only this machine can reach an address.
bool is_loopback(const std::string &address);

}  // namespace serve
