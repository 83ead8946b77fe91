// Writes the two association lists: one line per Wi-Fi station anywhere in the mesh, one file per band. Timer thread,
// right after the build.

#include <cstdio>

#include "core/paths.h"
#include "model/list.h"
#include "model/qo1905.h"
#include "output/device_objects.h"
#include "output/writer.h"

namespace qo1905 {
namespace {

constexpr std::size_t kChannelSize = sizeof(qo1905_device_info::Channel24G);
constexpr std::size_t kMediaTypes = 3;

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool is_24g_name(std::string_view name) { return !contains(name, "rai") && name != "eth"; }

bool is_5g_name(std::string_view name) { return contains(name, "rai"); }

struct Band {
    const char *path;
    char (qo1905_device_info::*channel)[kChannelSize];
    bool (*takes_group)(std::string_view name);
    std::uint32_t media_types[kMediaTypes];

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
    void enter_device(std::string_view channel) {
        if (!channel.empty()) {
            std::memcpy(text_, channel.data(), channel.size());
        }
    }
    std::string_view view() const { return {text_, strnlen(text_, sizeof(text_))}; }

private:
    char text_[kChannelSize] = {};
};

// The two zeros before the channel stand where storage addresses used to; no reader may rely on them.
void write_line(MemoryText &out, const qo1905_sta_info &station, std::string_view interface_name,
                std::string_view channel) {
    char numbers[64];
    const int length = std::snprintf(numbers, sizeof(numbers), "  %10d  %4hd  %4d  %5d ", station.PhyRate, station.RSSI,
                                     0, station.SignalLevel);
    constexpr std::size_t kNameWidth = 8;
    constexpr char kBlanks[] = "        ";
    out.put_mac(station.STAMac);
    out.put({numbers, static_cast<std::size_t>(length)});
    if (interface_name.size() < kNameWidth) {
        out.put({kBlanks, kNameWidth - interface_name.size()});
    }
    out.put(interface_name);
    out.put(" 0 0 ");
    out.put(channel);
    out.put("\n");
}

void write_device(MemoryText &out, const qo1905_device &device, const StationList &stations, const Band &band,
                  std::string_view channel) {
    const auto is_of_band = [&band](const qo1905_sta_info &station) {
        return band.takes_media_type(station.MediaType);
    };
    for (const qo1905_non1905_group &group : ListNodes(device.NonIEEE1905Neighbor)) {
        const std::string_view name = field_text(group.Name);
        if (!band.takes_group(name)) {
            continue;
        }
        for (const qo1905_non1905_neighbor &neighbor : ListNodes(group.Neighbor)) {
            const qo1905_sta_info *station = stations.find(neighbor.NeighborInterfaceId, is_of_band);
            if (station != nullptr) {
                write_line(out, *station, name, channel);
            }
        }
    }
}

void write_band(const Band &band) {
    MemoryText text;
    const qo1905_network_topology *network = getNetTopolTable();
    if (network != nullptr && network->IEEE1905DeviceNumberOfEntries != 0) {
        ChannelText channel;
        StationList stations;
        for (const qo1905_device &device : ListNodes(network->IEEE1905Device)) {
            channel.enter_device(field_text(device.Info.*band.channel));
            stations.enter(device.STAInfo);
            write_device(text, device, stations, band, channel.view());
        }
    }
    write_text_file(band.path, text);
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t updateWifiAssocList() {
    write_band({kAssocList24G,
                &qo1905_device_info::Channel24G,
                is_24g_name,
                {QO1905_MEDIA_80211B_24GHZ, QO1905_MEDIA_80211G_24GHZ, QO1905_MEDIA_80211N_24GHZ}});
    write_band({kAssocList5G,
                &qo1905_device_info::Channel5G,
                is_5g_name,
                {QO1905_MEDIA_80211A_5GHZ, QO1905_MEDIA_80211N_5GHZ, QO1905_MEDIA_80211AC_5GHZ}});
    return 0;
}
