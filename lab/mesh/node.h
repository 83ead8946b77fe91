// One device of the mesh as it runs: its sandbox with the host in it, the link to the host, and the multi-AP daemon's
// side with the control socket in the sandbox. Knows nothing of the world; what happens goes to its NodeEvents.
#pragma once

#include <deque>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "lab/common/summary.h"
#include "lab/mapd/control_server.h"
#include "lab/mesh/line_link.h"
#include "lab/mesh/process.h"

namespace lab {

class Node;

// What is known of a cycle that a host has run: what it tells of itself, and what it wrote.
struct CycleReport {
    unsigned cycle = 0;
    long resident_kb = 0;
    long heap_bytes = 0;
    int descriptors = 0;
    int threads = 0;
    CycleSummary files;
};

enum class NodeEnd { kReboot, kDied };

class NodeEvents {
public:
    virtual ~NodeEvents() = default;
    virtual std::string dump_for(Node &node) = 0;
    virtual std::string description_for(Node &node) = 0;  // JSON on one line
    virtual void transmit(Node &node, const std::string &al_mac, const std::string &payload) = 0;
    virtual void block(Node &node, const std::string &mac, bool blocked) = 0;
    virtual void switched(Node &node, int instance, bool enabled) = 0;
    virtual void ready(Node &node) = 0;  // its host has loaded the module
    virtual void cycle_done(Node &node, const CycleReport &report) = 0;
    virtual void ended(Node &node, NodeEnd end, const std::string &how) = 0;
    virtual void delivered(Node &node, bool arrived) = 0;        // a message to the module; false when nobody took it
    virtual void said(Node &node, const std::string &line) = 0;  // the host or its module, on standard output
};

// What all nodes of a lab have in common.
struct NodeSetup {
    std::string project;  // with lab/sandbox.sh
    std::string build;    // with the programs and the module
    std::string folder;   // of the lab; a node's is FOLDER/devices/NAME
    int log_level = 0;
};

class Node : public ControlService {
public:
    Node(asio::io_context &io, NodeEvents &events, const NodeSetup &setup, std::size_t index, std::string name);
    ~Node() override;

    std::size_t index() const { return index_; }
    const std::string &name() const { return name_; }
    const std::string &folder() const { return folder_; }
    bool is_running() const { return process_ != nullptr; }
    bool is_ready() const { return is_ready_; }
    bool has_daemon() const { return server_ != nullptr; }

    // The last lines that it said.
    const std::deque<std::string> &last_words() const { return last_words_; }

    // With empty folders, as a device whose memory forgets. Throws Error.
    void start();
    void stop();

    void start_daemon();
    void stop_daemon();

    // The host knows itself as it is now.
    void update();

    // Lets a cycle pass, if it is idle; one that is not up stays so.
    void tick(unsigned cycle);

    // It is in no cycle.
    bool is_idle() const { return !is_busy_; }

    // Hands a message to the module, now or when there is room; false when nobody listens.
    bool deliver(const std::string &payload);

    void write_leases(const std::string &text) const;

    // After a signal that a child has ended.
    void look_for_end();

private:
    bool dump_topology() override;
    void send_higher_layer_data(const std::string &destination, std::uint8_t protocol,
                                const std::string &payload) override;
    void block_acl(const std::vector<std::string> &words) override;

    void listen();
    void hear(const std::string &line);
    void log(const std::string &line);
    void serve_requests();
    void flush_events();

    asio::io_context &io_;
    NodeEvents &events_;
    const NodeSetup &setup_;
    std::size_t index_;
    std::string name_;
    std::string folder_;

    std::unique_ptr<Process> process_;
    std::unique_ptr<FileReader> files_;
    asio::local::stream_protocol::acceptor acceptor_;
    std::shared_ptr<LineLink> link_;
    std::string last_description_;
    bool is_ready_ = false;
    bool is_busy_ = false;

    std::unique_ptr<ControlServer> server_;
    asio::posix::stream_descriptor requests_;
    std::deque<std::string> events_to_send_;
    asio::steady_timer retry_;

    std::ofstream log_;
    std::size_t log_size_ = 0;
    std::deque<std::string> last_words_;
};

}  // namespace lab
