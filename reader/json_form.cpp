#include "reader/json_form.h"

#include <cmath>

#include "reader/words.h"

namespace reader {
namespace {

using OrderedJson = nlohmann::ordered_json;

void put(OrderedJson &json, const char *key, const std::optional<std::string> &value) {
    if (value) {
        json[key] = *value;
    }
}

void put(OrderedJson &json, const char *key, const std::optional<Mac> &value) {
    if (value) {
        json[key] = value->text();
    }
}

template <class Number>
std::enable_if_t<std::is_arithmetic_v<Number>> put(OrderedJson &json, const char *key,
                                                   const std::optional<Number> &value) {
    if (value) {
        json[key] = *value;
    }
}

template <class Word>
std::enable_if_t<std::is_enum_v<Word>> put(OrderedJson &json, const char *key, const std::optional<Word> &value) {
    if (value) {
        json[key] = word(*value);
    }
}

OrderedJson to_json(const Interface &interface) {
    OrderedJson json = {{"mac", interface.mac.text()}};
    if (!interface.media_type.empty()) {
        json["media_type"] = interface.media_type;
    }
    put(json, "band", interface.band);
    json["use"] = word(interface.use);
    return json;
}

OrderedJson to_json(const Neighbour &neighbour) {
    OrderedJson json = {{"al_mac", neighbour.al_mac.text()}};
    put(json, "medium", neighbour.medium);
    put(json, "signal", neighbour.signal);
    put(json, "rate", neighbour.rate);
    return json;
}

OrderedJson to_json(const Whereabouts &place) {
    OrderedJson json = {{"device", place.device.text()}};
    put(json, "device_name", place.device_name);
    put(json, "band", place.band);
    put(json, "signal", place.signal);
    json["wired"] = place.is_wired;
    return json;
}

template <class Item>
OrderedJson list(const std::vector<Item> &items) {
    OrderedJson json = OrderedJson::array();
    for (const Item &item : items) {
        json.push_back(to_json(item));
    }
    return json;
}

}  // namespace

OrderedJson to_json(const Device &device) {
    OrderedJson json = {{"al_mac", device.al_mac.text()}, {"local", device.is_local}};
    put(json, "name", device.name);
    put(json, "role", device.role);
    put(json, "address", device.address);
    put(json, "firmware", device.firmware);
    put(json, "parent", device.parent);
    put(json, "hops", device.hops);
    put(json, "medium", device.medium);
    put(json, "signal", device.signal);
    put(json, "rate", device.rate);
    json["interfaces"] = list(device.interfaces);
    json["neighbours"] = list(device.neighbours);
    return json;
}

namespace {

std::optional<int> count_of(const Json &json, const char *key) { return number_of(json, key, 0, 1 << 20); }
std::optional<int> signal_of(const Json &json) { return number_of(json, "signal", -200, 0); }
std::optional<int> rate_of(const Json &json) { return number_of(json, "rate", 0, 1 << 30); }

template <class Word>
std::optional<Word> word_of(const Json &json, const char *key) {
    return value_of<Word>(text_of(json, key).value_or(""));
}

std::vector<Interface> interfaces_of(const Json &json) {
    std::vector<Interface> interfaces;
    for (const Json &item : items(json, "interfaces")) {
        if (const auto mac = mac_of(item, "mac")) {
            interfaces.push_back({*mac, text_of(item, "media_type").value_or(""), word_of<Band>(item, "band"),
                                  word_of<Interface::Use>(item, "use").value_or(Interface::Use::kOther)});
        }
    }
    return interfaces;
}

std::vector<Neighbour> neighbours_of(const Json &json) {
    std::vector<Neighbour> neighbours;
    for (const Json &item : items(json, "neighbours")) {
        if (const auto mac = mac_of(item, "al_mac")) {
            neighbours.push_back({*mac, word_of<Medium>(item, "medium"), signal_of(item), rate_of(item)});
        }
    }
    return neighbours;
}

}  // namespace

Device device_from_json(Mac al_mac, const Json &json) {
    Device device{al_mac, false, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    device.is_local = member(json, "local") == true;
    device.name = text_of(json, "name");
    device.role = word_of<Role>(json, "role");
    device.address = text_of(json, "address");
    device.firmware = text_of(json, "firmware");
    device.parent = mac_of(json, "parent");
    const auto hops = count_of(json, "hops");
    device.hops = hops ? std::optional(static_cast<unsigned>(*hops)) : std::nullopt;
    device.medium = word_of<Medium>(json, "medium");
    device.signal = signal_of(json);
    device.rate = rate_of(json);
    device.interfaces = interfaces_of(json);
    device.neighbours = neighbours_of(json);
    return device;
}

OrderedJson to_json(const Station &station) {
    OrderedJson json = {{"mac", station.mac.text()}, {"device", station.device.text()}};
    put(json, "name", station.name);
    put(json, "address", station.address);
    put(json, "interface", station.interface);
    put(json, "interface_name", station.interface_name);
    put(json, "band", station.band);
    put(json, "signal", station.signal);
    put(json, "rate", station.rate);
    json["wired"] = station.is_wired;
    json["random_mac"] = station.mac.is_random();
    return json;
}

OrderedJson heading_json(const Snapshot &snapshot) {
    OrderedJson missing = OrderedJson::array();
    for (const Missing &item : snapshot.missing) {
        missing.push_back({{"part", word(item.part)},
                           {"file", item.problem.file},
                           {"kind", word(item.problem.kind)},
                           {"reason", item.problem.reason}});
    }
    constexpr double kTenths = 10;
    return {{"schema", kSchema},
            {"source", snapshot.source},
            {"time", utc(snapshot.time)},
            {"read_at", utc(snapshot.read_at)},
            {"age", std::round(snapshot.age() * kTenths) / kTenths},
            {"missing", missing}};
}

OrderedJson to_json(const Snapshot &snapshot) {
    OrderedJson json = heading_json(snapshot);
    json["devices"] = list(snapshot.devices);
    json["stations"] = list(snapshot.stations);
    return json;
}

OrderedJson to_json(const Event &event) {
    OrderedJson json = {{"schema", kSchema}, {"event", word(event.kind)}, {"time", utc(event.time)}};
    json[event.is_station ? "station" : "device"] = event.mac.text();
    put(json, "name", event.name);
    if (event.from) {
        json["from"] = to_json(*event.from);
    }
    if (event.to) {
        json["to"] = to_json(*event.to);
    }
    put(json, "old", event.old_value);
    put(json, "new", event.new_value);
    return json;
}

}  // namespace reader
