#include "lab/world/views.h"

#include <algorithm>

namespace lab {
namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned kStartOfTime = 1795219200;  // of every lab, so that its dumps are repeatable
constexpr unsigned kCycleSeconds = 20;
constexpr unsigned kLeaseSeconds = 43200;
constexpr unsigned kUptimeAtStart = 86400;
constexpr const char *kNoMac = "00:00:00:00:00:00";

std::string number(long value) { return std::to_string(value); }

unsigned clock_seconds(const World &world) { return world.cycle() * kCycleSeconds; }

const char *band_text(Band band) { return band == Band::k2_4GHz ? "2.4G" : "5G"; }

const char *medium_text(Medium medium) {
    constexpr const char *kTexts[] = {"2.4G", "5G", "Ethernet"};
    return kTexts[static_cast<int>(medium)];
}

Json station_json(const std::string &mac, const Bss &bss, Band band, bool backhaul, int signal, int rate) {
    return {{"STA MAC address", mac},        {"BSSID", bss.bssid},
            {"Medium", band_text(band)},     {"BH STA", backhaul ? "Yes" : "No"},
            {"uplink rssi", number(signal)}, {"downlink rate", number(rate + rate / 10)},
            {"uplink rate", number(rate)},   {"Status", "Associated"}};
}

bool is_at(const std::optional<BssPlace> &place, std::size_t radio, std::size_t bss) {
    return place && place->radio == radio && place->bss == bss;
}

Json stations_of_bss(const World &world, std::size_t device, std::size_t radio, std::size_t index) {
    const Bss &bss = world.at_start(device).radios[radio].bss[index];
    const Band band = world.at_start(device).radios[radio].band();
    Json stations = Json::array();
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        if (world.station_now(i).device == device && is_at(world.bss_of(i), radio, index)) {
            stations.push_back(
                station_json(world.station(i).mac, bss, band, false, world.station_now(i).signal, world.rate(i)));
        }
    }
    for (std::size_t i = 0; i < world.size(); ++i) {
        const Backhaul &link = world.at_start(i).backhaul;
        if (link.to == device && is_at(world.uplink_bss(i), radio, index)) {
            stations.push_back(station_json(world.at_start(i).uplink_mac, bss, band, true, link.signal, link.rate));
        }
    }
    return stations;
}

// A BSS that is off is not on the air: the daemon lists none.
Json radio_json(const World &world, std::size_t device, std::size_t index) {
    const Radio &radio = world.at_start(device).radios[index];
    Json list = Json::array();
    for (std::size_t i = 0; i < radio.bss.size(); ++i) {
        if (!world.is_on(device, {index, i})) {
            continue;
        }
        const Bss &bss = radio.bss[i];
        list.push_back({{"BSSID", bss.bssid},
                        {"SSID", bss.backhaul ? "Home-mesh" : "Home"},
                        {"Security", "WPA2PSK/AES"},
                        {"Hidden SSID", bss.backhaul ? "1" : "0"},
                        {"Fronthaul", bss.backhaul ? "0" : "1"},
                        {"Backhaul", bss.backhaul ? "1" : "0"},
                        {"connected sta info", stations_of_bss(world, device, index, i)}});
    }
    const bool low = radio.band() == Band::k2_4GHz;
    return {{"radio identifier", mac_beside(world.at_start(device).al_mac, 1 + static_cast<int>(index))},
            {"channel", number(radio.channel)},
            {"operating class", low ? "81" : "128"},
            {"bandwidth", low ? "20" : "80"},
            {"BSS count", list.size()},
            {"BSSINFO", list}};
}

// As the module prints one into a report, without leading zeros.
std::string short_mac(const std::string &mac) {
    std::string text;
    for (std::size_t i = 0; i < mac.size(); i += 3) {
        text += (i == 0 ? "" : ":") + mac.substr(mac[i] == '0' ? i + 1 : i, mac[i] == '0' ? 1 : 2);
    }
    return text;
}

// One end of a backhaul link, as the device at that end describes it.
struct LinkEnd {
    std::size_t neighbour;
    std::string own_mac;
    std::string neighbour_mac;
    const Backhaul &link;
};

LinkEnd link_end(const World &world, std::size_t lower, bool seen_from_lower) {
    const Backhaul &link = world.at_start(lower).backhaul;
    const auto bss = world.uplink_bss(lower);
    const std::string upper_mac = bss ? world.bss(link.to, *bss).bssid : world.at_start(link.to).al_mac;
    const std::string lower_mac = bss ? world.at_start(lower).uplink_mac : world.at_start(lower).al_mac;
    return seen_from_lower ? LinkEnd{link.to, lower_mac, upper_mac, link} : LinkEnd{lower, upper_mac, lower_mac, link};
}

