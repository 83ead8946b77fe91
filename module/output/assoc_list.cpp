// Writes the two association lists: one line per Wi-Fi station anywhere in the mesh, one file per band. Timer thread,
// right after the build.

#include "module/base/paths.h"
#include "module/model/list.h"
#include "module/output/device_objects.h"
#include "module/output/writer.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr std::size_t kChannelSize = sizeof(qo1905_device_info::Channel24G);
constexpr std::size_t kMediaTypes = 3;

struct Band {
    char (qo1905_device_info::*channel)[kChannelSize];
    bool is_5g;
    std::uint32_t media_types[kMediaTypes];

    bool takes_group(Text name) const {
        return is_5g ? contains(name, "rai"sv) : !contains(name, "rai"sv) && name != "eth"sv;
    }

    bool takes_media_type(std::uint32_t code) const {
        for (const std::uint32_t media_type : media_types) {
            if (media_type == code) {
                return true;
            }
        }
        return false;
    }
};

// The channel of the band as the lines show it: a shorter text overwrites only the start of a longer one of a device
// before, and a device without one shows that of the device before. Readers live with it.
class ChannelText {
public:
    void enter_device(Text channel) {
        if (!channel.empty()) {
            std::memcpy(text_, channel.data(), channel.size());
        }
    }
    Text view() const { return {text_, strnlen(text_, sizeof(text_))}; }

private:
    char text_[kChannelSize] = {};
};

// Prints a text that ends in this column, or behind it when it is longer.
char *print_padded(char *at, Text text, std::size_t width) {
    if (text.size() < width) {
        std::memset(at, ' ', width - text.size());
        at += width - text.size();
    }
    return print_text(at, text);
}

char *print_padded_number(char *at, std::int32_t value, std::size_t width) {
    char digits[kMaxDigits];
    const char *end = print_signed(digits, value);
    return print_padded(at, {digits, static_cast<std::size_t>(end - digits)}, width);
}

// The two zeros before the channel stand where storage addresses used to; no reader may rely on them.
void write_line(MemoryText &out, const qo1905_sta_info &station, Text interface_name, Text channel) {
    constexpr std::size_t kMaxLine = 128;  // with the longest name, channel and numbers
    char *at = out.room(kMaxLine);
    if (at == nullptr) {
        return;
    }
    print_mac(station.STAMac, at);
    at = print_text(at + kMacTextLength, "  "sv);
    at = print_padded_number(at, station.PhyRate, 10);
    at = print_text(at, "  "sv);
    at = print_padded_number(at, station.RSSI, 4);
    at = print_text(at, "     0  "sv);
    at = print_padded_number(at, station.SignalLevel, 5);
    *at++ = ' ';
    at = print_padded(at, interface_name, 8);
    at = print_text(at, " 0 0 "sv);
    at = print_text(at, channel);
    *at++ = '\n';
    out.end_at(at);
}

// The first station with this MAC in the band; null when there is none.
const qo1905_sta_info *find_station(const StationList &stations, const Mac &mac, const Band &band) {
    for (StationMatch match(stations, mac); const qo1905_sta_info *station = match.record(); match.advance()) {
        if (band.takes_media_type(station->MediaType)) {
            return station;
        }
    }
    return nullptr;
}

void write_device(MemoryText &out, const qo1905_device &device, const StationList &stations, const Band &band,
                  Text channel) {
    for (const qo1905_non1905_group &group : ListNodes(device.NonIEEE1905Neighbor)) {
        const Text name = field_text(group.Name);
        if (!band.takes_group(name)) {
            continue;
        }
        for (const qo1905_non1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            const qo1905_sta_info *station = find_station(stations, neighbor.NeighborInterfaceId, band);
            if (station != nullptr) {
                write_line(out, *station, name, channel);
            }
        }
    }
}

// A file as it grows.
struct BandList {
    const Band &band;
    MemoryText text;
    ChannelText channel;
};

// Both in one walk: finding a device's stations by MAC is half of the work.
void list_stations(BandList &low, BandList &high) {
    const qo1905_network_topology *network = getNetTopolTable();
    if (network == nullptr || network->IEEE1905DeviceNumberOfEntries == 0) {
        return;
    }
    StationList stations;
    for (const qo1905_device &device : ListNodes(network->IEEE1905Device)) {
        stations.enter(device.STAInfo);
        for (BandList *list : {&low, &high}) {
            list->channel.enter_device(field_text(device.Info.*list->band.channel));
            write_device(list->text, device, stations, list->band, list->channel.view());
        }
    }
}

constexpr Band kBand24G = {&qo1905_device_info::Channel24G,
                           false,
                           {QO1905_MEDIA_80211B_24GHZ, QO1905_MEDIA_80211G_24GHZ, QO1905_MEDIA_80211N_24GHZ}};
constexpr Band kBand5G = {&qo1905_device_info::Channel5G,
                          true,
                          {QO1905_MEDIA_80211A_5GHZ, QO1905_MEDIA_80211N_5GHZ, QO1905_MEDIA_80211AC_5GHZ}};

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t updateWifiAssocList() {
    BandList low{kBand24G, {}, {}};
    BandList high{kBand5G, {}, {}};
    list_stations(low, high);
    write_text_file(kAssocList24G, low.text);
    write_text_file(kAssocList5G, high.text);
    return 0;
}
