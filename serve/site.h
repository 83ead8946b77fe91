// What a server answers: the page, what a feed tells, and the module's files as they stand.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "serve/bounded_server.h"
#include "serve/chronicle.h"
#include "serve/feed.h"
#include "serve/page.h"

namespace serve {

struct Access {
    std::string token;               // empty: for everybody who can reach the server
    std::vector<std::string> hosts;  // names it goes by beside localhost; addresses always do
};

class Site {
public:
    // Prometheus' text of a snapshot.
    using Metrics = std::function<std::string(const reader::Snapshot &)>;

    // The feed has to live as long.
    Site(Feed &feed, Page page, Access access, Memory memory, Metrics metrics)
        : feed_(feed),
          page_(std::move(page)),
          access_(std::move(access)),
          chronicle_(std::move(memory)),
          metrics_(std::move(metrics)) {}

    void answer(const httplib::Request &request, httplib::Response &response);

    // How many may wait for events at once; a further one is answered at once.
    static constexpr int kMostWaiting = 32;

private:
    struct Resource;
    static const std::vector<Resource> &resources();

    bool refuse(const httplib::Request &request, httplib::Response &response) const;
    bool has_token(const httplib::Request &request) const;
    bool is_our_host(const std::string &host) const;
    void send_index(const httplib::Request &request, httplib::Response &response);
    void send_mesh(const httplib::Request &request, httplib::Response &response);
    void send_events(const httplib::Request &request, httplib::Response &response);
    void send_span(const httplib::Request &request, httplib::Response &response);
    template <Chronicle::Json (Chronicle::*kAnswer)(const Question &) const>
    void send_past(const httplib::Request &request, httplib::Response &response);
    void send_metrics(const httplib::Request &request, httplib::Response &response);
    template <reader::Input reader::Inputs::*kFile>
    void send_file(const httplib::Request &request, httplib::Response &response);
    void send_page(const httplib::Request &request, httplib::Response &response);

    Feed &feed_;
    const Page page_;
    const Access access_;
    const Chronicle chronicle_;
    const Metrics metrics_;
    std::atomic<int> waiting_{0};
};

}  // namespace serve
