#include "lab/mesh/mesh.h"

#include <algorithm>

#include "lab/common/error.h"
#include "lab/common/text.h"
#include "lab/mesh/views.h"

namespace lab {
namespace {

using namespace std::chrono_literals;

constexpr unsigned kCycleUnits = 20;
constexpr std::size_t kMaxMessage = 1000;
constexpr auto kStartTime = 60s;  // for all hosts
constexpr auto kLastCycleTime = 60s;
constexpr auto kDaemonRestart = 1s;
constexpr unsigned kRebootCycles = 3;
constexpr auto kShortestReboot = 1s;

}  // namespace

Mesh::Mesh(asio::io_context &io, Scenario scenario, NodeSetup setup, MeshOptions options)
    : io_(io),
      options_(std::move(options)),
      setup_(std::move(setup)),
      world_(std::move(scenario)),
      counts_(world_.size()),
      clock_(io),
      deadline_(io) {
    NodeEvents &events = *this;
    for (std::size_t i = 0; i < world_.size(); ++i) {
        nodes_.push_back(std::make_unique<Node>(io, events, setup_, i, world_.spec(i).name));
        timers_.push_back(std::make_unique<asio::steady_timer>(io));
        daemon_timers_.push_back(std::make_unique<asio::steady_timer>(io));
    }
    if (options_.still) {
        world_.stand_still();
    }
}

Mesh::~Mesh() = default;

std::chrono::steady_clock::duration Mesh::period() const {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(kCycleUnits / options_.speed));
}

// --- start, clock, end ---

void Mesh::start() {
    screen_.heading(options_.scenario + ": " + std::to_string(world_.size()) + " devices, " +
                    std::to_string(world_.scenario().stations.size()) + " stations; a cycle every " +
                    short_number(kCycleUnits / options_.speed) + " s, " + short_number(options_.speed) +
                    " times real speed; Ctrl-C ends it");
    screen_.heading("everything is in " + setup_.folder + "; from another terminal: ./dev lab --help");
    for (std::size_t i = 0; i < world_.size(); ++i) {
        start_node(i);
    }
    deadline_.expires_after(kStartTime);
    deadline_.async_wait([this](const asio::error_code &error) {
        if (!error && !clock_runs_) {
            throw Error("not all hosts have started within a minute");
        }
    });
}

// One that cannot be started is down, and that is told; the others go on.
void Mesh::start_node(std::size_t device) {
    ++counts_[device].starts;
    try {
        nodes_[device]->start();
    } catch (const std::exception &error) {
        nodes_[device]->stop();
        world_.set_up(device, false);
        some_died_ = true;
        screen_.trouble(nodes_[device]->name(), std::string("cannot be started: ") + error.what());
    }
    publish();
}

void Mesh::ready(Node &node) {
    if (clock_runs_) {
        screen_.happening(node.name(), "is up");
    }
    go_on();
}

// After anything that others may have been waiting for.
void Mesh::go_on() {
    if (clock_runs_) {
        tick_controller();
        end_after_last_cycle();
        return;
    }
    const bool all = std::all_of(nodes_.begin(), nodes_.end(),
                                 [](const auto &item) { return item->is_ready() || !item->is_running(); });
    if (all) {
        start_clock();
    }
}

void Mesh::start_clock() {
    clock_runs_ = true;
    deadline_.cancel();
    clock_.expires_after(period());
    clock_.async_wait([this](const asio::error_code &error) {
        if (!error) {
            tick();
        }
    });
}

void Mesh::tick() {
    screen_.changes(world_, world_.step());
    publish();
    const auto controller = world_.controller();
    if (controller_waits_ && controller) {  // an Agent hangs
        nodes_[*controller]->tick(world_.cycle() - 1);
    }
    for (const auto &node : nodes_) {
        if (controller != node->index()) {
            node->tick(world_.cycle());
        }
    }
    controller_waits_ = controller.has_value();
    tick_controller();
    if (options_.cycles != 0 && world_.cycle() >= options_.cycles) {
        deadline_.expires_after(kLastCycleTime);
        deadline_.async_wait([this](const asio::error_code &error) {
            if (!error) {
                end_without_the_last();
            }
        });
        end_after_last_cycle();
        return;
    }
    clock_.expires_at(std::max(clock_.expiry() + period(), std::chrono::steady_clock::now()));
    clock_.async_wait([this](const asio::error_code &error) {
        if (!error) {
            tick();
        }
    });
}

