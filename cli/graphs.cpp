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

namespace {

// A NetJSON NetworkGraph as it grows.
class Graph {
public:
    void add_node(reader::Mac mac, const std::string &label, const std::optional<std::string> &address,
                  const Json &properties) {
        Json node = {{"id", mac.text()}, {"label", label}};
        if (address) {
            node["local_addresses"] = {*address};
        }
        node["properties"] = properties;
        nodes_.push_back(std::move(node));
    }

    void add_link(reader::Mac source, reader::Mac target, const std::string &medium, const std::optional<int> &signal,
                  const std::optional<int> &rate) {
        links_.push_back({{"source", source.text()},
                          {"target", target.text()},
                          {"cost", 1.0},
                          {"cost_text", signal_text(medium, signal)},
                          {"properties", link_properties(medium, signal, rate)}});
    }

    Json json() const {
        return {{"type", "NetworkGraph"}, {"protocol", "IEEE 1905.1"}, {"version", nullptr},
                {"metric", nullptr},      {"nodes", nodes_},           {"links", links_}};
    }

private:
    Json nodes_ = Json::array();
    Json links_ = Json::array();
};

Json device_properties(const Device &device) {
    Json properties = {{"kind", "device"}};
    if (device.role) {
        properties["role"] = reader::word(*device.role);
    }
    if (device.firmware) {
        properties["firmware"] = *device.firmware;
    }
    return properties;
}

}  // namespace

Json netjson(const Snapshot &snapshot, bool with_stations) {
    Graph graph;
    const Options names;
    for (const Device *device : ordered_devices(snapshot)) {
        graph.add_node(device->al_mac, label(*device, names), device->address, device_properties(*device));
        if (device->parent) {
            graph.add_link(*device->parent, device->al_mac, in_words(device->medium), device->signal, device->rate);
        }
    }
    for (const Station &station : snapshot.stations) {
        if (with_stations) {
            graph.add_node(station.mac, label(station, names), station.address, {{"kind", "station"}});
            graph.add_link(station.device, station.mac, band_of(station), station.signal, station.rate);
        }
    }
    return graph.json();
}

}  // namespace cli
