#include "cli/health.h"

#include <algorithm>
#include <cmath>

#include "cli/happenings.h"
#include "cli/mesh.h"
#include "cli/text.h"
#include "reader/json_form.h"
#include "reader/words.h"

namespace cli {

using reader::Band;
using reader::Device;
using reader::Snapshot;
using reader::Station;

namespace {

using Json = nlohmann::ordered_json;

void count_station(Health &health, const Station &station, int weak_below) {
    health.wired += station.is_wired ? 1 : 0;
    health.on_2_4ghz += station.band == Band::k2_4GHz ? 1 : 0;
    health.on_5ghz += station.band == Band::k5GHz ? 1 : 0;
    if (station.signal && *station.signal < weak_below) {
        health.weak_stations.push_back(&station);
    }
}

bool is_weak_link(const Device &device, int weak_below) {
    const bool is_weak = device.signal && *device.signal < weak_below;
    const bool is_slow = device.parent && device.rate && *device.rate < kSlowLink;
    return is_weak || is_slow;
}

}  // namespace

Health health_of(const Moment &moment, int weak_below) {
    const Snapshot &snapshot = moment.now;
    Health health;
    if (moment.since != nullptr) {
        health.since = moment.since->time;
        health.changes = reader::events(*moment.since, snapshot);
    }
    health.devices = snapshot.devices.size();
    health.stations = snapshot.stations.size();
    for (const Device *device : ordered_devices(snapshot)) {
        if (!device->hops) {
            health.unreachable.push_back(device);
        }
        if (is_weak_link(*device, weak_below)) {
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

// What was written long ago says nothing of now.
std::string summary(const Snapshot &snapshot, const Health &health, const Options &options) {
    if (options.max_age > 0 && snapshot.age() > options.max_age) {
        return "too old to tell";
    }
    const std::size_t weak = health.weak_stations.size();
    const std::string verdict = !health.links_are_well() ? "something is wrong with the devices or their links"
                                : weak == 0              ? "all is well"
                                            : "the devices are well linked, but " + counted(weak, "station") +
                                                  (weak == 1 ? " is" : " are") + " heard badly";
    const std::string part = snapshot.knows_local_stations ? "" : ", as far as these files tell";
    return (snapshot.age() <= kFresh ? "" : age_text(snapshot.age()) + " ago: ") + verdict + part;
}

}  // namespace

std::string status_text(const Snapshot &snapshot, const Health &health, const Options &options) {
    std::string text;
    const auto line = [&text](const char *what, const std::string &value) { text += pad(what, 10) + value + '\n'; };
    const auto device_label = [&](const Device &device) { return cut(visible(label(device, options)), 32); };
    const Device *root = snapshot.root();
    line("mesh", (root != nullptr ? "of " + device_label(*root) + ", " : "") + "written " +
                     time_text(snapshot.time, options) + ", " + age_text(snapshot.age()) + " old");
    line("devices", counted(health.devices, "device") +
                        (health.unreachable.empty()
                             ? ", all reach the gateway"
                             : ", no way to the gateway is known for: " + listed(health.unreachable, device_label)));
    line("links", health.weak_links.empty()
                      ? "no weak one"
                      : "weak: " + listed(health.weak_links, [&](const Device &device) {
                            return device_label(device) + ' ' +
                                   link_text(in_words(device.medium), device.signal, device.rate, Options());
                        }));
    line("stations", std::to_string(health.on_2_4ghz) + " on 2.4 GHz, " + std::to_string(health.on_5ghz) +
                         " on 5 GHz, " + std::to_string(health.wired) + " wired" +
                         (snapshot.knows_local_stations ? "" : "; not those of the device that wrote the model"));
    line("weak", health.weak_stations.empty() ? "none" : listed(health.weak_stations, [&](const Station &station) {
             return cut(visible(label(station, options)), 32) + ' ' + std::to_string(*station.signal) + " dBm at " +
                    cut(visible(label(snapshot, station.device, options)), 32);
         }));
    line("changed", health.since ? summary_text(health.changes) + " since " + time_text(*health.since, options)
                                 : "not known, this is one moment (--since SOURCE compares two)");
    for (const reader::Missing &item : snapshot.missing) {
        line("missing", visible(item.problem.text()));
    }
    const bool old = options.max_age > 0 && snapshot.age() > options.max_age;
    line("in short", paint(summary(snapshot, health, options),
                           !health.links_are_well() || old ? Tone::kBad
                           : health.weak_stations.empty()  ? Tone::kGood
                                                           : Tone::kFair,
                           options));
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
    Json json = reader::heading_json(snapshot);
    json["well"] = health.is_well();
    json["devices"] = health.devices;
    json["stations"] = {{"2.4 GHz", health.on_2_4ghz}, {"5 GHz", health.on_5ghz}, {"wired", health.wired}};
    json["unreachable"] = al_macs(health.unreachable);
    json["weak_links"] = al_macs(health.weak_links);
    json["weak_stations"] = weak;
    if (health.since) {
        json["since"] = reader::utc(*health.since);
        json["changes"] = Json::array();
        for (const reader::Event &event : health.changes) {
            json["changes"].push_back(reader::to_json(event));
        }
    }
    return json;
}

}  // namespace cli
