// Parses one device entry of the topology dump into the child lists and counters of its record: interfaces, neighbour
// groups and stations. Everything read here was put together from what other devices sent. Timer thread.

#include "module/topology/dump_entry.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "module/base/diag.h"
#include "module/base/json.h"
#include "module/base/mac.h"
#include "module/base/owned.h"
#include "module/base/text.h"
#include "module/model/band.h"
#include "module/model/high_layer_table.h"
#include "module/model/list.h"
#include "module/topology/entry_trace.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "getNbrDevInfo";

bool is_text(const char *text, const char *expected) { return text != nullptr && std::strcmp(text, expected) == 0; }

// What the C library's "%hd" reads. Keeps the value where the text is no number.
void parse_rssi(const char *text, std::int16_t &value) {
    if (text == nullptr) {
        return;
    }
    char *end = nullptr;
    const long number = std::strtol(text, &end, 10);
    if (end != text) {
        value = static_cast<std::int16_t>(number);
    }
}

// Neighbour entries in the order they were found, until a group takes them. The first group takes the head of the list;
// what is found later hangs behind it, and later groups get nothing: readers walk the list of the first group. What no
// group takes is freed.
template <class T>
class EntryChain {
public:
    EntryChain() = default;
    ~EntryChain() { free_list(untaken_); }
    EntryChain(const EntryChain &) = delete;
    EntryChain &operator=(const EntryChain &) = delete;

    // The new entry, linked; null without memory.
    T *add() {
        T *entry = record_new<T>();
        if (entry != nullptr) {
            tail_.append(entry);
            ++count_;
        }
        return entry;
    }

    T *take() {
        T *head = untaken_;
        untaken_ = nullptr;  // the tail stays at the last entry, if there is one
        return head;
    }

    unsigned count() const { return count_; }

private:
    T *untaken_ = nullptr;
    ListTail<T> tail_{untaken_};
    unsigned count_ = 0;
};

const Band &band_of(const char *channel) {
    return channel != nullptr && text_number(channel) >= kFirst5GChannel ? kBand5G : kBand24G;
}

// The band that a "Medium" names; null when it names none.
const Band *band_named(const char *medium) {
    for (const Band &band : kBands) {
        if (is_text(medium, band.medium)) {
            return &band;
        }
    }
    return nullptr;
}

// What is read of a station, of which there are more than of anything else.
enum StationText { kStationMac, kStationBackhaul, kStationRssi, kStationMedium, kStationTexts };
constexpr char kStationKeys[kStationTexts][16] = {"STA MAC address", "BH STA", "uplink rssi", "Medium"};

// What is read of an Ethernet client.
enum ClientText { kClientMac, kClientInterface, kClientTexts };
constexpr char kClientKeys[kClientTexts][18] = {"Client Address", "1905 Intf address"};

// What is read of a backhaul.
enum BackhaulText { kBackhaulNeighbor, kBackhaulInterface, kBackhaulRssi, kBackhaulMedium, kBackhaulTexts };
constexpr char kBackhaulKeys[kBackhaulTexts][21] = {"neighbor almac addr", "connected iface addr", "RSSI",
                                                    "Backhaul Medium Type"};

// ---- the least that things take in a dump ----

// An element of a list, with its comma: `0,`.
constexpr std::size_t kElementBytes = 2;
// Beside its key, a member with the least value: `"":0,`.
constexpr std::size_t kMemberBytes = 5;
// What a MAC's text takes more than that when its last byte is not 0: it was parsed to its end.
constexpr std::size_t kWholeMacBytes = sizeof("\"1:1:1:1:1:1\"") - sizeof("0");

std::size_t bytes_of(const Mac &mac) { return mac[5] != 0 ? kWholeMacBytes : 0; }

// Of a member with each of these keys.
template <std::size_t N, std::size_t kSize>
constexpr std::array<std::size_t, N> member_bytes(const char (&keys)[N][kSize]) {
    std::array<std::size_t, N> bytes{};
    for (std::size_t i = 0; i < N; ++i) {
        bytes[i] = kMemberBytes + Text(keys[i]).size();
    }
    return bytes;
}
constexpr auto kStationBytes = member_bytes(kStationKeys);
constexpr auto kClientBytes = member_bytes(kClientKeys);
constexpr auto kBackhaulBytes = member_bytes(kBackhaulKeys);

