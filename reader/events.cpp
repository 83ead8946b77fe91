#include "reader/events.h"

#include <algorithm>

#include "reader/words.h"

namespace reader {
namespace {

// Walks two lists that are ordered by `key` at once: calls gone(old), come(new) or both(old, new).
template <class Item, class Gone, class Come, class Both>
void walk(const std::vector<Item> &before, const std::vector<Item> &after, Mac Item::*key, Gone gone, Come come,
          Both both) {
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && (*old).*key < (*now).*key)) {
            gone(*old++);
        } else if (old == before.end() || (*now).*key < (*old).*key) {
            come(*now++);
        } else {
            both(*old++, *now++);
        }
    }
}

class Comparison {
public:
    Comparison(const Snapshot &before, const Snapshot &after) : before_(before), after_(after) {}

    std::vector<Event> compare() {
        walk(
            before_.devices, after_.devices, &Device::al_mac,
            [this](const Device &old) { add_device(EventKind::kDown, old); },
            [this](const Device &now) { add_device(EventKind::kUp, now); },
            [this](const Device &old, const Device &now) { compare_devices(old, now); });
        walk(
            before_.stations, after_.stations, &Station::mac,
            [this](const Station &old) {
                if (knows_stations_of(after_, old.device)) {
                    add_station(EventKind::kLeave, old).from = whereabouts(before_, old);
                }
            },
            [this](const Station &now) {
                if (knows_stations_of(before_, now.device)) {
                    add_station(EventKind::kJoin, now).to = whereabouts(after_, now);
                }
            },
            [this](const Station &old, const Station &now) { compare_stations(old, now); });
        return std::move(events_);
    }

private:
    Event &add(EventKind kind, Mac mac, bool is_station, const std::optional<std::string> &name) {
        events_.push_back({kind, after_.time, mac, is_station, name, {}, {}, {}, {}});
        return events_.back();
    }

    // Of a value that both moments know.
    void add_change(EventKind kind, Mac mac, bool is_station, const std::optional<std::string> &name,
                    const std::optional<std::string> &old_value, const std::optional<std::string> &new_value) {
        if (old_value && new_value && *old_value != *new_value) {
            Event &event = add(kind, mac, is_station, name);
            event.old_value = old_value;
            event.new_value = new_value;
        }
    }

    // --- devices ---

    Event &add_device(EventKind kind, const Device &device) { return add(kind, device.al_mac, false, device.name); }

    template <class Value>
    static std::optional<std::string> in_words(const std::optional<Value> &value) {
        return value ? std::optional<std::string>(word(*value)) : std::nullopt;
    }
    static std::optional<std::string> in_words(const std::optional<Mac> &mac) {
        return mac ? std::optional(mac->text()) : std::nullopt;
    }

    void compare_devices(const Device &old, const Device &now) {
        const struct {
            EventKind kind;
            std::optional<std::string> old_value, new_value;
        } values[] = {
            {EventKind::kParent, in_words(old.parent), in_words(now.parent)},
            {EventKind::kMedium, in_words(old.medium), in_words(now.medium)},
            {EventKind::kRole, in_words(old.role), in_words(now.role)},
            {EventKind::kFirmware, old.firmware, now.firmware},
            {EventKind::kName, old.name, now.name},
            {EventKind::kAddress, old.address, now.address},
        };
        for (const auto &value : values) {
            add_change(value.kind, now.al_mac, false, now.name, value.old_value, value.new_value);
        }
    }

    // --- stations ---

    Event &add_station(EventKind kind, const Station &station) { return add(kind, station.mac, true, station.name); }

    static Whereabouts whereabouts(const Snapshot &snapshot, const Station &station) {
        const Device *device = snapshot.find_device(station.device);
        return {station.device, device != nullptr ? device->name : std::nullopt, station.band, station.signal,
                station.is_wired};
    }

    // Only of the device that writes the files they may be unknown; a device that is not there has none.
    static bool knows_stations_of(const Snapshot &snapshot, Mac al_mac) {
        const Device *device = snapshot.find_device(al_mac);
        return snapshot.knows_local_stations || device == nullptr || !device->is_local;
    }

    void compare_stations(const Station &old, const Station &now) {
        const bool other_band = old.band && now.band && *old.band != *now.band;
        if (old.device != now.device || other_band || old.is_wired != now.is_wired) {
            Event &event = add_station(EventKind::kRoam, now);
            event.from = whereabouts(before_, old);
            event.to = whereabouts(after_, now);
        }
        add_change(EventKind::kName, now.mac, true, now.name, old.name, now.name);
        add_change(EventKind::kAddress, now.mac, true, now.name, old.address, now.address);
    }

    const Snapshot &before_;
    const Snapshot &after_;
    std::vector<Event> events_;
};

}  // namespace

Snapshot with_local_stations(Snapshot snapshot, const Snapshot &before) {
    if (snapshot.knows_local_stations || !before.knows_local_stations) {
        return snapshot;
    }
    const auto local = std::find_if(before.devices.begin(), before.devices.end(),
                                    [](const Device &device) { return device.is_local; });
    const std::size_t known = snapshot.stations.size();
    for (const Station &station : before.stations) {
        if (local != before.devices.end() && station.device == local->al_mac && !snapshot.find_station(station.mac)) {
            snapshot.stations.push_back(station);
        }
    }
    const auto by_mac = [](const Station &a, const Station &b) { return a.mac < b.mac; };
    std::inplace_merge(snapshot.stations.begin(), snapshot.stations.begin() + static_cast<std::ptrdiff_t>(known),
                       snapshot.stations.end(), by_mac);
    snapshot.knows_local_stations = true;
    return snapshot;
}

std::vector<Event> events(const Snapshot &before, const Snapshot &after) { return Comparison(before, after).compare(); }

}  // namespace reader