// A Controller takes over what has been reported since its last cycle, and nothing older. If all devices went at the
// same moment it would be chance which Agents are in time; in the field they do not.
void Mesh::tick_controller() {
    const auto controller = world_.controller();
    const bool agents_done = std::all_of(
        nodes_.begin(), nodes_.end(), [&](const auto &node) { return controller == node->index() || node->is_idle(); });
    if (controller_waits_ && agents_done) {
        controller_waits_ = false;
        if (controller) {
            nodes_[*controller]->tick(world_.cycle());
        }
    }
}

// Devices that are down have none to wait for.
void Mesh::end_after_last_cycle() {
    if (options_.cycles == 0 || world_.cycle() < options_.cycles) {
        return;
    }
    const bool all_done = !controller_waits_ &&
                          std::all_of(nodes_.begin(), nodes_.end(), [](const auto &node) { return node->is_idle(); });
    if (all_done && status_ < 0) {
        status_ = some_died_ ? 1 : 0;
        io_.stop();
    }
}

void Mesh::end_without_the_last() {
    for (const auto &node : nodes_) {
        if (!node->is_idle()) {
            screen_.trouble(node->name(), "has not done its last cycle within a minute");
        }
    }
    status_ = 1;
    io_.stop();
}

void Mesh::cycle_done(Node &node, const CycleReport &report) {
    Count &count = counts_[node.index()];
    ++count.cycles;
    count.last = report;
    screen_.cycle(world_, node.index(), report);
    if (!screen_.is_open()) {
        io_.stop();
    }
    go_on();
}

void Mesh::look_for_ends() {
    Process::reap();
    for (const auto &node : nodes_) {
        node->look_for_end();
    }
}

void Mesh::ended(Node &node, NodeEnd end, const std::string &how) {
    world_.set_up(node.index(), false);
    if (end == NodeEnd::kReboot) {
        screen_.happening(node.name(), "reboots");
        start_node_later(node.index());
    } else {
        some_died_ = true;
        screen_.trouble(node.name(), "DIED " + how + "; the last it said:");
        for (const std::string &line : node.last_words()) {
            screen_.trouble(node.name(), "| " + line);
        }
    }
    publish();
    if (!clock_runs_ && end == NodeEnd::kDied) {
        throw Error(node.name() + ": its host did not start");
    }
    go_on();
}

void Mesh::start_node_later(std::size_t device) {
    const auto delay = std::max<std::chrono::steady_clock::duration>(kRebootCycles * period(), kShortestReboot);
    timers_[device]->expires_after(delay);
    timers_[device]->async_wait([this, device](const asio::error_code &error) {
        if (!error && !world_.now(device).up) {
            world_.set_up(device, true);
            start_node(device);
        }
    });
}

void Mesh::said(Node &node, const std::string &line) {
    if (options_.trace) {
        screen_.said(node.name(), line);
    }
}

// The world has changed: whoever has a part in it gets to know. The DHCP server is on the Controller.
void Mesh::publish() {
    const std::string text = leases(world_);
    for (const auto &node : nodes_) {
        if (node->is_running()) {
            node->update();
            node->write_leases(world_.now(node->index()).role == Role::kController ? text : "");
        }
    }
}

// --- what nodes ask and do ---

std::string Mesh::dump_for(Node &node) { return topology_dump(world_, node.index()); }

std::string Mesh::description_for(Node &node) { return device_description(world_, node.index()).dump(); }

void Mesh::lose(Node &node, Loss loss) { ++counts_[node.index()].traffic.lost[static_cast<std::size_t>(loss)]; }

void Mesh::transmit(Node &node, const std::string &al_mac, const std::string &payload) {
    ++counts_[node.index()].traffic.sent;
    const auto to = world_.find_al_mac(al_mac);
    if (payload.size() > kMaxMessage) {
        lose(node, Loss::kTooLong);
    } else if (!to) {
        lose(node, Loss::kUnknown);
    } else if (!world_.reaches(node.index(), *to)) {
        lose(node, Loss::kOutOfReach);
    } else if (!nodes_[*to]->deliver(payload)) {
        lose(node, Loss::kNoListener);
    }
}

void Mesh::delivered(Node &node, bool arrived) {
    if (arrived) {
        ++counts_[node.index()].traffic.received;
    } else {
        lose(node, Loss::kNoListener);  // whoever sent it believed that it had arrived
    }
}

void Mesh::block(Node &node, const std::string &mac, bool blocked) {
    world_.block(node.index(), mac, blocked);
    screen_.happening(node.name(), (blocked ? "blocks " : "unblocks ") + mac);
    publish();
}

