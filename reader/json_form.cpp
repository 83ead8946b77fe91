#include "reader/json_form.h"

#include <cmath>

#include "reader/words.h"

namespace reader {
namespace {

using Json = nlohmann::ordered_json;

void put(Json &json, const char *key, const std::optional<std::string> &value) {
    if (value) {
        json[key] = *value;
    }
}

void put(Json &json, const char *key, const std::optional<Mac> &value) {
    if (value) {
        json[key] = value->text();
    }
}

template <class Number>
std::enable_if_t<std::is_arithmetic_v<Number>> put(Json &json, const char *key, const std::optional<Number> &value) {
    if (value) {
        json[key] = *value;
    }
}

template <class Word>
std::enable_if_t<std::is_enum_v<Word>> put(Json &json, const char *key, const std::optional<Word> &value) {
    if (value) {
        json[key] = word(*value);
    }
}

Json to_json(const Interface &interface) {
    Json json = {{"mac", interface.mac.text()}};
    if (!interface.media_type.empty()) {
        json["media_type"] = interface.media_type;
    }
    put(json, "band", interface.band);
    json["use"] = word(interface.use);
    return json;
}

Json to_json(const Neighbour &neighbour) {
    Json json = {{"al_mac", neighbour.al_mac.text()}};
    put(json, "medium", neighbour.medium);
    put(json, "signal", neighbour.signal);
    put(json, "rate", neighbour.rate);
    return json;
}

Json to_json(const Whereabouts &place) {
    Json json = {{"device", place.device.text()}};
    put(json, "device_name", place.device_name);
    put(json, "band", place.band);
    put(json, "signal", place.signal);
    json["wired"] = place.is_wired;
    return json;
}

template <class Item>
Json list(const std::vector<Item> &items) {
    Json json = Json::array();
    for (const Item &item : items) {
        json.push_back(to_json(item));
    }
    return json;
}

}  // namespace

Json to_json(const Device &device) {
    Json json = {{"al_mac", device.al_mac.text()}, {"local", device.is_local}};
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

Json to_json(const Station &station) {
    Json json = {{"mac", station.mac.text()}, {"device", station.device.text()}};
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

Json heading_json(const Snapshot &snapshot) {
    Json missing = Json::array();
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

Json to_json(const Snapshot &snapshot) {
    Json json = heading_json(snapshot);
    json["devices"] = list(snapshot.devices);
    json["stations"] = list(snapshot.stations);
    return json;
}

Json to_json(const Event &event) {
    Json json = {{"schema", kSchema}, {"event", word(event.kind)}, {"time", utc(event.time)}};
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
