#include "lab/mesh/node.h"

#include <sys/wait.h>

#include <climits>
#include <filesystem>
#include <optional>

#include "lab/common/error.h"
#include "lab/common/json.h"
#include "lab/common/text.h"
#include "lab/mapd/wire.h"
#include "lab/mesh/lab_folder.h"

namespace lab {
namespace {

namespace fs = std::filesystem;

constexpr std::uint8_t kProtocol = 1;
constexpr int kMaxInstance = 255;
constexpr std::size_t kMaxEventsToSend = 10000;
constexpr auto kRetry = std::chrono::milliseconds(5);
constexpr std::size_t kMaxLog = std::size_t{16} << 20U;
constexpr std::size_t kLastWords = 5;
constexpr const char *kRebootMark = "/run/rebooting";  // left by lab/programs/reboot

// One of the three things that a host says; neither: it is ready.
struct Switched {
    int instance;
    bool enabled;
};
struct HostLine {
    std::optional<CycleReport> cycle;
    std::optional<Switched> switched;
};

CycleReport read_cycle(const JsonValue &said) {
    CycleReport report;
    report.cycle = static_cast<unsigned>(said.at("cycle").integer(0, INT_MAX));
    report.resident_kb = said.at("resident_kb").whole(0, LONG_MAX);
    report.heap_bytes = said.at("heap_bytes").whole(0, LONG_MAX);
    report.descriptors = said.at("descriptors").integer(0, INT_MAX);
    report.threads = said.at("threads").integer(0, INT_MAX);
    return report;
}

HostLine read_host_line(const std::string &line) {
    const JsonValue said = JsonValue::parse(line, "the host");
    if (said.has("cycle")) {
        return {read_cycle(said), {}};
    }
    if (said.has("instance")) {
        return {{}, Switched{said.at("instance").integer(1, kMaxInstance), said.at("enable").boolean()}};
    }
    (void)said.at("ready").boolean();
    return {};
}

}  // namespace

Node::Node(asio::io_context &io, NodeEvents &events, const NodeSetup &setup, std::size_t index, std::string name)
    : io_(io),
      events_(events),
      setup_(setup),
      index_(index),
      name_(std::move(name)),
      folder_(setup.folder + "/devices/" + name_),
      acceptor_(io),
      requests_(io),
      retry_(io) {}

Node::~Node() {
    try {
        stop();
    } catch (const std::exception &) {
        last_words_.clear();  // a descriptor that does not close; nobody is left to be told
    }
}

// --- the host in its sandbox ---

void Node::start() {
    stop();
    for (const char *part : {"/tmp", "/run", "/dnsmasq", "/rc.d"}) {
        remove_folder(folder_ + part);
        fs::create_directories(folder_ + part);
    }
    log_.open(folder_ + "/host.log", std::ios::app);
    files_ = std::make_unique<FileReader>(folder_ + "/tmp");
    start_daemon();
    listen();
    const std::string programs = setup_.project + "/lab/programs";
    const std::vector<std::string> command = {setup_.project + "/lab/sandbox.sh",
                                              "--strict",
                                              "--root",
                                              folder_,
                                              "--programs",
                                              programs,
                                              "--programs",
                                              setup_.build + "/programs",
                                              "--",
                                              setup_.build + "/qo1905-host",
                                              "--mesh",
                                              "/run/lab.sock",
                                              "--log-level",
                                              std::to_string(setup_.log_level)};
    process_ = std::make_unique<Process>(io_, command, [this](const std::string &line) { log(line); });
}

void Node::stop() {
    process_.reset();
    asio::error_code ignored;
    (void)acceptor_.close(ignored);
    if (link_) {
        link_->close();
        link_.reset();
    }
    stop_daemon();
    remove_mount_point(folder_, setup_.build);
    remove_mount_point(folder_, setup_.project);
    log_.close();
    is_ready_ = false;
    is_busy_ = false;
    last_description_.clear();
}

void Node::look_for_end() {
    int status = 0;
    if (!process_ || !process_->has_ended(status)) {
        return;
    }
    std::error_code error;
    const bool reboots = fs::exists(folder_ + kRebootMark, error);
    stop();
    // The sandbox tells the signal that ended the host as a shell does, 128 and its number.
    const std::string how = WIFEXITED(status) ? "with status " + std::to_string(WEXITSTATUS(status))
                                              : "by signal " + std::to_string(WTERMSIG(status));
    events_.ended(*this, reboots ? NodeEnd::kReboot : NodeEnd::kDied, how);
}

// A line that a host says goes into its log, which begins anew when it gets long.
void Node::log(const std::string &line) {
    last_words_.push_back(line);
    if (last_words_.size() > kLastWords) {
        last_words_.pop_front();
    }
    log_size_ += line.size() + 1;
    if (log_size_ > kMaxLog) {
        log_.close();
        log_.open(folder_ + "/host.log", std::ios::trunc);
        log_size_ = line.size() + 1;
    }
    log_ << line << std::endl;
    events_.said(*this, line);
}

// --- the link to the host ---

void Node::listen() {
    acceptor_ = asio::local::stream_protocol::acceptor(io_, folder_ + "/run/lab.sock");
    acceptor_.async_accept([this](const asio::error_code &error, LineLink::Socket socket) {
        if (error) {
            return;  // the host ends when its link does
        }
        link_ = std::make_shared<LineLink>(std::move(socket));
        link_->open([this](const std::string &line) { hear(line); }, [] {});
        update();
    });
}

void Node::update() {
    if (!link_) {
        return;
    }
    std::string description = events_.description_for(*this);
    if (description != last_description_) {
        link_->send(description);
        last_description_ = std::move(description);
    }
}

void Node::tick(unsigned cycle) {
    if (is_ready_) {
        is_busy_ = true;
        update();
        link_->send(R"({"tick": )" + std::to_string(cycle) + "}");
    }
}

void Node::hear(const std::string &line) {
    HostLine said;
    try {
        said = read_host_line(line);
    } catch (const Error &error) {
        log(std::string("the mesh did not understand what it was told: ") + error.what());
        return;
    }
    if (said.cycle) {
        said.cycle->files = files_->read();
        is_busy_ = false;
        events_.cycle_done(*this, *said.cycle);
    } else if (said.switched) {
        events_.switched(*this, said.switched->instance, said.switched->enabled);
    } else {
        is_ready_ = true;
        events_.ready(*this);
    }
}

void Node::write_leases(const std::string &text) const {
    const std::string path = folder_ + "/dnsmasq/dnsmasq.leases";
    if (text.empty()) {
        fs::remove(path);
        return;
    }
    std::ofstream(path + ".new") << text;
    fs::rename(path + ".new", path);
}

// --- the multi-AP daemon's side ---

void Node::start_daemon() {
    server_ = std::make_unique<ControlServer>(folder_ + "/tmp/mapd_ctrl", *this);
    requests_.assign(dup(server_->fd()));
    serve_requests();
}

void Node::stop_daemon() {
    asio::error_code ignored;
    (void)requests_.close(ignored);
    server_.reset();
    retry_.cancel();
    events_to_send_.clear();
}

void Node::serve_requests() {
    requests_.async_wait(asio::posix::descriptor_base::wait_read, [this](const asio::error_code &error) {
        if (!error && server_) {
            server_->serve_once(0);
            serve_requests();
        }
    });
}

bool Node::dump_topology() {
    std::ofstream file(folder_ + "/tmp/dump.txt", std::ios::binary | std::ios::trunc);
    file << events_.dump_for(*this);
    file.close();
    return !file.fail();
}

void Node::send_higher_layer_data(const std::string &destination, std::uint8_t /*protocol*/,
                                  const std::string &payload) {
    events_.transmit(*this, lower_case(destination), payload);
}

// "2 1 STATION BSSID" puts a station on the list, "2 0 0 STATION BSSID" takes it off.
void Node::block_acl(const std::vector<std::string> &words) {
    if (words.size() == 4 && words[0] == "2" && words[1] == "1") {
        events_.block(*this, lower_case(words[2]), true);
    } else if (words.size() == 5 && words[0] == "2" && words[1] == "0" && words[2] == "0") {
        events_.block(*this, lower_case(words[3]), false);
    }
}

bool Node::deliver(const std::string &payload) {
    if (!server_ || events_to_send_.size() >= kMaxEventsToSend) {
        return false;
    }
    const std::string event = encode_higher_layer_event(kProtocol, payload);
    const Delivery delivery = events_to_send_.empty() ? server_->broadcast(event) : Delivery::kBusy;
    if (delivery == Delivery::kDone) {
        events_.delivered(*this, true);
    }
    if (delivery == Delivery::kBusy) {
        events_to_send_.push_back(event);
        if (events_to_send_.size() == 1) {
            flush_events();
        }
    }
    return delivery != Delivery::kNobody;
}

void Node::flush_events() {
    retry_.expires_after(kRetry);
    retry_.async_wait([this](const asio::error_code &error) {
        if (error || !server_) {
            return;
        }
        while (!events_to_send_.empty()) {
            const Delivery delivery = server_->broadcast(events_to_send_.front());
            if (delivery == Delivery::kBusy) {
                flush_events();
                return;
            }
            events_to_send_.pop_front();
            events_.delivered(*this, delivery == Delivery::kDone);
        }
    });
}

}  // namespace lab