// Of an element that has these members, where there is a text.
template <std::size_t N>
std::size_t bytes_of(const std::array<std::size_t, N> &members, const char *const (&texts)[N]) {
    std::size_t bytes = kElementBytes;
    for (std::size_t i = 0; i < N; ++i) {
        bytes += texts[i] != nullptr ? members[i] : 0;
    }
    return bytes;
}

// "neighbor_if_mac" of the first backhaul link to each neighbour that tells it. An entry may hold as many links as
// backhauls that ask, and a text as long as all of them: each is read once.
class NeighborInterfaces {
public:
    // False without memory.
    bool build(const JsonItems &links) {
        if (links.size() == 0) {
            return true;
        }
        macs_.reset(static_cast<Mac *>(std::calloc(links.size(), sizeof(Mac))));
        Mac *mac = macs_.get();
        if (mac == nullptr) {
            return false;
        }
        for (json_object *link : links) {
            const char *neighbor = json_text(link, "neighbor_al");
            const char *text = json_text(json_items(link, "metrics")[0], "neighbor_if_mac");
            if (neighbor == nullptr || text == nullptr) {
                continue;
            }
            parse_mac(text, *mac);
            bytes_ += sizeof(R"({"neighbor_al":0,"metrics":[{"neighbor_if_mac":0}]})") + bytes_of(*mac);
            if (!index_.add(neighbor, mac++)) {
                return false;
            }
        }
        return true;
    }

    // Of the dump, at least.
    std::size_t bytes() const { return bytes_; }

    // Null when no link tells it.
    const Mac *of(const char *neighbor_al) const { return static_cast<const Mac *>(index_.find(neighbor_al)); }

private:
    TextIndex index_;
    HeapPtr<Mac[]> macs_;
    std::size_t bytes_ = 0;
};

// One call's work. The steps follow the order in which the record's lists are filled.
class EntryParser {
public:
    EntryParser(json_object *entry, qo1905_device &device, const ReportIndex &reports)
        : entry_(entry),
          device_(device),
          reports_(reports),
          interfaces_(device.Interface),
          non1905_groups_(device.NonIEEE1905Neighbor),
          groups_1905_(device.IEEE1905Neighbor),
          stations_(device.STAInfo) {}

    // How many bytes of the dump were made something of, at least.
    std::size_t bytes() const { return bytes_; }

    int parse() {
        if (!add_fixed_interfaces() || !add_radios()) {
            return QO1905_FAILURE;
        }
        add_ethernet_clients();
        if (!add_backhauls()) {
            return QO1905_FAILURE;
        }
        device_.STAInfoNumberOfEntries = static_cast<std::uint16_t>(wifi_backhauls_ + last_station_count_);
        return QO1905_SUCCESS;
    }

private:
    static bool tell_no_memory() {
        std::printf("%s: Alloc struct buf failed!!\n", kName);
        return false;
    }

    bool add_interface(const char *mac, std::uint32_t media_type) {
        auto *interface = record_new<qo1905_device_interface>();
        if (interface == nullptr) {
            return tell_no_memory();
        }
        if (mac != nullptr) {
            parse_mac(mac, interface->InterfaceId);
            interface->MediaType = media_type;
        }
        interfaces_.append(interface);
        return true;
    }

    // The AL itself and the uplink station interface stand in every list, known or not.
    bool add_fixed_interfaces() {
        const char *al_mac = json_text(entry_, "AL MAC");
        parse_mac(al_mac, device_.IEEE1905Id);
        reported_ = reports_.of(device_.IEEE1905Id);
        const char *uplink = json_text(json_items(entry_, "BH Interface(APCLI)")[0], "MAC address");
        device_.InterfaceNumberOfEntries = 2;
        return add_interface(al_mac, QO1905_MEDIA_FAST_ETHERNET) && add_interface(uplink, QO1905_MEDIA_80211N_5GHZ);
    }

    bool add_radios() {
        const JsonItems radios = json_items(entry_, "Radio Info");
        const int announced = json_number(entry_, "Number of radios");
        for (int r = 0; r < announced && static_cast<std::size_t>(r) < radios.size(); ++r) {
            json_object *radio = radios[static_cast<std::size_t>(r)];
            if (!add_radio(json_text(radio, "channel"), json_items(radio, "BSSINFO"))) {
                return false;
            }
        }
        return true;
    }

    bool add_radio(const char *channel, const JsonItems &bsss) {
        const Band &band = band_of(channel);
        std::uint32_t index = 0;
        for (json_object *bss : bsss) {
            if (!add_bss(bss, band, channel, index++)) {
                return false;
            }
        }
        return true;
    }

