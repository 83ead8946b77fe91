#include "lab/replay/dump_file.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "lab/common/json_parse.h"
#include "lab/common/text.h"
#include "reader/json.h"

namespace lab {
namespace {

using nlohmann::json;
using namespace std::string_view_literals;

constexpr const char *kEntries = "topology information";

// --- bytes that are no JSON ---

struct Signature {
    std::string_view bytes;
    const char *meaning;
};
constexpr Signature kSignatures[] = {
    {"\x1f\x8b"sv, "is compressed by gzip; unpacked it can be replayed: zcat FILE | ./dev run --dump -"},
    {"\xfd"
     "7zXZ"sv,
     "is compressed by xz; unpacked it can be replayed: xzcat FILE | ./dev run --dump -"},
    {"BZh"sv, "is compressed by bzip2; unpacked it can be replayed: bzcat FILE | ./dev run --dump -"},
    {"PK\x03\x04"sv, "is a zip archive; unpacked it can be replayed: unzip -p FILE | ./dev run --dump -"},
    {"\xff\xfe"sv, "is UTF-16, the daemon writes UTF-8: iconv -f UTF-16 -t UTF-8 FILE | ./dev run --dump -"},
    {"\xfe\xff"sv, "is UTF-16, the daemon writes UTF-8: iconv -f UTF-16 -t UTF-8 FILE | ./dev run --dump -"},
    {"\xef\xbb\xbf"sv,
     "begins with a byte order mark, which an editor has put there and the module does not take: "
     "tail -c +4 FILE | ./dev run --dump -"},
};

std::string no_text(const std::string &bytes) {
    if (bytes.find_first_not_of(" \t\r\n") == std::string::npos) {
        return "is empty";
    }
    for (const Signature &signature : kSignatures) {
        if (bytes.compare(0, signature.bytes.size(), signature.bytes) == 0) {
            return signature.meaning;
        }
    }
    if (bytes.find('\0') != std::string::npos) {  // also UTF-16 without its mark
        return "is no text: it holds zero bytes";
    }
    const char first = bytes[bytes.find_first_not_of(" \t\r\n")];
    const bool is_behind = first != '{' && first != '[' && bytes.find("\n{") != std::string::npos;
    return is_behind ? "does not begin with its \"{\": a line stands before it, perhaps of the shell it was copied from"
                     : "";
}

// --- JSON that is no dump ---

const char *kind_of(const json &value) { return value.is_null() ? "null" : value.type_name(); }

// One that is spelt nearly so is worth naming.
std::string similar_key(const json &object) {
    for (const auto &[key, value] : object.items()) {
        if (lower_case(key) == kEntries) {
            return key;
        }
    }
    return "";
}

std::string no_dump(const json &dump) {
    const std::string member = std::string("\"") + kEntries + '"';
    if (!dump.is_object()) {
        return "is JSON, but no topology dump: " + std::string(kind_of(dump)) + " where an object with " + member +
               " has to be";
    }
    if (!dump.contains(kEntries)) {
        const std::string similar = similar_key(dump);
        return "is JSON, but no topology dump: it has no " + member +
               (similar.empty() ? "" : ", but \"" + one_line(similar) + "\", which is not the same");
    }
    const json &entries = dump[kEntries];
    if (!entries.is_array()) {
        return member + " has to be an array, and is " + kind_of(entries);
    }
    const auto agents = std::count_if(entries.begin(), entries.end(), is_dump_agent);
    if (!entries.empty() && static_cast<std::size_t>(agents) == entries.size()) {
        return "holds Agents only (" + std::to_string(agents) +
               "); the module wants as many devices as Agents beside the first, and so a Controller among them";
    }
    return "";
}

// --- what is odd about one that is a dump ---

class Oddities {
public:
    std::vector<std::string> of(const json &entries) {
        for (const json &entry : entries) {
            place_ = "device " + std::to_string(&entry - &entries[0]);
            look_at_device(entry);
        }
        return std::move(found_);
    }

private:
    void say(const std::string &what) { found_.push_back(one_line(place_ + ": " + what)); }

