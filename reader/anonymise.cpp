#include "reader/anonymise.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "reader/json.h"
#include "reader/json_form.h"

namespace reader {
namespace {

constexpr std::size_t kMacLength = 17;

// Members whose text is a name that somebody has given.
const std::map<std::string, const char *> &name_kinds() {
    static const std::map<std::string, const char *> kinds = {
        {"Hostname", "device"}, {"Device name", "device"}, {"SSID", "ssid"}};
    return kinds;
}

// Members whose values are of a fixed kind, or of the firmware's maker.
constexpr std::string_view kHarmlessKeys[] = {
    // the model
    "Status", "LastChange", "LowerLayers", "InterfaceNumberOfEntries", "EnableReboot", "EnableInterfacePowerControl",
    "DeviceMode", "ReleaseVersion", "ResetAfterDistribution", "LEDstatus", "DeviceType", "SendSearchMsg",
    "SendResponseMsg", "MediaType", "PowerState", "LinkNumberOfEntries", "OUI", "Enable",
    "IEEE1905DeviceNumberOfEntries", "NonIEEE1905NeighborNumberOfEntries", "IEEE1905NeighborNumberOfEntries",
    "BridgingTupleNumberOfEntries", "FirmwareVersion", "Newfirmware", "NewfirmwareUpgradeState", "Newfirmwareversion",
    "Newfirmwaredate", "PowerControlMediaType", "PowerControlPowerState", "Ap-autoconfig", "Ap-autoconfig_2.4G",
    "Ap-autoconfig_5G", "Version", "L2DeviveCtrl", "WiFiAutoCfg", "WiFiOnOff", "FwUpgrade", "LEDOnOff",
    "LocalInterface", "RATE", "RSSI", "SignalLevel", "Tx", "Rx", "IEEE802dot1Bridge", "InterfaceList", "SetupMethod",
    // the dump
    "profile", "version", "timestamp", "Device role", "Manufacturer", "Uptime", "Distance from controller",
    "Number of radios", "channel", "operating class", "bandwidth", "transmit power", "DFS", "BSS count", "Security",
    "Hidden SSID", "Fronthaul", "Backhaul", "Medium", "BH STA", "uplink rssi", "downlink rate", "uplink rate",
    "associated time", "tx_packets", "rx_packets", "phy_rate", "link_availability", "Backhaul Medium Type", "Interface",
    "number of devices"};

bool is_harmless_key(const std::string &key) {
    return std::find(std::begin(kHarmlessKeys), std::end(kHarmlessKeys), key) != std::end(kHarmlessKeys);
}

// Members that hold others, or a MAC or an address, which are replaced wherever they stand, or what is blanked.
constexpr std::string_view kOtherKeys[] = {"Device",
                                           "X_0A3C5E_IEEE1905",
                                           "Information",
                                           "Password",
                                           "AL",
                                           "NetworkTopology",
                                           "VendorProperties",
                                           "AppVersion",
                                           "Security",
                                           "IEEE1905Id",
                                           "InterfaceId",
                                           "NeighborInterfaceId",
                                           "NeighborDeviceId",
                                           "DeviceIP",
                                           "topology information",
                                           "Radio Info",
                                           "BSSINFO",
                                           "connected sta info",
                                           "BH Interface(APCLI)",
                                           "Other Clients Info",
                                           "BH Info",
                                           "backhaul link metrics",
                                           "metrics",
                                           "AL MAC",
                                           "Upstream device",
                                           "radio identifier",
                                           "BSSID",
                                           "STA MAC address",
                                           "MAC address",
                                           "Client Address",
                                           "1905 Intf address",
                                           "neighbor almac addr",
                                           "connected iface addr",
                                           "Backhaul BSSID",
                                           "neighbor_al",
                                           "intf_mac",
                                           "neighbor_if_mac"};

bool is_known_key(const std::string &key) {
    const std::string kind = key.substr(0, key.rfind('.'));
    return std::find(std::begin(kOtherKeys), std::end(kOtherKeys), key) != std::end(kOtherKeys) ||
           is_harmless_key(key) || name_kinds().count(key) != 0 ||
           (is_numbered(key, kind.c_str()) &&
            (kind == "Interface" || kind == "NonIEEE1905Neighbor" || kind == "IEEE1905Neighbor" ||
             kind == "IEEE1905Device" || kind == "BridgingTuple"));
}

bool is_number(const std::string &text) {
    return !text.empty() && text.find_first_not_of("-0123456789.") == std::string::npos && text.size() < kMacLength;
}

bool is_address(const std::string &text) {
    std::array<unsigned char, sizeof(in6_addr)> bytes = {};
    return inet_pton(AF_INET, text.c_str(), bytes.data()) == 1 || inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1;
}

std::string numbered(const char *format, std::size_t number) {
    std::array<char, 64> text = {};
    const auto byte = [number](unsigned shift) { return static_cast<unsigned>(number >> shift & 0xffU); };
    (void)std::snprintf(text.data(), text.size(), format, byte(16), byte(8), byte(0));
    return text.data();
}

std::vector<std::string> words_of(const std::string &line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

// Nobody's and everybody's tell nothing.
bool is_somebodys(Mac mac) { return mac.text() != "ff:ff:ff:ff:ff:ff"; }

}  // namespace

std::string Anonymiser::mac(Mac mac) {
    if (!is_somebodys(mac)) {
        return mac.text();
    }
    const auto [place, is_new] = macs_.try_emplace(mac);
    if (is_new) {
        place->second = numbered(mac.is_random() ? "02:00:5e:%02x:%02x:%02x" : "00:00:5e:%02x:%02x:%02x", macs_.size());
    }
    return place->second;
}

std::string Anonymiser::name(const std::string &name, const char *kind) {
    if (name.empty() || name == "*" || name == "Unknown") {
        return name;
    }
    const auto [place, is_new] = names_.try_emplace(name);
    if (is_new) {
        place->second = std::string(kind) + '-' + std::to_string(names_.size());
    }
    return place->second;
}

std::string Anonymiser::address(const std::string &address) {
    const auto [place, is_new] = addresses_.try_emplace(address);
    if (is_new) {
        // Networks that are nobody's: for benchmarks and for documents.
        constexpr std::size_t kBenchmarks = std::size_t{18} << 16U;
        const bool is_old = address.find(':') == std::string::npos;
        place->second =
            numbered(is_old ? "198.%u.%u.%u" : "2001:db8::%x:%x:%x", addresses_.size() + (is_old ? kBenchmarks : 0));
    }
    return place->second;
}

// --- JSON ---

namespace {

// How a character changes the level of nesting.
int step_of(char c) { return c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0; }

// What is written again is written by recursion.
bool is_deep(const std::string &text) {
    constexpr int kMostLevels = 64;
    int level = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size() && level <= kMostLevels; ++i) {
        const char c = text[i];
        i += in_string && c == '\\' ? 1 : 0;
        in_string = in_string != (c == '"');
        level += in_string ? 0 : step_of(c);
    }
    return level > kMostLevels;
}

}  // namespace

std::string Anonymiser::with_other_macs(const std::string &text) {
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        const auto found = i + kMacLength <= text.size() ? Mac::parse(text.substr(i, kMacLength)) : std::nullopt;
        out += found ? mac(*found) : std::string(1, text[i]);
        i += found ? kMacLength : 1;
    }
    return out;
}

