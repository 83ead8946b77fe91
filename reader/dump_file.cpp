#include "reader/dump_file.h"

#include <map>

#include "reader/json.h"

namespace reader {
namespace {

constexpr int kLeastSignal = -127;
constexpr int kMostRate = 65535;

std::optional<Medium> medium_of(const Json &object, const char *key) {
    const std::string text = text_of(object, key).value_or("");
    if (text == "2.4G") {
        return Medium::k2_4GHz;
    }
    if (text == "5G") {
        return Medium::k5GHz;
    }
    return text == "Ethernet" ? std::optional(Medium::kEthernet) : std::nullopt;
}

std::optional<Band> band_of(const Json &station) {
    const auto medium = medium_of(station, "Medium");
    if (medium == Medium::k2_4GHz) {
        return Band::k2_4GHz;
    }
    return medium == Medium::k5GHz ? std::optional(Band::k5GHz) : std::nullopt;
}

// As the daemon counts: below channel 36 is 2.4 GHz.
std::optional<Band> band_of_radio(const Json &radio) {
    constexpr int kMostChannel = 233;
    constexpr int kFirstHigh = 36;
    const auto channel = number_of(radio, "channel", 1, kMostChannel);
    if (!channel) {
        return std::nullopt;
    }
    return *channel < kFirstHigh ? Band::k2_4GHz : Band::k5GHz;
}

std::optional<Role> role_of(const Json &entry) {
    const std::string role = text_of(entry, "Device role").value_or("");
    if (role == "01") {
        return Role::kController;
    }
    return role == "02" ? std::optional(Role::kAgent) : std::nullopt;
}

std::optional<int> signal_of(const Json &object, const char *key) { return number_of(object, key, kLeastSignal, -1); }

class Entry {
public:
    Entry(const Json &entry, Mac al_mac)
        : entry_(entry),
          device_{al_mac, role_of(entry), text_of(entry, "Device name"), mac_of(entry, "Upstream device"), {}, {}, {}} {
    }

    DumpDevice read() {
        for (const Json &uplink : items(entry_, "BH Interface(APCLI)")) {
            if (const auto mac = mac_of(uplink, "MAC address")) {
                device_.interfaces.push_back({*mac, "", std::nullopt, Interface::Use::kUplink});
            }
        }
        for (const Json &radio : items(entry_, "Radio Info")) {
            for (const Json &bss : items(radio, "BSSINFO")) {
                read_bss(bss, band_of_radio(radio));
            }
        }
        for (const Json &client : items(entry_, "Other Clients Info")) {
            if (const auto mac = mac_of(client, "Client Address")) {
                Station station = station_of(*mac);
                station.interface = mac_of(client, "1905 Intf address");
                station.is_wired = true;
                device_.stations.push_back(station);
            }
        }
        read_links();
        return std::move(device_);
    }

private:
    Station station_of(Mac mac) const { return {mac, device_.al_mac, {}, {}, {}, {}, {}, {}, {}, false}; }

    void read_bss(const Json &bss, std::optional<Band> band) {
        const auto bssid = mac_of(bss, "BSSID");
        if (bssid) {
            device_.interfaces.push_back({*bssid, "", band, Interface::Use::kBss});
        }
        for (const Json &entry : items(bss, "connected sta info")) {
            const auto mac = mac_of(entry, "STA MAC address");
            if (!mac || text_of(entry, "BH STA") == "Yes") {
                continue;
            }
            Station station = station_of(*mac);
            station.interface = bssid;
            station.band = band_of(entry) ? band_of(entry) : band;
            station.signal = signal_of(entry, "uplink rssi");
            station.rate = number_of(entry, "uplink rate", 1, kMostRate);
            device_.stations.push_back(station);
        }
    }

    void read_links() {
        std::map<Mac, int> rates;
        for (const Json &link : items(entry_, "backhaul link metrics")) {
            const auto neighbour = mac_of(link, "neighbor_al");
            const Json &metrics = items(link, "metrics");
            const auto rate = metrics.empty() ? std::nullopt : number_of(metrics[0], "phy_rate", 1, kMostRate);
            if (neighbour && rate) {
                rates.emplace(*neighbour, *rate);
            }
        }
        for (const Json &link : items(entry_, "BH Info")) {
            const auto neighbour = mac_of(link, "neighbor almac addr");
            if (!neighbour) {
                continue;
            }
            const auto rate = rates.find(*neighbour);
            device_.links.push_back({*neighbour, medium_of(link, "Backhaul Medium Type"), signal_of(link, "RSSI"),
                                     rate != rates.end() ? std::optional(rate->second) : std::nullopt});
        }
    }

    const Json &entry_;
    DumpDevice device_;
};

}  // namespace

std::optional<DumpFile> parse_dump(const std::string &text, std::string &reason) {
    const auto json = parse_json(text, reason);
    if (!json) {
        return std::nullopt;
    }
    const Json &entries = member(*json, "topology information");
    if (!entries.is_array()) {
        reason = "is JSON, but no topology dump: it has no array \"topology information\"";
        return std::nullopt;
    }
    DumpFile dump;
    for (const Json &entry : entries) {
        if (const auto al_mac = mac_of(entry, "AL MAC")) {
            dump.devices.push_back(Entry(entry, *al_mac).read());
        }
    }
    return dump;
}

}  // namespace reader
