#include "cli/exports.h"
#include "cli/mesh.h"
#include "cli/text.h"

namespace cli {

using reader::Device;
using reader::Snapshot;
using reader::Station;

namespace {

using Json = nlohmann::ordered_json;

// A quoted text of graphviz, in which a backslash would be an order.
std::string quoted(const std::string &text) {
    std::string out = "\"";
    for (const char c : visible(text)) {
        out.append(c == '\\' || c == '"' ? "\\" : "").push_back(c);
    }
    return out + '"';
}

std::string signal_text(const std::string &medium, const std::optional<int> &signal) {
    return medium + (signal ? (medium.empty() ? "" : " ") + std::to_string(*signal) + " dBm" : "");
}

Json link_properties(const std::string &medium, const std::optional<int> &signal, const std::optional<int> &rate) {
    Json properties = Json::object();
    if (!medium.empty()) {
        properties["medium"] = medium;
    }
    if (signal) {
        properties["signal_dbm"] = *signal;
    }
    if (rate) {
        properties["rate_mbit_s"] = *rate;
    }
    return properties;
}

}  // namespace

std::string dot_text(const Snapshot &snapshot, const Options &options, bool with_stations) {
    std::string text = "graph mesh {\n  node [shape=box];\n";
    const auto node = [&](const std::string &mac, const std::string &label, const char *more) {
        text += "  " + quoted(mac) + " [label=" + quoted(label) + more + "];\n";
    };
    const auto edge = [&](const std::string &one, const std::string &other, const std::string &label) {
        text += "  " + quoted(one) + " -- " + quoted(other) + " [label=" + quoted(label) + "];\n";
    };
    for (const Device *device : ordered_devices(snapshot)) {
        node(device->al_mac.text(), label(*device, options), "");
        if (device->parent) {
            edge(device->parent->text(), device->al_mac.text(), signal_text(in_words(device->medium), device->signal));
        }
    }
    for (const Station &station : snapshot.stations) {
        if (with_stations) {
            node(station.mac.text(), label(station, options), ", shape=ellipse");
            edge(station.device.text(), station.mac.text(), signal_text(band_of(station), station.signal));
        }
    }
    return text + "}\n";
}

Json netjson(const Snapshot &snapshot, bool with_stations) {
    Json nodes = Json::array();
    Json links = Json::array();
    const auto node = [&](const std::string &mac, const std::string &label, const std::optional<std::string> &address,
                          Json properties) {
        Json one = {{"id", mac}, {"label", label}};
        if (address) {
            one["local_addresses"] = {*address};
        }
        one["properties"] = std::move(properties);
        nodes.push_back(one);
    };
    const auto link = [&](const std::string &source, const std::string &target, const std::string &text,
                          Json properties) {
        links.push_back(
            {{"source", source}, {"target", target}, {"cost", 1.0}, {"cost_text", text}, {"properties", properties}});
    };
    for (const Device *device : ordered_devices(snapshot)) {
        Json properties = {{"kind", "device"}};
        for (const auto &[key, value] :
             {std::pair("role", in_words(device->role)), std::pair("firmware", device->firmware.value_or(""))}) {
            if (!value.empty()) {
                properties[key] = value;
            }
        }
        node(device->al_mac.text(), label(*device, Options()), device->address, properties);
        if (device->parent) {
            const std::string medium = in_words(device->medium);
            link(device->parent->text(), device->al_mac.text(), signal_text(medium, device->signal),
                 link_properties(medium, device->signal, device->rate));
        }
    }
    for (const Station &station : snapshot.stations) {
        if (with_stations) {
            node(station.mac.text(), label(station, Options()), station.address, {{"kind", "station"}});
            link(station.device.text(), station.mac.text(), signal_text(band_of(station), station.signal),
                 link_properties(band_of(station), station.signal, station.rate));
        }
    }
    return {{"type", "NetworkGraph"}, {"protocol", "IEEE 1905.1"},
            {"version", nullptr},     {"metric", nullptr},
            {"nodes", nodes},         {"links", links}};
}

}  // namespace cli