std::string Anonymiser::text(const std::string &text, const std::string &key) {
    const auto kind = name_kinds().find(key);
    if (kind != name_kinds().end()) {
        return name(text, kind->second);
    }
    if (is_address(text)) {
        return address(text);
    }
    const auto whose = Mac::parse(text);
    if (whose) {
        return mac(*whose);
    }
    if (is_harmless_key(key)) {
        return with_other_macs(text);
    }
    const bool stays = text.empty() || is_number(text);
    left_out_ += stays ? 0 : 1;
    return stays ? text : "";
}

// Without recursion: nobody promised how deep a file is. Keys are those of objects that are known, and stay where they
// are.
void Anonymiser::replace_in(Json &json) {
    static const std::string kNoKey;
    std::vector<std::pair<Json *, const std::string *>> open = {{&json, &kNoKey}};
    while (!open.empty()) {
        const auto [value, key] = open.back();
        open.pop_back();
        if (value->is_string()) {
            *value = text(value->get<std::string>(), *key);
        } else if (value->is_object()) {
            drop_unknown(*value);
            for (auto &[name, inner] : value->get_ref<Json::object_t &>()) {
                open.emplace_back(&inner, &name);
            }
        } else if (value->is_array()) {
            for (Json &inner : *value) {
                open.emplace_back(&inner, key);
            }
        }
    }
}

// A member that no gateway of ours has may be anything, its name included.
void Anonymiser::drop_unknown(Json &object) {
    auto &members = object.get_ref<Json::object_t &>();
    for (auto member = members.begin(); member != members.end();) {
        const bool known = is_known_key(member->first);
        left_out_ += known ? 0 : 1;
        member = known ? std::next(member) : members.erase(member);
    }
}

void Anonymiser::anonymise_json(Input &input) {
    if (input.problem) {
        return;
    }
    std::string reason;
    auto json = is_deep(input.text) ? std::nullopt : parse_json(input.text, reason);
    if (!json) {
        input.problem = Problem{Problem::Kind::kUnreadable, input.file,
                                "left out, because it cannot be made anonymous: it is no JSON, or nested too deeply"};
        input.text.clear();
        return;
    }
    replace_in(*json);
    input.text = json->dump(1) + '\n';
}

