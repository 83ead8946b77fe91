#include "lab/mesh/mesh.h"

#include <algorithm>
#include <cstring>

#include "lab/common/error.h"
#include "lab/common/text.h"
#include "lab/world/views.h"

namespace lab {
namespace {

using namespace std::chrono_literals;

constexpr double kCycleSeconds = 20;
constexpr auto kShortestCycle = 10ms;  // where nobody is up and nothing takes any time
constexpr auto kStartTime = 60s;       // for all hosts
constexpr auto kLastCycleTime = 60s;
constexpr auto kDaemonRestart = 1s;
constexpr unsigned kRebootCycles = 3;

std::string devices_and_stations(const World &world) {
    return plural(static_cast<long>(world.size()), "device") + ", " +
           plural(static_cast<long>(world.scenario().stations.size()), "station");
}

}  // namespace

Mesh::Mesh(asio::io_context &io, Scenario scenario, NodeSetup setup, MeshOptions options)
    : io_(io),
      options_(std::move(options)),
      setup_(std::move(setup)),
      world_(std::move(scenario)),
      air_(world_, [this](std::size_t to, const std::string &payload) { return nodes_[to]->deliver(payload); }),
      counts_(world_.size()),
      back_in_(world_.size(), 0),
      next_cycle_(io),
      deadline_(io) {
    NodeEvents &events = *this;
    for (std::size_t i = 0; i < world_.size(); ++i) {
        nodes_.push_back(std::make_unique<Node>(io, events, setup_, i, world_.at_start(i).name));
        daemon_timers_.push_back(std::make_unique<asio::steady_timer>(io));
    }
    if (options_.still) {
        world_.stand_still();
    }
}

Mesh::~Mesh() = default;

// --- start ---

void Mesh::start() {
    screen_.heading(options_.scenario + ": " + devices_and_stations(world_) + "; " + pace() + "; Ctrl-C ends it");
    screen_.heading("everything is in " + setup_.folder + "; from another terminal: ./dev lab --help");
    const auto lost = static_cast<long>(devices_with_long_reports(world_).size());
    if (lost != 0) {
        screen_.heading(plural(lost, "device") + " with so many stations that their reports are longer than the " +
                        std::to_string(kMaxMessage) + " bytes the air carries: they get lost");
    }
    for (std::size_t i = 0; i < world_.size(); ++i) {
        start_node(i);
    }
    deadline_.expires_after(kStartTime);
    deadline_.async_wait([this](const asio::error_code &error) {
        if (!error && !clock_) {
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

void Mesh::start_rebooted() {
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (back_in_[i] != 0 && back_in_[i] <= world_.cycle()) {
            back_in_[i] = 0;
            world_.set_up(i, true);
            start_node(i);
        }
    }
}

void Mesh::ready(Node &node) {
    if (clock_) {
        screen_.happening(node.name(), "is up");
    } else {
        const auto up = std::count_if(nodes_.begin(), nodes_.end(), [](const auto &item) { return item->is_ready(); });
        screen_.progress("starting: " + std::to_string(up) + " of " + std::to_string(nodes_.size()));
    }
    go_on();
}

// --- cycles ---

std::string Mesh::pace() const {
    if (!options_.speed) {
        return "a cycle as soon as all have done the last";
    }
    return "a cycle every " + short_number(kCycleSeconds / *options_.speed) + " s, " + short_number(*options_.speed) +
           " times real speed";
}

// After anything that others may have been waiting for.
void Mesh::go_on() {
    if (clock_) {
        clock_->look();
        end_if_over();
        wait_for_next_cycle();
        return;
    }
    const bool all = std::all_of(nodes_.begin(), nodes_.end(),
                                 [](const auto &item) { return item->is_ready() || !item->is_running(); });
    if (all) {
        deadline_.cancel();
        ClockedDevices &devices = *this;
        clock_.emplace(devices, options_.cycles);
        next_cycle_.expires_after(0s);
        wait_for_next_cycle();
    }
}

// At a speed the next cycle begins a period after this one; without, when all have done this one.
void Mesh::wait_for_next_cycle() {
    if (is_next_due_ || clock_->is_last() || (!options_.speed && !clock_->all_done())) {
        return;
    }
    const auto period = options_.speed ? std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                             std::chrono::duration<double>(kCycleSeconds / *options_.speed))
                                       : kShortestCycle;
    next_cycle_.expires_at(std::max(next_cycle_.expiry() + period, std::chrono::steady_clock::now()));
    is_next_due_ = true;
    next_cycle_.async_wait([this](const asio::error_code &error) {
        if (!error) {
            is_next_due_ = false;
            next_cycle();
        }
    });
}

void Mesh::next_cycle() {
    clock_->begin_cycle();
    tell_if_behind();
    if (clock_->is_last()) {
        wait_for_last_cycle();
    }
    wait_for_next_cycle();
}

void Mesh::begin_cycle() {
    screen_.changes(world_, world_.step());
    start_rebooted();
    publish();
}

void Mesh::tell_if_behind() {
    if (options_.speed && clock_->behind() == kNoticeablyBehind) {
        screen_.trouble("this machine", "does not keep up: " + std::to_string(kNoticeablyBehind) +
                                            " cycles in a row began before the last was done, and devices skip "
                                            "some; a smaller --speed helps, or --speed max, which waits for all");
    }
}

void Mesh::wait_for_last_cycle() {
    deadline_.expires_after(kLastCycleTime);
    deadline_.async_wait([this](const asio::error_code &error) {
        if (!error) {
            end_without_the_last();
        }
    });
    end_if_over();
}

// Devices that are down have nothing to wait for.
void Mesh::end_if_over() {
    if (clock_->is_last() && clock_->all_done() && status_ < 0) {
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

// Once for each server: the Controller has it, and that may become another.
void Mesh::tell_page(const Node &node) {
    const std::string url = rest_url(node);
    if (!url.empty() && url != page_) {
        page_ = url;
        screen_.heading("open " + url + " for a picture of this mesh");
    }
}

void Mesh::cycle_done(Node &node, const CycleReport &report) {
    Count &count = counts_[node.index()];
    ++count.cycles;
    count.last = report;
    screen_.cycle(world_, node.index(), report);
    tell_page(node);
    if (screen_.error() != 0) {
        throw Error(std::string("standard output cannot be written: ") + std::strerror(screen_.error()));
    }
    if (!screen_.is_open()) {
        io_.stop();
    }
    go_on();
}

// --- ends ---

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
        back_in_[node.index()] = world_.cycle() + kRebootCycles;
    } else {
        some_died_ = true;
        screen_.trouble(node.name(), "DIED " + how + "; the last it said:");
        for (const std::string &line : node.last_words()) {
            screen_.trouble(node.name(), "| " + line);
        }
    }
    publish();
    if (!clock_ && end == NodeEnd::kDied) {
        throw Error(node.name() + ": its host did not start");
    }
    go_on();
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

void Mesh::transmit(Node &node, const std::string &al_mac, const std::string &payload) {
    air_.transmit(node.index(), al_mac, payload);
}

void Mesh::delivered(Node &node, bool arrived) { air_.delivered(node.index(), arrived); }

void Mesh::block(Node &node, const std::string &mac, bool blocked) {
    world_.block(node.index(), mac, blocked);
    screen_.happening(node.name(), (blocked ? "blocks " : "unblocks ") + world_.name_of(mac));
    publish();
}

void Mesh::switched(Node &node, int instance, bool enabled) {
    for (const Radio &radio : world_.at_start(node.index()).radios) {
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
        for (const DeviceAtStart &item : world_.scenario().devices) {
            names += (names.empty() ? "" : ", ") + item.name;
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
    const bool is_json = nlohmann::json::accept(payload);
    return "delivered to " + device + (is_json ? "" : ", though it is no JSON");
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
        done += ", and " + world_.at_start(*before).name + " an Agent";
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
    back_in_[place] = 0;
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
    back_in_[place] = 0;
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

// The Controller tells every Agent the state of its own interfaces in every cycle.
std::string Mesh::who_undoes(std::size_t device, const std::string &interface, bool enabled) const {
    const auto controller = world_.controller();
    if (!controller || *controller == device || !world_.now(*controller).up) {
        return "";
    }
    for (const Radio &radio : world_.at_start(*controller).radios) {
        for (const Bss &bss : radio.bss) {
            const bool is_on = world_.now(*controller).disabled.count(interface) == 0;
            if (bss.interface == interface && is_on != enabled) {
                const std::string &name = world_.at_start(*controller).name;
                return std::string("; its Controller, whose own ")
                    .append(interface)
                    .append(is_on ? " is on" : " is off")
                    .append(", undoes that within a cycle: wifi ")
                    .append(name)
                    .append(" ")
                    .append(interface)
                    .append(" switches all");
            }
        }
    }
    return "";
}

std::string Mesh::switch_wifi(const std::string &device, const std::string &interface, bool enabled) {
    const std::size_t place = place_of(device);
    std::string names;
    for (const Radio &radio : world_.at_start(place).radios) {
        for (const Bss &bss : radio.bss) {
            if (bss.interface == interface) {
                world_.set_enabled(place, interface, enabled);
                publish();
                const std::string done = "switches " + interface + (enabled ? " on" : " off");
                screen_.happening(device, done);
                return std::string(device).append(" ").append(done) + who_undoes(place, interface, enabled);
            }
            names += (names.empty() ? "" : ", ") + bss.interface;
        }
    }
    throw Error(device + " has no \"" + interface + "\"; it has: " + names);
}

std::size_t Mesh::station_of(const std::string &name) const {
    const std::vector<std::size_t> found = world_.find_stations(name);
    if (found.empty()) {
        throw Error("there is no station \"" + name + "\"; ./dev lab stations lists them");
    }
    if (found.size() > 1) {
        std::string macs;
        for (const std::size_t station : found) {
            macs += ' ' + world_.station(station).mac;
        }
        throw Error(name + " is the name of several stations, choose one by its MAC:" + macs);
    }
    return found[0];
}

std::string Mesh::move(const std::string &station, const std::string &device) {
    const std::size_t to = place_of(device);
    const std::size_t who = station_of(station);
    const std::string name = world_.station_name(who);
    world_.move(who, to);
    publish();
    const auto place = world_.bss_of(who);
    if (!place) {
        return name + " is at " + device + ", but cannot connect there";
    }
    screen_.happening(name, "moves to " + device);
    return name + " is on " + device + ' ' + world_.bss(to, *place).interface;
}

}  // namespace lab
