#include "lab/host/change_log.h"

#include <algorithm>
#include <iterator>

namespace lab {
namespace {

constexpr std::uint32_t kNewNeighbor = 0;
constexpr std::uint32_t kLostNeighbor = 1;
constexpr std::uint32_t kSpeaks1905 = 0;
constexpr std::uint32_t kSpeaksNo1905 = 1;
constexpr std::size_t kCapacity = QO1905_CHANGE_LOG_CAPACITY;

}  // namespace

ChangeLog::Mac ChangeLog::mac_of(const std::uint8_t (&bytes)[6]) {
    Mac mac;
    std::copy(std::begin(bytes), std::end(bytes), mac.begin());
    return mac;
}

void ChangeLog::update(qo1905_network_topology &network, std::uint32_t now) {
    Neighbourhood neighbourhood = read(network);
    if (before_) {
        compare(neighbourhood, now);
    }
    before_ = std::move(neighbourhood);
    network.MaxChangeLogEntries = kCapacity;
    network.ChangeLogNumberOfEntries = static_cast<std::uint16_t>(entries_.size());
    network.LastChange = static_cast<std::int16_t>(last_);
    std::copy(entries_.begin(), entries_.end(), std::begin(network.ChangeLog));
}

ChangeLog::Neighbourhood ChangeLog::read(const qo1905_network_topology &network) {
    Neighbourhood neighbourhood;
    for (const qo1905_device *device = network.IEEE1905Device; device != nullptr; device = device->next) {
        read(*device, neighbourhood);
    }
    return neighbourhood;
}

// Neighbours whose MAC the dump does not tell stand in the table as zeros: nobody.
void ChangeLog::read(const qo1905_device &device, Neighbourhood &neighbourhood) {
    const Mac reporter = mac_of(device.IEEE1905Id);
    neighbourhood.devices.insert(reporter);
    const auto add = [&](const Mac &interface, std::uint32_t type, const Mac &id) {
        if (id != Mac{}) {
            neighbourhood.neighbours.insert({reporter, interface, type, id});
        }
    };
    for (const qo1905_1905_group *group = device.IEEE1905Neighbor; group != nullptr; group = group->next) {
        for (const auto *neighbour = group->Neighbor; neighbour != nullptr; neighbour = neighbour->next) {
            add(mac_of(group->LocalInterface), kSpeaks1905, mac_of(neighbour->NeighborDeviceId));
        }
    }
    for (const qo1905_non1905_group *group = device.NonIEEE1905Neighbor; group != nullptr; group = group->next) {
        for (const auto *neighbour = group->Neighbor; neighbour != nullptr; neighbour = neighbour->next) {
            add(mac_of(group->LocalInterface), kSpeaksNo1905, mac_of(neighbour->NeighborInterfaceId));
        }
    }
}

// What was lost comes before what is new: so a station that roamed reads. A device that is gone loses nobody; it is
// lost to those that had it.
void ChangeLog::compare(const Neighbourhood &now, std::uint32_t time) {
    std::vector<Neighbour> lost, found;
    const auto &before = before_->neighbours;
    std::set_difference(before.begin(), before.end(), now.neighbours.begin(), now.neighbours.end(),
                        std::back_inserter(lost));
    std::set_difference(now.neighbours.begin(), now.neighbours.end(), before.begin(), before.end(),
                        std::back_inserter(found));
    for (const Neighbour &neighbour : lost) {
        if (now.devices.count(neighbour.device) != 0) {
            add(neighbour, kLostNeighbor, time);
        }
    }
    for (const Neighbour &neighbour : found) {
        add(neighbour, kNewNeighbor, time);
    }
}

// Into the next place; when all are taken, into that of the oldest.
void ChangeLog::add(const Neighbour &neighbour, std::uint32_t event, std::uint32_t time) {
    qo1905_change_log_entry entry = {};
    entry.TimeStamp = time;
    entry.EventType = event;
    std::copy(neighbour.device.begin(), neighbour.device.end(), std::begin(entry.ReporterDeviceId));
    std::copy(neighbour.interface.begin(), neighbour.interface.end(), std::begin(entry.ReporterInterfaceId));
    entry.NeighborType = neighbour.type;
    std::copy(neighbour.id.begin(), neighbour.id.end(), std::begin(entry.NeighborId));
    const std::size_t place = last_ % kCapacity;
    if (place == entries_.size()) {
        entries_.push_back(entry);
    } else {
        entries_[place] = entry;
    }
    last_ = place + 1;
}

}  // namespace lab
