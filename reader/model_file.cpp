#include "reader/model_file.h"

#include <unordered_map>

#include "reader/json.h"

namespace reader {
namespace {

constexpr int kLeastSignal = -127;
constexpr int kMostRate = 65535;

bool contains(const std::string &text, const char *part) { return text.find(part) != std::string::npos; }

// "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))" and its kin.
std::optional<Medium> medium_of(const std::string &media_type) {
    if (contains(media_type, "802.3")) {
        return Medium::kEthernet;
    }
    if (contains(media_type, "2.4")) {
        return Medium::k2_4GHz;
    }
    return contains(media_type, "5.0") || contains(media_type, "(5GHz)") ? std::optional(Medium::k5GHz) : std::nullopt;
}

std::optional<Band> band_of(std::optional<Medium> medium) {
    if (medium == Medium::k2_4GHz) {
        return Band::k2_4GHz;
    }
    return medium == Medium::k5GHz ? std::optional(Band::k5GHz) : std::nullopt;
}

// What the module prints for a text that is not set.
std::optional<std::string> known(const std::string &text) {
    return !text.empty() && text != "(null)" && text != "Unknown" ? std::optional(text) : std::nullopt;
}

// 0 is what stands there when nobody has told.
std::optional<int> known_number(std::int64_t number, std::int64_t least, std::int64_t most) {
    return number != 0 && number >= least && number <= most ? std::optional(static_cast<int>(number)) : std::nullopt;
}

// --- where the reading is ---

enum class Place {
    kElsewhere,
    kFile,
    kDevice,
    kVendor,
    kAl,
    kAlInterface,
    kTopology,
    kRemote,
    kRemoteInterface,
    kStation,
    kNeighbour,
};

struct Step {
    Place from;
    const char *key;
    bool numbered;
    Place to;
};
constexpr Step kSteps[] = {
    {Place::kRemote, "NonIEEE1905Neighbor", true, Place::kStation},
    {Place::kRemote, "IEEE1905Neighbor", true, Place::kNeighbour},
    {Place::kRemote, "Interface", true, Place::kRemoteInterface},
    {Place::kTopology, "IEEE1905Device", true, Place::kRemote},
    {Place::kAl, "Interface", true, Place::kAlInterface},
    {Place::kAl, "NetworkTopology", false, Place::kTopology},
    {Place::kVendor, "AL", false, Place::kAl},
    {Place::kDevice, "X_0A3C5E_IEEE1905", false, Place::kVendor},
    {Place::kFile, "Device", false, Place::kDevice},
};

Place next_place(Place from, const std::string &key) {
    for (const Step &step : kSteps) {
        if (step.from == from && (step.numbered ? is_numbered(key, step.key) : key == step.key)) {
            return step.to;
        }
    }
    return Place::kElsewhere;
}

// The members of an interface or a neighbour, whatever their order.
struct Members {
    std::string interface_id;  // InterfaceId or NeighborInterfaceId
    std::string device_id;
    std::string media_type;
    std::string local_interface;
    std::int64_t rssi = 0;
    std::int64_t rate = 0;
};

// The members of a device.
struct DeviceMembers {
    std::string al_mac;
    std::string name;
    std::string address;
    std::string firmware;
};

struct TextMember {
    const char *key;
    std::string Members::*field;
};
constexpr TextMember kTextMembers[] = {
    {"InterfaceId", &Members::interface_id},       {"NeighborInterfaceId", &Members::interface_id},
    {"NeighborDeviceId", &Members::device_id},     {"MediaType", &Members::media_type},
    {"LocalInterface", &Members::local_interface},
};

struct DeviceTextMember {
    const char *key;
    std::string DeviceMembers::*field;
};
constexpr DeviceTextMember kDeviceTextMembers[] = {
    {"IEEE1905Id", &DeviceMembers::al_mac},
    {"Hostname", &DeviceMembers::name},
    {"DeviceIP", &DeviceMembers::address},
    {"FirmwareVersion", &DeviceMembers::firmware},
};

// --- the reading ---

class Handler : public JsonHandler {
public:
    ModelFile take() { return std::move(model_); }
    bool has_al() const { return has_al_; }
    bool is_dump() const { return is_dump_; }

    void start_again() override { *this = Handler(); }

    bool start_object(std::size_t) override {
        const Place to = places_.empty() ? Place::kFile : next_place(places_.back(), key_);
        places_.push_back(to);
        if (to == Place::kAl) {
            has_al_ = true;
        } else if (to == Place::kRemote) {
            begin_device();
        } else if (is_small(to)) {
            object_key_ = key_;
            members_ = Members();
        }
        return true;
    }

    bool end_object() override {
        const Place left = places_.back();
        places_.pop_back();
        switch (left) {
            case Place::kAlInterface:
                add_interface(model_.interfaces);
                break;
            case Place::kRemoteInterface:
                add_remote_interface();
                break;
            case Place::kStation:
                add_station();
                break;
            case Place::kNeighbour:
                add_neighbour();
                break;
            case Place::kRemote:
                end_device();
                break;
            default:
                break;
        }
        return true;
    }

