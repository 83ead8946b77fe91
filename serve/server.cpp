#include "serve/server.h"

#include <arpa/inet.h>

namespace serve {
namespace {

constexpr int kPorts = 1000;

}  // namespace

bool is_loopback(const std::string &address) {
    in6_addr v6 = {};
    in_addr v4 = {};
    if (inet_pton(AF_INET, address.c_str(), &v4) == 1) {
        constexpr unsigned kNet = 127;
        return ntohl(v4.s_addr) >> 24U == kNet;
    }
    return inet_pton(AF_INET6, address.c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

Server::Server(std::unique_ptr<reader::Source> source, const Wanted &wanted, Site::Metrics metrics)
    : wanted_(wanted),
      page_(wanted.page),
      feed_(std::move(source), wanted.pause),
      site_(feed_, page_, wanted.access, wanted.memory, std::move(metrics)),
      http_(wanted.bounds) {
    http_.set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
        site_.answer(request, response);
        return httplib::Server::HandlerResponse::Handled;
    });
}

Server::~Server() {
    feed_.stop();  // whoever waits for events waits no more
    http_.end();
    if (thread_.joinable()) {
        thread_.join();
    }
}

// Several on one machine each get a port of their own.
bool Server::bind() {
    if (wanted_.port == 0) {
        port_ = http_.bind_to_any_port(wanted_.address);
        return port_ > 0;
    }
    const int first = wanted_.port.value_or(kFirstPort);
    const int last = wanted_.port ? first : first + kPorts - 1;
    for (port_ = first; port_ <= last; ++port_) {
        if (http_.bind_to_port(wanted_.address, port_)) {
            return true;
        }
    }
    return false;
}

bool Server::start() {
    if (!bind()) {
        return false;
    }
    http_.let_more_wait();
    thread_ = std::thread([this] { http_.listen_on(wanted_.address, port_); });
    while (!http_.is_running()) {
        std::this_thread::yield();  // what is ended before it runs would run for ever
    }
    return true;
}

std::string Server::url() const {
    const bool is_v6 = wanted_.address.find(':') != std::string::npos;
    return "http://" + (is_v6 ? '[' + wanted_.address + ']' : wanted_.address) + ':' + std::to_string(port_) + '/';
}

}  // namespace serve
