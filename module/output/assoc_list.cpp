// Writes the two association lists: one line per Wi-Fi station anywhere in the mesh, one file per band. Timer thread,
// right after the build.

#include <algorithm>
#include <cstring>
#include <iterator>

#include "module/base/mac.h"
#include "module/base/paths.h"
#include "module/model/band.h"
#include "module/model/list.h"
#include "module/model/mac_index.h"
#include "module/output/text_file.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

// The channel of the band as the lines show it: a shorter text overwrites only the start of a longer one of a device
// before, and a device without one shows that of the device before. Readers live with it.
class ChannelText {
public:
    void overlay(Text channel) {
        if (!channel.empty()) {
            std::memcpy(text_, channel.data(), channel.size());
        }
    }
    Text view() const { return {text_, strnlen(text_, sizeof(text_))}; }

private:
    ChannelField text_ = {};
};

constexpr std::size_t kWidest = 10;  // of the columns
constexpr char kBlanks[] = "          ";
static_assert(sizeof(kBlanks) > kWidest);

// Prints a text that ends in this column, or behind it when it is longer. The blanks are copied all at once, those that
// are not wanted are written over: no call is made for a few bytes.
char *print_padded(char *at, Text text, std::size_t width) {
    std::memcpy(at, kBlanks, kWidest);
    at += text.size() < width ? width - text.size() : 0;
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

// One band's file as it grows.
class BandList {
public:
    explicit BandList(const Band &band) : band_(band) {}

    void add_device(const qo1905_device &device) {
        channel_.overlay(field_text(device.Info.*band_.channel));
        if (!index_stations(device)) {
            text_.fail();
            return;
        }
        for (const qo1905_non1905_group &group : ListNodes(device.NonIEEE1905Neighbor)) {
            if (takes_group(field_text(group.Name))) {
                add_group(group);
            }
        }
    }

    const MemoryText &text() const { return text_; }

private:
    bool takes_group(Text name) const {
        const bool is_5g = contains(name, kBand5G.prefix);
        return &band_ == &kBand5G ? is_5g : !is_5g && name != kWiredGroup;
    }

    bool takes_media_type(std::uint32_t code) const {
        const auto &taken = band_.station_media_types;
        return std::find(std::begin(taken), std::end(taken), code) != std::end(taken);
    }

    // The stations of the band alone: of the others there may be many with the same MAC. False without memory.
    bool index_stations(const qo1905_device &device) {
        stations_.clear();
        for (const qo1905_sta_info &station : ListNodes(device.STAInfo)) {
            if (takes_media_type(station.MediaType) && !stations_.add(mac_key(station.STAMac), &station)) {
                return false;
            }
        }
        stations_.sort();
        return true;
    }

    void add_group(const qo1905_non1905_group &group) {
        for (const qo1905_non1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            const MacIndex::Entry *first = stations_.find(mac_key(neighbor.NeighborInterfaceId));
            if (first != nullptr) {
                const auto &station = *static_cast<const qo1905_sta_info *>(first->record);
                write_line(text_, station, field_text(group.Name), channel_.view());
            }
        }
    }

    const Band &band_;
    MemoryText text_;
    ChannelText channel_;
    MacIndex stations_;
};

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t updateWifiAssocList() {
    BandList low(kBand24G);
    BandList high(kBand5G);
    const qo1905_network_topology *network = getNetTopolTable();
    if (network != nullptr && network->IEEE1905DeviceNumberOfEntries != 0) {
        for (const qo1905_device &device : ListNodes(network->IEEE1905Device)) {
            low.add_device(device);
            high.add_device(device);
        }
    }
    write_text_file(kAssocList24G, low.text());
    write_text_file(kAssocList5G, high.text());
    return 0;
}