    bool start_array(std::size_t) override {
        places_.push_back(Place::kElsewhere);
        return true;
    }
    bool end_array() override {
        places_.pop_back();
        return true;
    }

    bool key(std::string &key) override {
        key_ = std::move(key);
        is_dump_ = is_dump_ || (places_.size() == 1 && key_ == "topology information");
        return true;
    }

    bool string(std::string &value) override {
        const Place place = places_.empty() ? Place::kElsewhere : places_.back();
        if (is_small(place)) {
            take_text(members_, kTextMembers, value);
        } else if (place == Place::kRemote) {
            take_text(device_members_, kDeviceTextMembers, value);
        } else if (place == Place::kAl && key_ == "IEEE1905Id") {
            model_.al_mac = Mac::parse(value);
        }
        return true;
    }

    bool number_integer(std::int64_t value) override {
        if (!places_.empty() && is_small(places_.back())) {
            members_.rssi = key_ == "RSSI" ? value : members_.rssi;
            members_.rate = key_ == "RATE" ? value : members_.rate;
        }
        return true;
    }
    bool number_unsigned(std::uint64_t value) override {
        return number_integer(value > INT32_MAX ? INT64_MAX : static_cast<std::int64_t>(value));
    }
    bool number_float(double, const std::string &) override { return true; }
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool binary(Json::binary_t &) override { return true; }

private:
    static bool is_small(Place place) {
        return place == Place::kStation || place == Place::kNeighbour || place == Place::kRemoteInterface ||
               place == Place::kAlInterface;
    }

    template <class Record, class Rows>
    void take_text(Record &record, const Rows &rows, std::string &value) const {
        for (const auto &row : rows) {
            if (key_ == row.key) {
                record.*row.field = std::move(value);
                return;
            }
        }
    }

    void begin_device() {
        device_members_ = DeviceMembers();
        interfaces_.clear();
        local_interfaces_.clear();
        stations_.clear();
        neighbours_.clear();
    }

    std::optional<Medium> medium() const { return medium_of(members_.media_type); }

    bool add_interface(std::vector<Interface> &interfaces) {
        const auto mac = Mac::parse(members_.interface_id);
        if (mac) {
            interfaces.push_back({*mac, members_.media_type, band_of(medium()), Interface::Use::kOther});
        }
        return mac.has_value();
    }

    void add_remote_interface() {
        if (add_interface(interfaces_)) {
            local_interfaces_.emplace(object_key_, interfaces_.back().mac);
        }
    }

    void add_station() {
        if (const auto mac = Mac::parse(members_.interface_id)) {
            Station station{*mac, *mac, {}, {}, {}, {}, {}, {}, {}, false};
            station.band = band_of(medium());
            station.is_wired = medium() == Medium::kEthernet;
            station.signal = known_number(members_.rssi, kLeastSignal, -1);
            station.rate = known_number(members_.rate, 1, kMostRate);
            stations_.emplace_back(std::move(station), std::move(members_.local_interface));
        }
    }

    // One without radio values is told by its device instead of its interface.
    void add_neighbour() {
        const auto interface = Mac::parse(members_.interface_id);
        const auto mac = interface ? interface : Mac::parse(members_.device_id);
        if (mac) {
            neighbours_.push_back({*mac, medium(), known_number(members_.rssi, kLeastSignal, -1),
                                   known_number(members_.rate, 1, kMostRate)});
        }
    }

    void end_device() {
        const auto al_mac = Mac::parse(device_members_.al_mac);
        if (!al_mac) {
            return;
        }
        ModelDevice device{*al_mac,
                           known(device_members_.name),
                           known(device_members_.address),
                           known(device_members_.firmware),
                           std::move(interfaces_),
                           std::move(neighbours_),
                           {}};
        device.stations.reserve(stations_.size());
        for (auto &[station, local_interface] : stations_) {
            const auto interface = local_interfaces_.find(local_interface);
            station.device = *al_mac;
            if (interface != local_interfaces_.end()) {
                station.interface = interface->second;
            }
            device.stations.push_back(std::move(station));
        }
        model_.devices.push_back(std::move(device));
    }

    ModelFile model_;
    bool has_al_ = false;
    bool is_dump_ = false;
    std::vector<Place> places_;  // of the objects and arrays that are open
    std::string key_;            // the last that was met
    std::string object_key_;     // of the interface or neighbour that is being read
    Members members_;
    // Of the device that is being read.
    DeviceMembers device_members_;
    std::vector<Interface> interfaces_;
    std::unordered_map<std::string, Mac> local_interfaces_;
    std::vector<std::pair<Station, std::string>> stations_;  // with the key of their interface
    std::vector<ModelNeighbour> neighbours_;
};

}  // namespace

std::optional<ModelFile> parse_model(const std::string &text, std::string &reason) {
    Handler handler;
    if (!read_json(text, handler, reason)) {
        return std::nullopt;
    }
    if (!handler.has_al()) {
        reason = handler.is_dump() ? "is a topology dump and no model; a replay makes one of it (./dev run --dump)"
                                   : "is JSON, but no model: it has no Device.X_0A3C5E_IEEE1905.AL";
        return std::nullopt;
    }
    return handler.take();
}

}  // namespace reader
