#include "reader/anonymise.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <map>
#include <random>
#include <set>
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

// Members whose text is of a fixed kind, or of the firmware's maker. In all others anything may stand.
bool is_harmless_key(const std::string &key) {
    static const std::set<std::string> keys = {
        // the model
        "Status", "LowerLayers", "DeviceMode", "ReleaseVersion", "LEDstatus", "DeviceType", "MediaType", "PowerState",
        "OUI", "FirmwareVersion", "Newfirmwareversion", "Newfirmwaredate", "PowerControlMediaType",
        "PowerControlPowerState", "Version", "LocalInterface", "Tx", "Rx", "SetupMethod", "InterfaceList",
        // the dump
        "profile", "version", "timestamp", "Device role", "Manufacturer", "Uptime", "Distance from controller",
        "channel", "operating class", "bandwidth", "transmit power", "DFS", "Security", "Hidden SSID", "Fronthaul",
        "Backhaul", "Medium", "BH STA", "uplink rssi", "downlink rate", "uplink rate", "associated time", "RSSI",
        "tx_packets", "rx_packets", "phy_rate", "link_availability", "Backhaul Medium Type", "Interface",
        "number of devices"};
    return keys.count(key) != 0;
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
    constexpr int kMostLevels = 1000;
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

// Without recursion: nobody promised how deep a file is.
void Anonymiser::replace_in(Json &json, const std::string &key) {
    std::vector<std::pair<Json *, std::string>> open = {{&json, key}};
    while (!open.empty()) {
        const auto [value, its_key] = open.back();
        open.pop_back();
        if (value->is_string()) {
            *value = text(value->get<std::string>(), its_key);
        }
        if (value->is_object()) {
            for (auto &[name, inner] : value->get_ref<Json::object_t &>()) {
                open.emplace_back(&inner, name);
            }
        } else if (value->is_array()) {
            for (Json &inner : *value) {
                open.emplace_back(&inner, its_key);
            }
        }
    }
}

void Anonymiser::anonymise_json(Input &input) {
    if (input.problem) {
        return;
    }
    std::string reason;
    auto json = is_deep(input.text) ? std::nullopt : parse_json(input.text, reason);
    if (!json) {
        input.problem = Problem{
            Problem::Kind::kUnreadable, input.file,
            "left out, because it cannot be made anonymous: " + (reason.empty() ? "nested too deeply" : reason)};
        input.text.clear();
        return;
    }
    replace_in(*json, "");
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

std::string Anonymiser::list(const std::string &text) {
    std::istringstream lines(text);
    std::string out;
    for (std::string line; std::getline(lines, line);) {
        const auto whose = Mac::parse(line.substr(0, kMacLength));
        out += whose ? mac(*whose) + with_other_macs(line.substr(kMacLength)) + '\n' : "";
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
           std::to_string(addresses_.size()) + " addresses are others; texts left out: " + std::to_string(left_out_);
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

std::string without_password(const std::string &model) {
    constexpr std::string_view kKey = "\"Password\"";
    std::string out = model;
    for (std::size_t at = 0; (at = out.find(kKey, at)) != std::string::npos;) {
        const std::size_t begin = out.find_first_not_of(" \t:", at + kKey.size());
        at += kKey.size();
        if (begin == std::string::npos || out[begin] != '"') {
            continue;
        }
        std::size_t end = begin + 1;
        while (end < out.size() && out[end] != '"') {
            end += out[end] == '\\' ? 2 : 1;
        }
        out.erase(begin + 1, std::min(end, out.size()) - begin - 1);
    }
    return out;
}

}  // namespace reader