    void look_at_mac(const std::string &what, const std::string &mac) {
        if (!is_mac(mac)) {
            say(what + " \"" + mac + "\" is no MAC: the module reads zeros or a part of it");
        } else if (mac == "00:00:00:00:00:00" || (std::stoi(mac.substr(0, 2), nullptr, 16) & 1) != 0) {
            say(what + " " + mac + " is no single device's");
        }
    }

    void look_at_device(const json &entry) {
        if (!entry.is_object()) {
            say(std::string("is ") + kind_of(entry) + " and no object");
            return;
        }
        const std::string al_mac = dump_text(entry, "AL MAC");
        look_at_mac("AL MAC", al_mac);
        if (!al_macs_.insert(lower_case(al_mac)).second) {
            say("AL MAC " + al_mac + " is another device's, too");
        }
        const std::string role = dump_text(entry, "Device role");
        if (role != "01" && role != "02") {
            say("role \"" + role + "\" is neither 01, Controller, nor 02, Agent");
        }
        const json &radios = reader::items(entry, "Radio Info");
        const json number = entry.value("Number of radios", json(0));
        if (number != radios.size() && number != std::to_string(radios.size())) {
            say("\"Number of radios\" is " + number.dump(-1, ' ', false, json::error_handler_t::replace) +
                ", \"Radio Info\" has " + std::to_string(radios.size()) + "; the module looks at as many as both have");
        }
        for (const json &radio : radios) {
            look_at_radio(radio);
        }
    }

    void look_at_radio(const json &radio) {
        for (const json &bss : reader::items(radio, "BSSINFO")) {
            if (dump_text(bss, "BSSID").empty()) {
                say("a BSS without BSSID: the module does not read the rest of this device");
            }
            for (const json &station : reader::items(bss, "connected sta info")) {
                const std::string mac = dump_text(station, "STA MAC address");
                look_at_mac("station", mac);
                if (!stations_.insert(lower_case(mac)).second) {
                    say("station " + mac + " is there twice");
                }
            }
        }
    }

    std::string place_;
    std::vector<std::string> found_;
    std::set<std::string> al_macs_;
    std::set<std::string> stations_;
};

// No uplink of a mesh device.
bool is_client(const json &station) { return dump_text(station, "BH STA") != "Yes"; }

}  // namespace

std::string dump_text(const json &object, const char *key) { return reader::text_of(object, key).value_or(""); }

bool is_dump_agent(const json &entry) {
    const auto role = reader::text_of(entry, "Device role");
    return role && std::string_view("02").substr(0, role->size()) == *role;
}

DumpFile look_at_dump(const std::string &bytes) {
    DumpFile dump;
    dump.obstacle = no_text(bytes);
    if (!dump.obstacle.empty()) {
        return dump;
    }
    const json parsed = parse_json<json>(bytes, dump.obstacle);
    if (!dump.obstacle.empty()) {
        dump.obstacle = "cannot be read beyond " + dump.obstacle;
        return dump;
    }
    dump.obstacle = no_dump(parsed);
    if (parsed.is_object() && parsed.contains(kEntries) && parsed[kEntries].is_array()) {
        dump.entries = parsed[kEntries];
    }
    dump.oddities = Oddities().of(dump.entries);
    const std::string repeated = repeated_key(bytes);
    if (!repeated.empty()) {
        dump.oddities.push_back("the key \"" + one_line(repeated) + "\" is twice in one object; the last one counts");
    }
    return dump;
}

std::string dump_contents(const DumpFile &dump) {
    long stations = 0;
    for (const json &entry : dump.entries) {
        for (const json &radio : reader::items(entry, "Radio Info")) {
            for (const json &bss : reader::items(radio, "BSSINFO")) {
                const json &list = reader::items(bss, "connected sta info");
                stations += std::count_if(list.begin(), list.end(), is_client);
            }
        }
    }
    const auto agents = std::count_if(dump.entries.begin(), dump.entries.end(), is_dump_agent);
    return plural(static_cast<long>(dump.entries.size()), "device") + ", " + plural(agents, "Agent") + ", " +
           plural(stations, "station");
}

}  // namespace lab