    bool add_bss(json_object *bss, const Band &band, const char *channel, std::uint32_t index) {
        ++device_.InterfaceNumberOfEntries;
        const char *bssid = json_text(bss, "BSSID");
        if (bssid == nullptr) {
            std::printf("bssID have not value!\n");
            return false;
        }
        bytes_ += sizeof(R"({"BSSID":0})") - 1;
        EntryChain<qo1905_non1905_neighbor> clients;
        EntryChain<qo1905_1905_neighbor> mesh_stations;
        add_stations(json_member(bss, "connected sta info"), clients, mesh_stations);
        if (clients.count() > 0) {
            add_wifi_group(bssid, band, index, clients);
        }
        if (mesh_stations.count() > 0) {
            add_1905_group(bssid, mesh_stations.count(), mesh_stations);
        }
        add_to(device_.NonIEEE1905NeighborNumberOfEntries, clients.count());
        add_to(device_.IEEE1905NeighborNumberOfEntries, mesh_stations.count());
        if (!add_interface(bssid, band.media_type)) {
            return false;
        }
        if (channel != nullptr) {
            fill_field(device_.Info.*band.channel, channel);
        }
        return true;
    }

    void add_stations(json_object *list, EntryChain<qo1905_non1905_neighbor> &clients,
                      EntryChain<qo1905_1905_neighbor> &mesh_stations) {
        if (!json_is_array(list)) {
            return;
        }
        const JsonItems stations(list);
        last_station_count_ = stations.size();
        for (json_object *station : stations) {
            const char *texts[kStationTexts];
            json_texts(station, kStationKeys, texts);
            Mac mac = {};
            parse_mac(texts[kStationMac], mac);
            bytes_ += bytes_of(kStationBytes, texts) + bytes_of(mac);
            const char *backhaul = texts[kStationBackhaul];
            if (is_text(backhaul, "No")) {
                if (auto *entry = clients.add()) {
                    copy_mac(entry->NeighborInterfaceId, mac);
                }
            } else if (is_text(backhaul, "Yes")) {
                if (auto *entry = mesh_stations.add()) {
                    copy_mac(entry->NeighborDeviceId, mac);
                }
            }
            add_station(mac, texts[kStationRssi], texts[kStationMedium]);
        }
    }

    void add_station(const Mac &mac, const char *rssi, const char *medium) {
        parse_rssi(rssi, rssi_);
        auto *node = record_new<qo1905_sta_info>();
        if (node == nullptr) {
            return;
        }
        copy_mac(node->STAMac, mac);
        if (const Band *band = band_named(medium)) {
            node->MediaType = band->media_type;
        }
        node->RSSI = rssi_;
        node->PhyRate = reported_.rate(node->STAMac);
        stations_.append(node);
    }

    // The name counts the BSSs of a radio, not the radios of a band: the first of each is "ra0" or "rai0".
    void add_wifi_group(const char *bssid, const Band &band, std::uint32_t index,
                        EntryChain<qo1905_non1905_neighbor> &clients) {
        BoundedText<sizeof(qo1905_non1905_group::Name)> name;
        name.append(band.prefix);
        name.append_number(index);
        add_non1905_group(bssid, name.c_str(), clients.count(), clients);
    }

    void add_non1905_group(const char *local_mac, const char *name, unsigned count,
                           EntryChain<qo1905_non1905_neighbor> &entries) {
        auto *group = record_new<qo1905_non1905_group>();
        if (group == nullptr) {
            return;
        }
        parse_mac(local_mac, group->LocalInterface);
        fill_field(group->Name, name);
        group->Count = static_cast<std::uint8_t>(count);
        group->Neighbor = entries.take();
        non1905_groups_.append(group);
    }

    void add_1905_group(const char *local_mac, unsigned count, EntryChain<qo1905_1905_neighbor> &entries) {
        auto *group = record_new<qo1905_1905_group>();
        if (group == nullptr) {
            return;
        }
        parse_mac(local_mac, group->LocalInterface);
        group->Count = static_cast<std::uint8_t>(count);
        group->Neighbor = entries.take();
        groups_1905_.append(group);
    }

