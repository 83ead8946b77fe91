#include "cli/tables.h"

#include <algorithm>

#include "cli/mesh.h"
#include "reader/json_form.h"
#include "reader/words.h"

namespace cli {

using reader::Band;
using reader::Device;
using reader::Event;
using reader::Snapshot;
using reader::Station;

namespace {

using Json = nlohmann::ordered_json;

// The row as JSON, if that is what is wanted.
template <class Item>
void add_item(Table &table, const Item &item, const Options &options) {
    if (is_json(options.format)) {
        table.items.push_back(reader::to_json(item));
    }
}

std::string number(const std::optional<int> &value) { return value ? std::to_string(*value) : ""; }

bool matches(const Station &station, const StationFilter &filter, const Found &at) {
    const std::string band = station.is_wired                ? "wired"
                             : station.band == Band::k2_4GHz ? "2.4"
                             : station.band                  ? "5"
                                                             : "";
    const bool at_device =
        filter.device.empty() || std::any_of(at.devices.begin(), at.devices.end(),
                                             [&](const Device *device) { return device->al_mac == station.device; });
    const bool weak = !filter.weak || (station.signal && *station.signal < filter.weak_below);
    const bool named =
        filter.name.empty() || lower_case(station.name.value_or("")).find(lower_case(filter.name)) != std::string::npos;
    return at_device && weak && named && (filter.band.empty() || filter.band == band);
}

}  // namespace

Table devices_table(const Snapshot &snapshot, const Options &options) {
    Table table;
    table.columns = {{"name", "DEVICE"},
                     {"al_mac", "AL MAC", true, false, false, 6},
                     {"role", "ROLE", true, false, false, 4},
                     {"parent", "UPLINK TO"},
                     {"medium", "OVER"},
                     {"signal", "SIGNAL dBm", true, true, true},
                     {"rate", "RATE Mbit/s", true, true, false, 2},
                     {"stations", "STATIONS", true, true},
                     {"wired", "WIRED", true, true, false, 5},
                     {"address", "ADDRESS", true, false, false, 7},
                     {"firmware", "FIRMWARE", true, false, false, 8},
                     {"hops", "HOPS", false, true}};
    const auto stations = by_device(snapshot);
    for (const Device *device : ordered_devices(snapshot)) {
        const bool known = !device->is_local || snapshot.knows_local_stations;
        const Count count = count_of(stations, device->al_mac);
        table.rows.push_back({options.names ? device->name.value_or("") : "", device->al_mac.text(),
                              in_words(device->role), label(snapshot, device->parent, options),
                              in_words(device->medium), number(device->signal), number(device->rate),
                              known ? std::to_string(count.stations) : "", known ? std::to_string(count.wired) : "",
                              device->address.value_or(""), device->firmware.value_or(""),
                              device->hops ? std::to_string(*device->hops) : ""});
        add_item(table, *device, options);
    }
    return table;
}

namespace {

void add_station(Table &table, const Station &station, const std::string &at, const Options &options) {
    table.rows.push_back({options.names ? station.name.value_or("") : "", station.mac.text(),
                          station.address.value_or(""), at, band_of(station), number(station.signal),
                          number(station.rate), station.interface_name.value_or(""),
                          station.interface ? station.interface->text() : "", station.mac.is_random() ? "yes" : "no"});
    add_item(table, station, options);
}

}  // namespace

Table stations_table(const Snapshot &snapshot, const StationFilter &filter, const Options &options) {
    Table table;
    table.columns = {{"name", "STATION"},
                     {"mac", "MAC", true, false, false, 6},
                     {"address", "ADDRESS", true, false, false, 7},
                     {"device", "AT"},
                     {"band", "ON"},
                     {"signal", "SIGNAL dBm", true, true, true},
                     {"rate", "RATE Mbit/s", true, true, false, 2},
                     {"interface_name", "INTERFACE", false},
                     {"interface", "BSSID", false},
                     {"random_mac", "RANDOM MAC", false}};
    const Found at = filter.device.empty() ? Found() : find(snapshot, filter.device);
    auto stations = by_device(snapshot);
    for (const Device *device : ordered_devices(snapshot)) {
        for (const Station *station : stations[device->al_mac]) {
            if (matches(*station, filter, at)) {
                add_station(table, *station, label(*device, options), options);
            }
        }
    }
    return table;
}

namespace {

// What of a device is about its link.
Json link_json(const Device &device) {
    Json item = {{"device", device.al_mac.text()}};
    const Json whole = reader::to_json(device);
    for (const char *key : {"name", "parent", "medium", "signal", "rate", "hops"}) {
        if (whole.contains(key)) {
            item[key] = whole[key];
        }
    }
    return item;
}

}  // namespace

Table links_table(const Snapshot &snapshot, const Options &options) {
    Table table;
    table.columns = {{"device", "DEVICE"},
                     {"parent", "UPLINK TO"},
                     {"medium", "OVER"},
                     {"signal", "SIGNAL dBm", true, true, true},
                     {"rate", "RATE Mbit/s", true, true, false, 2},
                     {"hops", "HOPS", true, true, false, 3}};
    for (const Device *device : ordered_devices(snapshot)) {
        if (!device->parent) {
            continue;
        }
        table.rows.push_back({label(*device, options), label(snapshot, device->parent, options),
                              in_words(device->medium), number(device->signal), number(device->rate),
                              device->hops ? std::to_string(*device->hops) : ""});
        if (is_json(options.format)) {
            table.items.push_back(link_json(*device));
        }
    }
    return table;
}

namespace {

std::string place_text(const Snapshot &snapshot, const std::optional<reader::Whereabouts> &place,
                       const Options &options) {
    if (!place) {
        return "";
    }
    const std::string name =
        options.names && place->device_name ? *place->device_name : label(snapshot, place->device, options);
    return name + ", " + link_text(place->is_wired ? "wired" : in_words(place->band), place->signal, {}, Options());
}

}  // namespace

Table events_table(const Snapshot &after, const std::vector<Event> &events, const Options &options) {
    Table table;
    table.columns = {{"event", "EVENT"}, {"name", "WHO"}, {"mac", "MAC", true, false, false, 6},
                     {"from", "BEFORE"}, {"to", "AFTER"}, {"time", "TIME", false}};
    for (const Event &event : events) {
        table.rows.push_back(
            {reader::word(event.kind), options.names ? event.name.value_or("") : "", event.mac.text(),
             event.old_value ? *event.old_value : place_text(after, event.from, options),
             event.new_value ? *event.new_value : place_text(after, event.to, options),
             is_for_people(options.format) ? time_text(event.time, options) : reader::utc(event.time)});
        add_item(table, event, options);
    }
    return table;
}

}  // namespace cli