void Mesh::switched(Node &node, int instance, bool enabled) {
    for (const Radio &radio : world_.spec(node.index()).radios) {
        for (const Bss &bss : radio.bss) {
            if (radio.instance(bss) == instance) {
                world_.set_enabled(node.index(), bss.interface, enabled);
                screen_.happening(node.name(), "switches " + bss.interface + (enabled ? " on" : " off"));
            }
        }
    }
    publish();
}

// --- orders ---

std::size_t Mesh::place_of(const std::string &device) const {
    const auto place = world_.find_device(device);
    if (!place) {
        std::string names;
        for (const DeviceSpec &spec : world_.scenario().devices) {
            names += (names.empty() ? "" : ", ") + spec.name;
        }
        throw Error("there is no device \"" + device + "\"; there are: " + names);
    }
    return *place;
}

Node &Mesh::node_of(const std::string &device) {
    Node &node = *nodes_[place_of(device)];
    if (!node.is_running()) {
        throw Error(device + " is down");
    }
    return node;
}

const Node &Mesh::node(const std::string &device) const { return *nodes_[place_of(device)]; }

std::string Mesh::send(const std::string &device, const std::string &payload) {
    Node &node = node_of(device);
    if (payload.size() > kMaxMessage) {
        throw Error("a payload of " + std::to_string(payload.size()) + " bytes: the air carries " +
                    std::to_string(kMaxMessage) + " at most");
    }
    if (!node.deliver(payload)) {
        throw Error(device + (node.is_ready() ? ": nobody listens there now" : " is starting"));
    }
    return "delivered to " + device;
}

std::string Mesh::set_role(const std::string &device, Role role) {
    const std::size_t place = place_of(device);
    const auto before = world_.controller();
    if (world_.now(place).role == role) {
        return device + " is that already";
    }
    world_.set_role(place, role);
    std::string done = device + (role == Role::kController ? " is the Controller now" : " is an Agent now");
    if (role == Role::kController && before) {
        done += ", and " + world_.spec(*before).name + " an Agent";
    }
    if (!world_.controller()) {
        done += "; the mesh has no Controller, and without one no device writes files";
    }
    screen_.heading(done);
    publish();
    return done;
}

std::string Mesh::take_down(const std::string &device) {
    const std::size_t place = place_of(device);
    timers_[place]->cancel();
    daemon_timers_[place]->cancel();
    if (!nodes_[place]->is_running()) {
        return device + " is down already";
    }
    nodes_[place]->stop();
    world_.set_up(place, false);
    screen_.happening(device, "is taken down");
    publish();
    go_on();
    return device + " is down";
}

std::string Mesh::bring_up(const std::string &device) {
    const std::size_t place = place_of(device);
    timers_[place]->cancel();
    if (nodes_[place]->is_running()) {
        return device + " is up already";
    }
    world_.set_up(place, true);
    start_node(place);
    if (!nodes_[place]->is_running()) {
        throw Error(device + " cannot be started");
    }
    return device + " starts";
}

std::string Mesh::restart_daemon(const std::string &device) {
    Node &node = node_of(device);
    node.stop_daemon();
    screen_.happening(device, "restarts its multi-AP daemon");
    asio::steady_timer &timer = *daemon_timers_[node.index()];
    timer.expires_after(kDaemonRestart);
    timer.async_wait([&node](const asio::error_code &error) {
        if (!error && node.is_running() && !node.has_daemon()) {
            node.start_daemon();
        }
    });
    return device + ": its multi-AP daemon is back in a second";
}

std::string Mesh::switch_wifi(const std::string &device, const std::string &interface, bool enabled) {
    const std::size_t place = place_of(device);
    std::string names;
    for (const Radio &radio : world_.spec(place).radios) {
        for (const Bss &bss : radio.bss) {
            if (bss.interface == interface) {
                world_.set_enabled(place, interface, enabled);
                publish();
                const std::string done = "switches " + interface + (enabled ? " on" : " off");
                screen_.happening(device, done);
                return std::string(device).append(" ").append(done);
            }
            names += (names.empty() ? "" : ", ") + bss.interface;
        }
    }
    throw Error(device + " has no \"" + interface + "\"; it has: " + names);
}

std::string Mesh::move(const std::string &station, const std::string &device) {
    const std::size_t to = place_of(device);
    const auto place = world_.find_station(lower_case(station));
    if (!place) {
        throw Error("there is no station \"" + station + "\"; ./dev lab status --json lists them");
    }
    world_.move(*place, to);
    publish();
    if (!world_.bss_of(*place)) {
        return station + " is at " + device + ", but cannot connect there";
    }
    screen_.happening(station, "moves to " + device);
    return station + " is on " + device + ' ' + world_.bss(to, *world_.bss_of(*place)).interface;
}

}  // namespace lab