std::vector<LinkEnd> link_ends(const World &world, std::size_t device) {
    std::vector<LinkEnd> ends;
    if (world.is_linked(device)) {
        ends.push_back(link_end(world, device, true));
    }
    for (std::size_t i = 0; i < world.size(); ++i) {
        if (world.at_start(i).backhaul.to == device && world.is_linked(i)) {
            ends.push_back(link_end(world, i, false));
        }
    }
    return ends;
}

void add_links(const World &world, std::size_t device, Json &entry) {
    Json links = Json::array();
    Json metrics = Json::array();
    for (const LinkEnd &end : link_ends(world, device)) {
        const std::string &neighbour = world.at_start(end.neighbour).al_mac;
        links.push_back({{"neighbor almac addr", neighbour},
                         {"connected iface addr", end.own_mac},
                         {"Backhaul Medium Type", medium_text(end.link.over)},
                         {"RSSI", number(end.link.signal)}});
        metrics.push_back({{"neighbor_al", neighbour},
                           {"metrics",
                            {{{"intf_mac", end.own_mac},
                              {"neighbor_if_mac", end.neighbour_mac},
                              {"phy_rate", number(end.link.rate)},
                              {"link_availability", "98"}}}}});
    }
    entry["BH Info"] = links;
    entry["backhaul link metrics"] = metrics;
}

Json dump_entry(const World &world, std::size_t device) {
    const DeviceAtStart &start = world.at_start(device);
    const bool linked = world.is_linked(device);
    Json entry = {{"AL MAC", start.al_mac},
                  {"Device role", world.now(device).role == Role::kController ? "01" : "02"},
                  {"Device name", start.name},
                  {"Manufacturer", "Lab"},
                  {"Uptime", number(kUptimeAtStart + clock_seconds(world))},
                  {"Distance from controller", number(world.depth(device))},
                  {"Upstream device", linked ? world.at_start(start.backhaul.to).al_mac : kNoMac}};
    if (const auto uplink = world.uplink_bss(device)) {
        entry["BH Interface(APCLI)"] = Json::array({{{"MAC address", start.uplink_mac},
                                                     {"Interface", "apclii0"},
                                                     {"SSID", "Home-mesh"},
                                                     {"BSSID", world.bss(start.backhaul.to, *uplink).bssid}}});
    }
    Json radios = Json::array();
    for (std::size_t i = 0; i < start.radios.size(); ++i) {
        radios.push_back(radio_json(world, device, i));
    }
    entry["Number of radios"] = radios.size();
    entry["Radio Info"] = radios;
    Json clients = Json::array();
    for (const std::string &mac : start.wired_clients) {
        clients.push_back({{"Client Address", mac}, {"1905 Intf address", start.al_mac}, {"Medium", "Ethernet"}});
    }
    entry["Other Clients Info"] = clients;
    add_links(world, device, entry);
    return entry;
}

void add_wifi(const World &world, std::size_t device, Json &description) {
    for (const Radio &radio : world.at_start(device).radios) {
        for (const Bss &bss : radio.bss) {
            const bool enabled = world.now(device).disabled.count(bss.interface) == 0;
            description["wifi"].push_back({{"instance", radio.instance(bss)},
                                           {"name", bss.interface},
                                           {"mac", bss.bssid},
                                           {"bssid", bss.bssid},
                                           {"enable", enabled},
                                           {"status", enabled ? "Up" : "Down"}});
        }
    }
}

void add_stations(const World &world, std::size_t device, Json &description) {
    Json &stations = description["stations"];
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        const auto place = world.bss_of(i);
        if (place && world.station_now(i).device == device) {
            stations[world.bss(device, *place).interface].push_back(
                {{"mac", world.station(i).mac}, {"rate", world.rate(i)}});
        }
    }
    for (std::size_t i = 0; i < world.size(); ++i) {
        const auto place = world.uplink_bss(i);
        if (place && world.at_start(i).backhaul.to == device) {
            stations[world.bss(device, *place).interface].push_back({{"mac", world.at_start(i).uplink_mac},
                                                                     {"rate", world.at_start(i).backhaul.rate},
                                                                     {"mesh_al_mac", world.at_start(i).al_mac}});
        }
    }
}

std::string lease(const World &world, const std::string &mac, const std::string &ip, const std::string &name) {
    return number(kStartOfTime + clock_seconds(world) + kLeaseSeconds) + ' ' + mac + ' ' + ip + ' ' + name +
           " 01:" + mac + '\n';
}

}  // namespace

