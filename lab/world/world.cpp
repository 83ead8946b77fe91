#include "lab/world/world.h"

#include <algorithm>

#include "lab/common/text.h"

namespace lab {
namespace {

constexpr int kRateLossPerDb = 2;  // percent

template <class Items, class Matches>
std::optional<std::size_t> find_place(const Items &items, Matches matches) {
    const auto found = std::find_if(items.begin(), items.end(), matches);
    if (found == items.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - items.begin());
}

void set_member(std::set<std::string> &names, const std::string &name, bool member) {
    if (member) {
        names.insert(name);
    } else {
        names.erase(name);
    }
}

}  // namespace

World::World(Scenario scenario) : scenario_(std::move(scenario)), random_(scenario_.seed) {
    for (const DeviceAtStart &device : scenario_.devices) {
        devices_.push_back({device.role, true, {}, {}});
    }
    for (const StationAtStart &station : scenario_.stations) {
        stations_.push_back({station.device, station.signal, false});
    }
}

std::optional<std::size_t> World::find_device(std::string_view name) const {
    return find_place(scenario_.devices, [=](const DeviceAtStart &device) { return device.name == name; });
}

std::optional<std::size_t> World::find_al_mac(std::string_view mac) const {
    return find_place(scenario_.devices, [=](const DeviceAtStart &device) { return device.al_mac == mac; });
}

std::vector<std::size_t> World::find_stations(const std::string &name) const {
    const std::string mac = lower_case(name);
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < stations_.size(); ++i) {
        if (station(i).mac == mac || station_name(i) == name) {
            found.push_back(i);
        }
    }
    return found;
}

std::string World::station_name(std::size_t station) const {
    const StationAtStart &start = scenario_.stations[station];
    return start.host_name == "*" ? start.mac : start.host_name;
}

std::string World::name_of(const std::string &mac) const {
    const auto found = find_place(scenario_.stations, [&](const StationAtStart &item) { return item.mac == mac; });
    return found ? station_name(*found) : mac;
}

std::optional<std::size_t> World::controller() const {
    return find_place(devices_, [](const DeviceNow &device) { return device.role == Role::kController; });
}

std::optional<BssPlace> World::first_bss(std::size_t device, Band band, bool backhaul) const {
    const std::vector<Radio> &radios = at_start(device).radios;
    const auto radio = find_place(radios, [=](const Radio &item) { return item.band() == band; });
    if (!radio) {
        return std::nullopt;
    }
    const auto found = find_place(radios[*radio].bss, [=](const Bss &item) { return item.backhaul == backhaul; });
    if (!found) {
        return std::nullopt;
    }
    return BssPlace{*radio, *found};
}

const Bss &World::bss(std::size_t device, BssPlace place) const {
    return at_start(device).radios[place.radio].bss[place.bss];
}

bool World::is_on(std::size_t device, BssPlace place) const {
    return now(device).up && now(device).disabled.count(bss(device, place).interface) == 0;
}

bool World::is_blocked(std::size_t station) const {
    return now(stations_[station].device).blocked.count(scenario_.stations[station].mac) != 0;
}

std::optional<BssPlace> World::bss_of(std::size_t station) const {
    const StationNow &state = stations_[station];
    const auto place = first_bss(state.device, scenario_.stations[station].band, false);
    if (!place || state.away || is_blocked(station) || !is_on(state.device, *place)) {
        return std::nullopt;
    }
    return place;
}

std::optional<BssPlace> World::uplink_bss(std::size_t device) const {
    const Backhaul &link = at_start(device).backhaul;
    if (!at_start(device).has_backhaul || link.over == Medium::kEthernet || !now(device).up) {
        return std::nullopt;
    }
    const auto place = first_bss(link.to, link.over == Medium::k5GHz ? Band::k5GHz : Band::k2_4GHz, true);
    return place && is_on(link.to, *place) ? place : std::nullopt;
}

bool World::is_linked(std::size_t device) const {
    if (!at_start(device).has_backhaul) {
        return false;
    }
    const Backhaul &link = at_start(device).backhaul;
    return now(device).up && now(link.to).up && (link.over == Medium::kEthernet || uplink_bss(device));
}

unsigned World::depth(std::size_t device) const {
    return at_start(device).has_backhaul ? 1 + depth(at_start(device).backhaul.to) : 0;
}

// Climbs from the deeper of the two until they meet.
bool World::reaches(std::size_t from, std::size_t to) const {
    if (!now(from).up || !now(to).up) {
        return false;
    }
    while (from != to) {
        std::size_t &deeper = depth(from) > depth(to) ? from : to;
        if (!is_linked(deeper)) {
            return false;
        }
        deeper = at_start(deeper).backhaul.to;
    }
    return true;
}

int World::rate(std::size_t station) const {
    const StationAtStart &at_first = scenario_.stations[station];
    const int percent = 100 + kRateLossPerDb * (stations_[station].signal - at_first.signal);
    return std::clamp(at_first.rate * percent / 100, 1, kMaxRate);
}

Changes World::step() {
    ++cycle_;
    Changes changes;
    for (std::size_t i = 0; i < stations_.size(); ++i) {
        live(i, changes);
    }
    return changes;
}

void World::live(std::size_t station, Changes &changes) {
    const auto drift_draw = static_cast<unsigned>(random_());
    const auto chance = static_cast<int>(random_() % 100);
    const auto roam_draw = static_cast<unsigned>(random_());
    if (still_ || scenario_.stations[station].stays || is_blocked(station)) {
        return;
    }
    const Pace &pace = scenario_.pace;
    StationNow &now = stations_[station];
    if (now.away) {
        if (chance < pace.come_back) {
            now.away = false;
            changes.came_back.push_back(station);
        }
    } else if (chance < pace.leave) {
        now.away = true;
        changes.left.push_back(station);
    } else if (chance < pace.leave + pace.roam) {
        if (roam(station, roam_draw)) {
            changes.roamed.push_back(station);
        }
    } else {
        drift(station, drift_draw);
    }
}

void World::drift(std::size_t station, unsigned draw) {
    const auto range = static_cast<unsigned>(2 * scenario_.pace.drift + 1);
    const int change = static_cast<int>(draw % range) - scenario_.pace.drift;
    int &signal = stations_[station].signal;
    signal = std::clamp(signal + change, kMinSignal, kMaxSignal);
}

// To a device that can be heard: one that is up and has the station's band. False when there is none.
bool World::roam(std::size_t station, unsigned draw) {
    std::vector<std::size_t> choice;
    for (std::size_t device = 0; device < size(); ++device) {
        const auto place = first_bss(device, scenario_.stations[station].band, false);
        if (device != stations_[station].device && place && is_on(device, *place)) {
            choice.push_back(device);
        }
    }
    if (choice.empty()) {
        return false;
    }
    move(station, choice[draw % choice.size()]);
    return true;
}

void World::move(std::size_t station, std::size_t device) {
    stations_[station].device = device;
    stations_[station].away = false;
}

void World::set_role(std::size_t device, Role role) {
    const auto before = controller();
    if (role == Role::kController && before) {
        devices_[*before].role = Role::kAgent;
    }
    devices_[device].role = role;
}

void World::set_up(std::size_t device, bool up) { devices_[device].up = up; }

void World::set_enabled(std::size_t device, const std::string &interface, bool enabled) {
    set_member(devices_[device].disabled, interface, !enabled);
}

void World::block(std::size_t device, const std::string &mac, bool blocked) {
    set_member(devices_[device].blocked, mac, blocked);
}

}  // namespace lab