// --- lines ---

// Time, MAC, address, name, client identifier; the last may hold a MAC, a name or anything.
std::string Anonymiser::leases(const std::string &text) {
    std::istringstream lines(text);
    std::string out;
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> words = words_of(line);
        const auto whose = words.size() >= 4 ? Mac::parse(words[1]) : std::nullopt;
        if (whose) {
            out += (is_number(words[0]) ? words[0] : "0") + ' ' + mac(*whose) + ' ' + address(words[2]) + ' ' +
                   name(words[3], "station") + " *\n";
        }
    }
    return out;
}

// MAC, numbers and the name of an interface; of anything else only that it was there.
std::string Anonymiser::list(const std::string &text) {
    constexpr std::size_t kLongest = 16;
    std::istringstream lines(text);
    std::string out;
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> words = words_of(line);
        const auto whose = words.empty() ? std::nullopt : Mac::parse(words[0]);
        if (whose) {
            out += mac(*whose);
            std::for_each(words.begin() + 1, words.end(), [&out](const std::string &word) {
                out.append(" ").append(word.size() < kLongest ? word : "-");
            });
            out += '\n';
        }
    }
    return out;
}

void Anonymiser::anonymise(Inputs &inputs) {
    inputs.anonymous = id_;
    // The leases last: whoever has a name elsewhere is no station.
    anonymise_json(inputs.dump);
    anonymise_json(inputs.model);
    if (!inputs.leases.problem) {
        inputs.leases.text = leases(inputs.leases.text);
    }
    for (Input *input : {&inputs.list_24g, &inputs.list_5g}) {
        input->text = input->problem ? "" : list(input->text);
    }
}

// --- the table ---

std::string Anonymiser::new_id() {
    constexpr int kDigits = 16;
    std::random_device random;
    std::string id;
    for (int i = 0; i < kDigits; ++i) {
        id += "0123456789abcdef"[random() % kDigits];
    }
    return id;
}

std::string Anonymiser::summary() const {
    return std::to_string(macs_.size()) + " MACs, " + std::to_string(names_.size()) + " names and " +
           std::to_string(addresses_.size()) + " addresses are others; left out: " + std::to_string(left_out_);
}

std::string Anonymiser::table() const {
    std::map<std::string, std::string> macs;
    for (const auto &[real, other] : macs_) {
        macs[real.text()] = other;
    }
    const Json whole = {{"schema", kSchema},
                        {"id", id_},
                        {"macs", macs},
                        {"names", std::map<std::string, std::string>(names_.begin(), names_.end())},
                        {"addresses", std::map<std::string, std::string>(addresses_.begin(), addresses_.end())}};
    return whole.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

bool Anonymiser::load_table(const std::string &text) {
    std::string reason;
    const auto json = parse_json(text, reason);
    const auto id = json ? text_of(*json, "id") : std::nullopt;
    if (!id || member(*json, "schema") != kSchema) {
        return false;
    }
    id_ = *id;
    const auto each = [&](const char *key, auto take) {
        const Json &table = member(*json, key);
        for (const auto &[real, other] : table.items()) {
            if (other.is_string()) {
                take(real, other.template get<std::string>());
            }
        }
    };
    each("macs", [this](const std::string &real, const std::string &other) {
        if (const auto mac = Mac::parse(real)) {
            macs_[*mac] = other;
        }
    });
    each("names", [this](const std::string &real, const std::string &other) { names_[real] = other; });
    each("addresses", [this](const std::string &real, const std::string &other) { addresses_[real] = other; });
    return true;
}

namespace {

// Of a text, a number or a word.
std::size_t end_of_value(const std::string &text, std::size_t begin) {
    if (text[begin] != '"') {
        return std::min(text.find_first_of(",}] \t\r\n", begin), text.size());
    }
    std::size_t end = begin + 1;
    while (end < text.size() && text[end] != '"') {
        end += text[end] == '\\' ? 2 : 1;
    }
    return std::min(end + 1, text.size());
}

}  // namespace

std::string without_password(const std::string &text) {
    constexpr std::string_view kKey = "\"Password\"";
    std::string out;
    std::size_t from = 0;
    for (std::size_t at = 0; (at = text.find(kKey, from)) != std::string::npos;) {
        const std::size_t colon = text.find_first_not_of(" \t\r\n", at + kKey.size());
        const bool is_key = colon != std::string::npos && text[colon] == ':';
        const std::size_t begin = is_key ? text.find_first_not_of(" \t\r\n", colon + 1) : std::string::npos;
        out.append(text, from, (begin == std::string::npos ? at + kKey.size() : begin) - from);
        from = begin == std::string::npos ? at + kKey.size() : end_of_value(text, begin);
        out += begin == std::string::npos ? "" : "\"\"";
    }
    return out.append(text, from);
}

}  // namespace reader