std::string topology_dump(const World &world, std::size_t device) {
    Json entries = Json::array({dump_entry(world, device)});
    for (std::size_t i = 0; i < world.size(); ++i) {
        if (i != device && world.reaches(device, i)) {
            entries.push_back(dump_entry(world, i));
        }
    }
    const Json dump = {{"profile", "1"},
                       {"version", "1.3"},
                       {"timestamp", number(kStartOfTime + clock_seconds(world))},
                       {"topology information", entries}};
    return dump.dump(1) + '\n';
}

nlohmann::ordered_json device_description(const World &world, std::size_t device) {
    const DeviceAtStart &start = world.at_start(device);
    const auto controller = world.controller();
    Json description = {{"role", world.now(device).role == Role::kController ? "controller" : "agent"},
                        {"base_mac", start.base_mac},
                        {"controller_mac", controller ? world.at_start(*controller).al_mac : kNoMac},
                        {"firmware_version", start.firmware_version},
                        {"host_name", start.host_name},
                        {"ip", start.ip},
                        {"wifi", Json::array()},
                        {"stations", Json::object()},
                        {"known_devices", Json::array()}};
    description["ethernet_links"] =
        Json::array({{{"lower_layers", "Device.Bridging.Bridge.1.Port.1"}, {"mac", start.al_mac}, {"status", "Up"}}});
    add_wifi(world, device, description);
    add_stations(world, device, description);
    for (std::size_t i = 0; i < world.size(); ++i) {
        if (i != device && world.reaches(device, i)) {
            description["known_devices"].push_back(world.at_start(i).al_mac);
        }
    }
    return description;
}

std::string leases(const World &world) {
    std::string text;
    for (std::size_t i = 0; i < world.size(); ++i) {
        const DeviceAtStart &start = world.at_start(i);
        if (start.has_backhaul && world.now(i).up) {
            text += lease(world, start.al_mac, start.lease_ip, start.host_name);
        }
    }
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        const StationAtStart &start = world.station(i);
        if (world.bss_of(i)) {
            text += lease(world, start.mac, start.ip, start.host_name);
        }
    }
    return text;
}

std::string agent_report(const World &world, std::size_t device) {
    const DeviceAtStart &start = world.at_start(device);
    std::string stations;
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        if (world.station_now(i).device == device && world.bss_of(i)) {
            stations += (stations.empty() ? "{ \"STAMac\": \"" : ", { \"STAMac\": \"") +
                        short_mac(world.station(i).mac) + "\", \"PhyRate\": " + number(world.rate(i)) + '}';
        }
    }
    return "{ \"SrcAlMac\": \"" + start.base_mac + "\", \"FWVersion\": \"" + start.firmware_version +
           "\", \"HostName\": \"" + start.host_name + "\", \"DeviceIP\": \"" + start.ip + "\", \"STAInfo\": [" +
           stations + "]}";
}

std::vector<std::size_t> devices_with_long_reports(const World &world) {
    std::vector<std::size_t> devices;
    for (std::size_t i = 0; i < world.size(); ++i) {
        if (world.now(i).role == Role::kAgent && agent_report(world, i).size() > kMaxMessage) {
            devices.push_back(i);
        }
    }
    return devices;
}

nlohmann::ordered_json world_state(const World &world) {
    Json devices = Json::array();
    for (std::size_t i = 0; i < world.size(); ++i) {
        const DeviceAtStart &start = world.at_start(i);
        devices.push_back({{"name", start.name},
                           {"role", world.now(i).role == Role::kController ? "controller" : "agent"},
                           {"up", world.now(i).up},
                           {"al_mac", start.al_mac},
                           {"firmware_version", start.firmware_version},
                           {"host_name", start.host_name},
                           {"ip", start.ip},
                           {"lease_ip", start.lease_ip},
                           {"off", world.now(i).disabled},
                           {"blocked", world.now(i).blocked},
                           {"wired_clients", start.wired_clients}});
    }
    Json stations = Json::array();
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        const StationNow &now = world.station_now(i);
        const auto place = world.bss_of(i);
        Json station = {
            {"mac", world.station(i).mac},    {"name", world.station_name(i)},
            {"ip", world.station(i).ip},      {"device", world.at_start(now.device).name},
            {"connected", place.has_value()}, {"band", world.station(i).band == Band::k2_4GHz ? "2.4 GHz" : "5 GHz"},
            {"signal", now.signal},           {"rate", world.rate(i)}};
        if (place) {
            station["interface"] = world.bss(now.device, *place).interface;
            station["bssid"] = world.bss(now.device, *place).bssid;
        }
        stations.push_back(station);
    }
    return {{"cycle", world.cycle()}, {"devices", devices}, {"stations", stations}};
}

}  // namespace lab
