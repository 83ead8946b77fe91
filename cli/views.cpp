#include "cli/views.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "cli/text.h"
#include "reader/json_form.h"
#include "reader/words.h"

namespace cli {

using reader::Band;
using reader::Device;
using reader::Event;
using reader::Mac;
using reader::Medium;
using reader::Role;
using reader::Snapshot;
using reader::Station;

namespace {

using Json = nlohmann::ordered_json;

std::string number(const std::optional<int> &value) { return value ? std::to_string(*value) : ""; }

template <class Word>
std::string in_words(const std::optional<Word> &value) {
    return value ? reader::word(*value) : "";
}

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

std::string label_of(const Snapshot &snapshot, std::optional<Mac> mac, const Options &options) {
    const Device *device = mac ? snapshot.find_device(*mac) : nullptr;
    return device != nullptr ? label(*device, options) : mac ? mac->text() : "";
}

std::string band_of(const Station &station) { return station.is_wired ? "wired" : in_words(station.band); }

std::size_t hops_of(const Device &device) { return device.hops ? *device.hops : SIZE_MAX; }

// Stations by device, ordered by MAC.
std::map<Mac, std::vector<const Station *>> by_device(const Snapshot &snapshot) {
    std::map<Mac, std::vector<const Station *>> stations;
    for (const Station &station : snapshot.stations) {
        stations[station.device].push_back(&station);
    }
    return stations;
}

// On Wi-Fi, and by cable.
struct Count {
    std::size_t stations = 0;
    std::size_t wired = 0;
};

Count count_of(const std::map<Mac, std::vector<const Station *>> &stations, Mac device) {
    Count count;
    const auto here = stations.find(device);
    if (here != stations.end()) {
        count.wired = static_cast<std::size_t>(std::count_if(here->second.begin(), here->second.end(),
                                                             [](const Station *station) { return station->is_wired; }));
        count.stations = here->second.size() - count.wired;
    }
    return count;
}

std::string count_text(const Count &count) {
    return counted(count.stations, "station") + (count.wired != 0 ? ", " + std::to_string(count.wired) + " wired" : "");
}

// Four steps from -80 dBm on.
std::string bar(const std::optional<int> &signal, bool bars) {
    constexpr const char *kBars[] = {"\xe2\x96\x81\xc2\xb7\xc2\xb7\xc2\xb7", "\xe2\x96\x81\xe2\x96\x83\xc2\xb7\xc2\xb7",
                                     "\xe2\x96\x81\xe2\x96\x83\xe2\x96\x85\xc2\xb7",
                                     "\xe2\x96\x81\xe2\x96\x83\xe2\x96\x85\xe2\x96\x87"};
    if (!bars || !signal) {
        return "";
    }
    return std::string(kBars[std::clamp((*signal + 90) / 10, 0, 3)]) + ' ';
}

// "5 GHz -46 dBm 1300 Mbit/s", as far as it is known.
std::string link_text(const std::string &medium, const std::optional<int> &signal, const std::optional<int> &rate,
                      bool bars) {
    std::string text = medium;
    const auto add = [&text](const std::string &part) { text += (text.empty() ? "" : " ") + part; };
    if (signal) {
        add(bar(signal, bars) + std::to_string(*signal) + " dBm");
    }
    if (rate) {
        add(std::to_string(*rate) + " Mbit/s");
    }
    return text.empty() ? "unknown" : text;
}

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

std::string label(const Device &device, const Options &options) {
    return options.names && device.name ? *device.name : device.al_mac.text();
}

std::string label(const Station &station, const Options &options) {
    return options.names && station.name ? *station.name : station.mac.text();
}

std::vector<const Device *> ordered_devices(const Snapshot &snapshot) {
    std::vector<const Device *> devices;
    devices.reserve(snapshot.devices.size());
    for (const Device &device : snapshot.devices) {
        devices.push_back(&device);
    }
    std::stable_sort(devices.begin(), devices.end(),
                     [](const Device *a, const Device *b) { return hops_of(*a) < hops_of(*b); });
    return devices;
}

Table devices_table(const Snapshot &snapshot, const Options &options) {
    Table table;
    table.columns = {{"name", "DEVICE"},
                     {"al_mac", "AL MAC"},
                     {"role", "ROLE"},
                     {"parent", "UPLINK TO"},
                     {"medium", "OVER"},
                     {"signal", "SIGNAL dBm", true, true},
                     {"rate", "RATE Mbit/s", true, true},
                     {"stations", "STATIONS", true, true},
                     {"wired", "WIRED", true, true},
                     {"address", "ADDRESS"},
                     {"firmware", "FIRMWARE"},
                     {"hops", "HOPS", false, true}};
    const auto stations = by_device(snapshot);
    for (const Device *device : ordered_devices(snapshot)) {
        const bool known = !device->is_local || snapshot.knows_local_stations;
        const Count count = count_of(stations, device->al_mac);
        table.rows.push_back({options.names ? device->name.value_or("") : "", device->al_mac.text(),
                              in_words(device->role), label_of(snapshot, device->parent, options),
                              in_words(device->medium), number(device->signal), number(device->rate),
                              known ? std::to_string(count.stations) : "", known ? std::to_string(count.wired) : "",
                              device->address.value_or(""), device->firmware.value_or(""),
                              device->hops ? std::to_string(*device->hops) : ""});
        table.items.push_back(reader::to_json(*device));
    }
    return table;
}

namespace {

void add_station(Table &table, const Station &station, const std::string &at, const Options &options) {
    table.rows.push_back({options.names ? station.name.value_or("") : "", station.mac.text(),
                          station.address.value_or(""), at, band_of(station), number(station.signal),
                          number(station.rate), station.interface_name.value_or(""),
                          station.interface ? station.interface->text() : "", station.mac.is_random() ? "yes" : "no"});
    table.items.push_back(reader::to_json(station));
}

}  // namespace

Table stations_table(const Snapshot &snapshot, const StationFilter &filter, const Options &options) {
    Table table;
    table.columns = {{"name", "STATION"},
                     {"mac", "MAC"},
                     {"address", "ADDRESS"},
                     {"device", "AT"},
                     {"band", "ON"},
                     {"signal", "SIGNAL dBm", true, true},
                     {"rate", "RATE Mbit/s", true, true},
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

Table links_table(const Snapshot &snapshot, const Options &options) {
    Table table;
    table.columns = {{"device", "DEVICE"},
                     {"parent", "UPLINK TO"},
                     {"medium", "OVER"},
                     {"signal", "SIGNAL dBm", true, true},
                     {"rate", "RATE Mbit/s", true, true},
                     {"hops", "HOPS", true, true}};
    for (const Device *device : ordered_devices(snapshot)) {
        if (!device->parent) {
            continue;
        }
        table.rows.push_back({label(*device, options), label_of(snapshot, device->parent, options),
                              in_words(device->medium), number(device->signal), number(device->rate),
                              device->hops ? std::to_string(*device->hops) : ""});
        Json item = {{"device", device->al_mac.text()}};
        const Json whole = reader::to_json(*device);
        for (const char *key : {"name", "parent", "medium", "signal", "rate", "hops"}) {
            if (whole.contains(key)) {
                item[key] = whole[key];
            }
        }
        table.items.push_back(item);
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
        options.names && place->device_name ? *place->device_name : label_of(snapshot, place->device, options);
    return name + ", " + link_text(place->is_wired ? "wired" : in_words(place->band), place->signal, {}, false);
}

}  // namespace

Table events_table(const Snapshot &after, const std::vector<Event> &events, const Options &options) {
    Table table;
    table.columns = {{"event", "EVENT"}, {"name", "WHO"}, {"mac", "MAC"},
                     {"from", "BEFORE"}, {"to", "AFTER"}, {"time", "TIME", false}};
    for (const Event &event : events) {
        table.rows.push_back({reader::word(event.kind), options.names ? event.name.value_or("") : "", event.mac.text(),
                              event.old_value ? *event.old_value : place_text(after, event.from, options),
                              event.new_value ? *event.new_value : place_text(after, event.to, options),
                              reader::utc(event.time)});
        table.items.push_back(reader::to_json(event));
    }
    return table;
}

Found find(const Snapshot &snapshot, const std::string &text) {
    const auto mac = Mac::parse(text);
    const auto is_named = [wanted = lower_case(text)](const auto &item) {
        return (item.name && lower_case(*item.name) == wanted) || item.address == wanted;
    };
    Found found;
    for (const Device &device : snapshot.devices) {
        if (device.al_mac == mac || is_named(device) ||
            std::any_of(device.interfaces.begin(), device.interfaces.end(),
                        [&](const reader::Interface &interface) { return interface.mac == mac; })) {
            found.devices.push_back(&device);
        }
    }
    for (const Station &station : snapshot.stations) {
        if (station.mac == mac || is_named(station)) {
            found.stations.push_back(&station);
        }
    }
    return found;
}

std::vector<const Device *> way_of(const Snapshot &snapshot, Mac al_mac) {
    std::vector<const Device *> way;
    for (const Device *device = snapshot.find_device(al_mac); device != nullptr && way.size() < snapshot.devices.size();
         device = device->parent ? snapshot.find_device(*device->parent) : nullptr) {
        way.push_back(device);
    }
    return way;
}

namespace {

class Tree {
public:
    Tree(const Snapshot &snapshot, const Options &options, bool with_stations, bool bars)
        : options_(options), with_stations_(with_stations), bars_(bars), stations_(by_device(snapshot)) {
        for (const Device *device : ordered_devices(snapshot)) {
            if (device->parent) {
                children_[*device->parent].push_back(device);
            } else {
                roots_.push_back(device);
            }
        }
    }

    // Without recursion: a chain may be as long as a file can tell.
    std::string draw() {
        struct Step {
            const Device *device;
            std::string indent;
            bool is_last;
        };
        std::vector<Step> open;
        for (auto root = roots_.rbegin(); root != roots_.rend(); ++root) {
            open.push_back({*root, "", true});
        }
        while (!open.empty()) {
            const Step step = open.back();
            open.pop_back();
            const bool is_root = !step.device->parent;
            const std::string indent = is_root ? "" : step.indent + (step.is_last ? "   " : "\xe2\x94\x82  ");
            text_ +=
                is_root ? "" : step.indent + (step.is_last ? "\xe2\x94\x94\xe2\x94\x80 " : "\xe2\x94\x9c\xe2\x94\x80 ");
            text_ += describe(*step.device) + '\n';
            const auto &children = children_[step.device->al_mac];
            add_stations(*step.device, indent, children.empty());
            for (auto child = children.rbegin(); child != children.rend(); ++child) {
                open.push_back({*child, indent, child == children.rbegin()});
            }
        }
        return text_;
    }

private:
    std::string describe(const Device &device) const {
        std::string text = visible(label(device, options_));
        if (options_.names && device.name) {
            text += "  " + device.al_mac.text();
        }
        if (device.parent) {
            text += "  " + link_text(in_words(device.medium), device.signal, device.rate, bars_);
        } else if (device.role) {
            text += "  " + std::string(reader::word(*device.role));
        }
        if (!with_stations_ && stations_.count(device.al_mac) != 0) {
            text += "  " + count_text(count_of(stations_, device.al_mac));
        }
        return text + (!device.parent && device.hops != 0U ? "  (no way to the gateway is known)" : "");
    }

    void add_stations(const Device &device, const std::string &indent, bool nothing_follows) {
        const auto here = stations_.find(device.al_mac);
        if (!with_stations_ || here == stations_.end()) {
            return;
        }
        for (const Station *station : here->second) {
            const bool is_last = nothing_follows && station == here->second.back();
            text_ += indent + (is_last ? "\xe2\x94\x94 " : "\xe2\x94\x9c ") + visible(label(*station, options_)) +
                     (options_.names && station->name ? "  " + station->mac.text() : "") + "  " +
                     link_text(band_of(*station), station->signal, station->rate, bars_) + '\n';
        }
    }

    const Options &options_;
    bool with_stations_;
    bool bars_;
    std::map<Mac, std::vector<const Station *>> stations_;
    std::map<Mac, std::vector<const Device *>> children_;
    std::vector<const Device *> roots_;  // the gateway, and whoever has no parent
    std::string text_;
};

}  // namespace

std::string tree_text(const Snapshot &snapshot, const Options &options, bool with_stations, bool bars) {
    return Tree(snapshot, options, with_stations, bars).draw();
}

namespace {

std::string way_text(const Snapshot &snapshot, Mac from, std::string link, const Options &options, bool bars) {
    std::string text;
    const auto way = way_of(snapshot, from);
    for (const Device *device : way) {
        text += link.empty() ? "" : "  \xe2\x94\x82 " + link + '\n';
        text += visible(label(*device, options)) + (options.names && device->name ? "  " + device->al_mac.text() : "") +
                '\n';
        link = link_text(in_words(device->medium), device->signal, device->rate, bars);
    }
    const bool arrives = !way.empty() && way.back()->hops == 0U;
    return text + (arrives ? "" : "  \xe2\x94\x82 no way to the gateway is known\n");
}

}  // namespace

std::string path_text(const Snapshot &snapshot, const Station &station, const Options &options, bool bars) {
    return visible(label(station, options)) + (options.names && station.name ? "  " + station.mac.text() : "") + '\n' +
           way_text(snapshot, station.device, link_text(band_of(station), station.signal, station.rate, bars), options,
                    bars);
}

std::string path_text(const Snapshot &snapshot, const Device &device, const Options &options, bool bars) {
    return way_text(snapshot, device.al_mac, "", options, bars);
}

namespace {

// Lines of "what  value"; what is unknown has none.
class Card {
public:
    void begin(const std::string &title) { text_ += visible(title) + '\n'; }
    void line(const char *what, const std::string &value) {
        constexpr std::size_t kColumns = 11;
        text_ += value.empty() ? "" : "  " + pad(what, kColumns) + visible(value) + '\n';
    }
    const std::string &text() const { return text_; }

private:
    std::string text_;
};

std::string interface_text(const reader::Interface &interface) {
    return interface.mac.text() + "  " + reader::word(interface.use) +
           (interface.band ? std::string("  ") + reader::word(*interface.band) : "") +
           (interface.media_type.empty() ? "" : "  " + interface.media_type);
}

void show_device(Card &card, const Snapshot &snapshot, const Device &device, const Options &options) {
    card.begin("device " + label(device, options));
    card.line("AL MAC", device.al_mac.text());
    card.line("role", in_words(device.role));
    card.line("address", device.address.value_or(""));
    card.line("firmware", device.firmware.value_or(""));
    if (device.parent) {
        card.line("uplink", label_of(snapshot, device.parent, options) + ", " +
                                link_text(in_words(device.medium), device.signal, device.rate, false));
    }
    card.line("hops", device.hops ? std::to_string(*device.hops) : "");
    card.line("stations", count_text(count_of(by_device(snapshot), device.al_mac)));
    for (const reader::Interface &interface : device.interfaces) {
        card.line("interface", interface_text(interface));
    }
}

void show_station(Card &card, const Snapshot &snapshot, const Station &station, const Options &options) {
    card.begin("station " + label(station, options));
    card.line("MAC", station.mac.text() + (station.mac.is_random() ? "  (chosen by itself)" : ""));
    card.line("address", station.address.value_or(""));
    card.line("at", label_of(snapshot, station.device, options) +
                        (station.interface_name ? ", " + *station.interface_name : ""));
    card.line("link", link_text(band_of(station), station.signal, station.rate, false));
}

}  // namespace

std::string show_text(const Snapshot &snapshot, const Found &found, const Options &options) {
    Card card;
    for (const Device *device : found.devices) {
        show_device(card, snapshot, *device, options);
    }
    for (const Station *station : found.stations) {
        show_station(card, snapshot, *station, options);
    }
    return card.text();
}

namespace {

void count_station(Health &health, const Station &station, int weak_below) {
    health.wired += station.is_wired ? 1 : 0;
    health.on_2_4ghz += station.band == Band::k2_4GHz ? 1 : 0;
    health.on_5ghz += station.band == Band::k5GHz ? 1 : 0;
    if (station.signal && *station.signal < weak_below) {
        health.weak_stations.push_back(&station);
    }
}

}  // namespace

Health health_of(const Snapshot &snapshot, int weak_below) {
    Health health;
    health.devices = snapshot.devices.size();
    health.stations = snapshot.stations.size();
    for (const Device *device : ordered_devices(snapshot)) {
        if (!device->hops) {
            health.unreachable.push_back(device);
        }
        if (device->signal && *device->signal < weak_below) {
            health.weak_links.push_back(device);
        }
    }
    for (const Station &station : snapshot.stations) {
        count_station(health, station, weak_below);
    }
    std::stable_sort(health.weak_stations.begin(), health.weak_stations.end(),
                     [](const Station *a, const Station *b) { return *a->signal < *b->signal; });
    return health;
}

namespace {

std::string age_text(double seconds) {
    constexpr double kMinute = 60, kHour = 3600, kDay = 86400;
    const auto in = [seconds](double unit, const char *name) {
        return std::to_string(static_cast<long>(std::floor(seconds / unit))) + name;
    };
    return seconds < 2 * kMinute ? in(1, " s")
           : seconds < 2 * kHour ? in(kMinute, " min")
           : seconds < 2 * kDay  ? in(kHour, " h")
                                 : in(kDay, " days");
}

// The first few, and how many more.
template <class Item, class Tell>
std::string listed(const std::vector<const Item *> &items, Tell tell) {
    constexpr std::size_t kMost = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(items.size(), kMost); ++i) {
        text += (i == 0 ? "" : ", ") + tell(*items[i]);
    }
    return items.size() > kMost ? text + " and " + std::to_string(items.size() - kMost) + " more" : text;
}

}  // namespace

namespace {

// What was written long ago says nothing of now.
std::string summary(const Snapshot &snapshot, const Health &health, const Options &options) {
    if (options.max_age > 0 && snapshot.age() > options.max_age) {
        return "too old to tell";
    }
    const std::string weak =
        health.weak_stations.empty() ? "" : ", but for " + counted(health.weak_stations.size(), "weak station");
    const std::string verdict =
        health.is_well() ? "all is well" + weak : "something is wrong with the devices or their links";
    const std::string part = snapshot.knows_local_stations ? "" : ", as far as these files tell";
    return (snapshot.age() <= kFresh ? "" : age_text(snapshot.age()) + " ago: ") + verdict + part;
}

}  // namespace

std::string status_text(const Snapshot &snapshot, const Health &health, const Options &options) {
    std::string text;
    const auto line = [&text](const char *what, const std::string &value) { text += pad(what, 10) + value + '\n'; };
    const auto device_label = [&](const Device &device) { return visible(cut(label(device, options), 32)); };
    const Device *root = snapshot.root();
    line("mesh", (root != nullptr ? "of " + device_label(*root) + ", " : "") + age_text(snapshot.age()) + " old");
    line("devices", counted(health.devices, "device") +
                        (health.unreachable.empty()
                             ? ", all reach the gateway"
                             : ", no way to the gateway is known for: " + listed(health.unreachable, device_label)));
    line("links", health.weak_links.empty()
                      ? "no weak one"
                      : "weak: " + listed(health.weak_links, [&](const Device &device) {
                            return device_label(device) + ' ' + std::to_string(*device.signal) + " dBm";
                        }));
    line("stations", std::to_string(health.on_2_4ghz) + " on 2.4 GHz, " + std::to_string(health.on_5ghz) +
                         " on 5 GHz, " + std::to_string(health.wired) + " wired" +
                         (snapshot.knows_local_stations ? "" : "; not those of the device that wrote the model"));
    line("weak", health.weak_stations.empty() ? "none" : listed(health.weak_stations, [&](const Station &station) {
             return visible(cut(label(station, options), 32)) + ' ' + std::to_string(*station.signal) + " dBm at " +
                    visible(label_of(snapshot, station.device, options));
         }));
    for (const reader::Problem &problem : snapshot.missing) {
        line("missing", visible(problem.text()));
    }
    line("in short", summary(snapshot, health, options));
    return text;
}

Json to_json(const Snapshot &snapshot, const Health &health) {
    const auto al_macs = [](const std::vector<const Device *> &devices) {
        Json list = Json::array();
        for (const Device *device : devices) {
            list.push_back(device->al_mac.text());
        }
        return list;
    };
    Json weak = Json::array();
    for (const Station *station : health.weak_stations) {
        weak.push_back(station->mac.text());
    }
    Json json = reader::to_json(snapshot);
    json.erase("devices");
    json.erase("stations");
    json["well"] = health.is_well();
    json["devices"] = health.devices;
    json["stations"] = {{"2.4 GHz", health.on_2_4ghz}, {"5 GHz", health.on_5ghz}, {"wired", health.wired}};
    json["unreachable"] = al_macs(health.unreachable);
    json["weak_links"] = al_macs(health.weak_links);
    json["weak_stations"] = weak;
    return json;
}

}  // namespace cli
