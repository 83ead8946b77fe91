// A whole mesh as it runs: the world, a node per device, and the orders that people give. When cycles pass is the
// clock's, how messages travel the air's.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "lab/mesh/air.h"
#include "lab/mesh/clock.h"
#include "lab/mesh/node.h"
#include "lab/mesh/screen.h"
#include "lab/world/world.h"

namespace lab {

struct MeshOptions {
    std::string scenario;              // as it is called on the screen
    unsigned cycles = 0;               // 0: for ever
    std::optional<double> speed = 20;  // times real time; none: the next cycle begins when all have done the last
    bool still = false;
    bool trace = false;  // what the modules print goes to the screen, too
};

class Mesh : private NodeEvents, private ClockedDevices {
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
    std::string move(const std::string &station, const std::string &device);  // a name or a MAC

    // "status" and "stations": tables for people; "data": the same and the whole world.
    std::string status_table() const;
    std::string station_table() const;
    nlohmann::ordered_json status_data() const;
    const Node &node(const std::string &device) const;

private:
    struct Count {
        unsigned cycles = 0;
        unsigned starts = 0;
        CycleReport last;
    };

    std::size_t count() const override { return nodes_.size(); }
    std::optional<std::size_t> controller() const override { return world_.controller(); }
    bool is_idle(std::size_t device) const override { return nodes_[device]->is_idle(); }
    void begin_cycle() override;
    void tick(std::size_t device, unsigned cycle) override { nodes_[device]->tick(cycle); }

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

    void start_node(std::size_t device);
    void start_rebooted();
    void go_on();
    void next_cycle();
    void wait_for_next_cycle();
    void wait_for_last_cycle();
    void end_if_over();
    void end_without_the_last();
    void tell_if_behind();
    void tell_page(const Node &node);
    void publish();
    std::size_t place_of(const std::string &device) const;
    std::size_t station_of(const std::string &name) const;
    std::string who_undoes(std::size_t device, const std::string &interface, bool enabled) const;
    Node &node_of(const std::string &device);
    std::string pace() const;
    std::string status_row(std::size_t device) const;
    std::size_t stations_on(std::size_t device) const;
    std::string rest_url(const Node &node) const;

    asio::io_context &io_;
    MeshOptions options_;
    NodeSetup setup_;
    World world_;
    Air air_;
    Screen screen_;
    std::vector<std::unique_ptr<Node>> nodes_;
    std::optional<Clock> clock_;  // once all have started
    std::vector<Count> counts_;
    std::vector<unsigned> back_in_;  // the cycle in which a device that reboots is back; 0: it does not
    std::vector<std::unique_ptr<asio::steady_timer>> daemon_timers_;
    asio::steady_timer next_cycle_;
    asio::steady_timer deadline_;  // of the start, later of the last cycle
    bool is_next_due_ = false;     // next_cycle_ runs
    bool some_died_ = false;
    int status_ = -1;
    std::string page_;  // the address that was told last
};

}  // namespace lab
