#include "reader/dump_file.h"

#include <map>
#include <string_view>
#include <unordered_set>

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

std::optional<std::string> known(std::optional<std::string> text) {
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

class Entry {
public:
    Entry(const Json &entry, Mac al_mac)
        : entry_(entry), device_{al_mac,
                                 role_of(entry),
                                 known(text_of(entry, "Device name")),
                                 mac_of(entry, "Upstream device"),
                                 {},
                                 {},
                                 {}} {}

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

// The members that an entry is read from.
bool is_wanted(std::string_view key) {
    static const std::unordered_set<std::string_view> keys = {"AL MAC",
                                                              "BH Info",
                                                              "BH Interface(APCLI)",
                                                              "BH STA",
                                                              "BSSID",
                                                              "BSSINFO",
                                                              "Backhaul Medium Type",
                                                              "Client Address",
                                                              "Device name",
                                                              "Device role",
                                                              "1905 Intf address",
                                                              "MAC address",
                                                              "Medium",
                                                              "Other Clients Info",
                                                              "RSSI",
                                                              "Radio Info",
                                                              "STA MAC address",
                                                              "Upstream device",
                                                              "backhaul link metrics",
                                                              "channel",
                                                              "connected sta info",
                                                              "metrics",
                                                              "neighbor almac addr",
                                                              "neighbor_al",
                                                              "phy_rate",
                                                              "uplink rate",
                                                              "uplink rssi"};
    return keys.count(key) != 0;
}

// One entry after the other as a tree of what is wanted of it, so that a dump never stands in memory as a whole.
class Handler : public JsonHandler {
public:
    explicit Handler(DumpFile &dump) : dump_(dump) {}

    bool has_list() const { return has_list_; }

    void start_again() override {
        dump_.devices.clear();
        has_list_ = is_list_ = is_skipping_ = false;
        depth_ = skipped_ = 0;
        open_.clear();
    }

    bool key(std::string &key) override {
        if (skipped_ == 0) {
            if (depth_ == kRoot) {
                is_list_ = key == "topology information";
                has_list_ = has_list_ && !is_list_;
            }
            is_skipping_ = !open_.empty() && !is_wanted(key);
            key_ = std::move(key);
        }
        return true;
    }

    bool start_object(std::size_t) override { return open(Json::object()); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override {
        if (depth_ == kRoot && is_list_) {
            has_list_ = true;
            dump_.devices.clear();  // of two lists the last counts, as of two members of any name
        }
        return open(Json::array());
    }
    bool end_array() override { return close(); }

    bool string(std::string &value) override { return put(std::move(value)); }
    bool number_integer(std::int64_t value) override { return put(value); }
    bool number_unsigned(std::uint64_t value) override { return put(value); }
    bool number_float(double value, const std::string &) override { return put(value); }
    bool null() override { return put(nullptr); }
    bool boolean(bool value) override { return put(value); }
    bool binary(Json::binary_t &) override { return put(nullptr); }

private:
    static constexpr std::size_t kRoot = 1;  // how many are open where the dump's own members stand
    static constexpr std::size_t kList = 2;  // and where the entries do

    bool is_in_list() const { return depth_ == kList && is_list_ && has_list_; }

    Json &place() {
        Json &parent = *open_.back();
        if (parent.is_array()) {
            parent.push_back(nullptr);
            return parent.back();
        }
        return parent[key_];
    }

    // Whether the value that comes is left out, with all that is in it.
    bool skips() {
        const bool skips = skipped_ != 0 || (is_skipping_ && open_.back()->is_object());
        is_skipping_ = is_skipping_ && skipped_ != 0;
        return skips;
    }

    bool open(Json value) {
        if (!open_.empty() && skips()) {
            ++skipped_;
            return true;
        }
        if (!open_.empty()) {
            Json &slot = place();
            slot = std::move(value);
            open_.push_back(&slot);
        } else if (is_in_list()) {
            entry_ = std::move(value);
            open_.push_back(&entry_);
        }
        ++depth_;
        return true;
    }

    bool close() {
        if (skipped_ != 0) {
            --skipped_;
            return true;
        }
        --depth_;
        if (!open_.empty()) {
            open_.pop_back();
            if (open_.empty()) {
                end_entry();
            }
        }
        return true;
    }

    template <class Value>
    bool put(Value &&value) {
        if (!open_.empty() && !skips()) {
            place() = std::forward<Value>(value);
        }
        return true;
    }

    void end_entry() {
        if (const auto al_mac = mac_of(entry_, "AL MAC")) {
            dump_.devices.push_back(Entry(entry_, *al_mac).read());
        }
        entry_ = nullptr;
    }

    DumpFile &dump_;
    bool has_list_ = false;
    bool is_list_ = false;      // the last of the dump's own members
    bool is_skipping_ = false;  // what the last key names
    std::size_t depth_ = 0;
    std::size_t skipped_ = 0;   // objects and arrays that are open in what is left out
    std::vector<Json *> open_;  // in the entry; each lies in the one before it
    Json entry_;
    std::string key_;
};

}  // namespace

std::optional<DumpFile> parse_dump(const std::string &text, std::string &reason) {
    DumpFile dump;
    Handler handler(dump);
    if (!read_json(text, handler, reason)) {
        return std::nullopt;
    }
    if (!handler.has_list()) {
        reason = "is JSON, but no topology dump: it has no array \"topology information\"";
        return std::nullopt;
    }
    return dump;
}

}  // namespace reader
