// A whole mesh as it runs: the world, a node per device, the clock that lets cycles pass, the air between the nodes,
// and the orders that people give.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/mesh/node.h"
#include "lab/mesh/screen.h"
#include "lab/mesh/world.h"

namespace lab {

struct MeshOptions {
    std::string scenario;  // as it is called on the screen
    unsigned cycles = 0;   // 0: for ever
    double speed = 20;     // times real time
    bool still = false;
    bool trace = false;  // what the modules print goes to the screen, too
};

// Why a message did not arrive.
enum class Loss { kTooLong, kUnknown, kOutOfReach, kNoListener };
constexpr std::size_t kLosses = 4;

struct Traffic {
    unsigned long sent = 0;
    unsigned long received = 0;
    unsigned long lost[kLosses] = {};  // of those sent

    unsigned long lost_in_all() const;
};

// Three digits of a small one, "0.333"; all of a large one.
std::string short_number(double value);

class Mesh : private NodeEvents {
public:
    Mesh(asio::io_context &io, Scenario scenario, NodeSetup setup, MeshOptions options);
    ~Mesh() override;

    // Starts all devices and then the clock.
    void start();

    // 0 after all cycles, 1 when a host died on the way; -1 while it runs.
    int status() const { return status_; }

    // After SIGCHLD.
    void look_for_ends();

    // --- what people order; an Error says why it cannot be done. The text tells what was done ---

    std::string send(const std::string &device, const std::string &payload);
    std::string set_role(const std::string &device, Role role);
    std::string take_down(const std::string &device);
    std::string bring_up(const std::string &device);
    std::string restart_daemon(const std::string &device);
    std::string switch_wifi(const std::string &device, const std::string &interface, bool enabled);
    std::string move(const std::string &station, const std::string &device);

    // "status": a table for people, "data": the same and the whole world.
    std::string status_table() const;
    nlohmann::ordered_json status_data() const;
    const Node &node(const std::string &device) const;

private:
    std::string status_row(std::size_t device) const;
    std::size_t stations_on(std::size_t device) const;

    struct Count {
        Traffic traffic;
        unsigned cycles = 0;
        unsigned starts = 0;
        CycleReport last;
    };

    std::string dump_for(Node &node) override;
    std::string description_for(Node &node) override;
    void transmit(Node &node, const std::string &al_mac, const std::string &payload) override;
    void block(Node &node, const std::string &mac, bool blocked) override;
    void switched(Node &node, int instance, bool enabled) override;
    void ready(Node &node) override;
    void cycle_done(Node &node, const CycleReport &report) override;
    void ended(Node &node, NodeEnd end, const std::string &how) override;
    void delivered(Node &node, bool arrived) override;
    void said(Node &node, const std::string &line) override;

    void go_on();
    void start_node(std::size_t device);
    void start_node_later(std::size_t device);
    void start_clock();
    void tick();
    void tick_controller();
    void end_after_last_cycle();
    void end_without_the_last();
    void publish();
    void lose(Node &node, Loss loss);
    std::size_t place_of(const std::string &device) const;
    Node &node_of(const std::string &device);
    std::string rest_url(const Node &node) const;
    std::chrono::steady_clock::duration period() const;

    asio::io_context &io_;
    MeshOptions options_;
    NodeSetup setup_;
    World world_;
    Screen screen_;
    std::vector<std::unique_ptr<Node>> nodes_;
    std::vector<Count> counts_;
    std::vector<std::unique_ptr<asio::steady_timer>> timers_;  // a device's restart
    std::vector<std::unique_ptr<asio::steady_timer>> daemon_timers_;
    asio::steady_timer clock_;
    asio::steady_timer deadline_;  // of the start, later of the last cycle
    bool clock_runs_ = false;
    bool controller_waits_ = false;  // for its Agents to have done the cycle
    bool some_died_ = false;
    int status_ = -1;
};

}  // namespace lab