    // One group per client, even behind one interface; all clients hang on the first.
    void add_ethernet_clients() {
        EntryChain<qo1905_non1905_neighbor> entries;
        for (json_object *client : json_items(entry_, "Other Clients Info")) {
            const char *texts[kClientTexts];
            json_texts(client, kClientKeys, texts);
            bytes_ += bytes_of(kClientBytes, texts);
            if (auto *entry = entries.add()) {
                parse_mac(texts[kClientMac], entry->NeighborInterfaceId);
                bytes_ += bytes_of(entry->NeighborInterfaceId);
                add_non1905_group(texts[kClientInterface], kWiredGroup, 1, entries);
                add_to(device_.NonIEEE1905NeighborNumberOfEntries, 1);
            }
        }
    }

    bool add_backhauls() {
        const JsonItems backhauls = json_items(entry_, "BH Info");
        NeighborInterfaces interfaces;
        if (!interfaces.build(json_items(entry_, "backhaul link metrics"))) {
            return tell_no_memory();
        }
        bytes_ += interfaces.bytes();
        EntryChain<qo1905_1905_neighbor> entries;
        for (json_object *backhaul : backhauls) {
            const char *texts[kBackhaulTexts];
            json_texts(backhaul, kBackhaulKeys, texts);
            bytes_ += bytes_of(kBackhaulBytes, texts);
            const Mac *neighbor_mac = interfaces.of(texts[kBackhaulNeighbor]);
            if (auto *entry = entries.add()) {
                copy_if_told(entry->NeighborDeviceId, neighbor_mac);
                add_1905_group(texts[kBackhaulInterface], 1, entries);
            }
            add_backhaul_station(neighbor_mac, texts[kBackhaulRssi], texts[kBackhaulMedium]);
        }
        add_to(device_.IEEE1905NeighborNumberOfEntries, backhauls.size());
        return true;
    }

    static void copy_if_told(Mac &to, const Mac *from) {
        if (from != nullptr) {
            copy_mac(to, *from);
        }
    }

    void add_backhaul_station(const Mac *neighbor_mac, const char *rssi, const char *medium) {
        parse_rssi(rssi, rssi_);
        const Band *band = band_named(medium);
        const bool ethernet = is_text(medium, "Ethernet");
        if (band != nullptr) {
            ++wifi_backhauls_;
        }
        if (ethernet) {
            fill_field(device_.Info.DeviceMode, "AP");
        }
        auto *node = record_new<qo1905_sta_info>();
        if (node == nullptr) {
            return;
        }
        copy_if_told(node->STAMac, neighbor_mac);
        node->MediaType = band != nullptr ? band->media_type : 0;
        node->RSSI = ethernet ? static_cast<std::int16_t>(0) : rssi_;
        stations_.append(node);
    }

    // The record's counters are narrower than what a dump can hold; they wrap.
    static void add_to(std::uint16_t &counter, std::size_t count) {
        counter = static_cast<std::uint16_t>(counter + count);
    }

    json_object *entry_;
    qo1905_device &device_;
    const ReportIndex &reports_;
    ReportIndex::Reported reported_;  // by this device
    ListTail<qo1905_device_interface> interfaces_;
    ListTail<qo1905_non1905_group> non1905_groups_;
    ListTail<qo1905_1905_group> groups_1905_;
    ListTail<qo1905_sta_info> stations_;
    std::size_t bytes_ = 0;
    std::size_t wifi_backhauls_ = 0;
    std::size_t last_station_count_ = 0;  // of the last BSS with a list of them, not the sum
    std::int16_t rssi_ = 0;               // of the last text that was a number
};

}  // namespace

int parse_dump_entry(json_object *topology, qo1905_device &device, std::uint16_t index, const ReportIndex &reports,
                     std::size_t &bytes) {
    json_object *entry = JsonItems(topology)[index];
    if (entry == nullptr) {
        std::printf("%s: dev1905 == NULL !!!!!!!!!!!!!\n", kName);
        return QO1905_FAILURE;
    }
    EntryParser parser(entry, device, reports);
    const int result = parser.parse();
    bytes = parser.bytes();
    if (result == QO1905_SUCCESS) {
        trace_entry(device, index);
    }
    return result;
}

}  // namespace qo1905

using namespace qo1905;

int32_t getNbrDevInfo(json_object *topology, qo1905_device *device, uint16_t index) {
    ReportIndex reports;
    if (!reports.build(imported_reports())) {
        return QO1905_FAILURE;
    }
    std::size_t bytes = 0;
    return parse_dump_entry(topology, *device, index, reports, bytes);
}
