// The two Wi-Fi bands, and what tells them apart.
#pragma once

#include <algorithm>
#include <cstdint>

#include "module/base/paths.h"
#include "qo1905.h"

namespace qo1905 {

using ChannelField = char[sizeof(qo1905_device_info::Channel24G)];

// Texts in place: a table without pointers needs nothing done to it when the module is loaded.
struct Band {
    char prefix[4];                             // of the driver's interfaces: "ra0", "ra1", ...
    char first_interface[5];                    // the access point's own
    char medium[5];                             // as the dump calls it
    std::uint32_t media_type;                   // of an access point (IEEE 1905.1 table 6-12)
    std::uint32_t station_media_types[3];       // of what is listed as a station of the band
    ChannelField qo1905_device_info::*channel;  // where a device keeps the band's channel
    char dat_file[std::max(sizeof(QO1905_DAT_FILE_24G), sizeof(QO1905_DAT_FILE_5G))];  // the driver's settings
};

inline constexpr Band kBands[] = {
    {"ra",
     "ra0",
     "2.4G",
     QO1905_MEDIA_80211N_24GHZ,
     {QO1905_MEDIA_80211B_24GHZ, QO1905_MEDIA_80211G_24GHZ, QO1905_MEDIA_80211N_24GHZ},
     &qo1905_device_info::Channel24G,
     QO1905_DAT_FILE_24G},
    {"rai",
     "rai0",
     "5G",
     QO1905_MEDIA_80211N_5GHZ,
     {QO1905_MEDIA_80211A_5GHZ, QO1905_MEDIA_80211N_5GHZ, QO1905_MEDIA_80211AC_5GHZ},
     &qo1905_device_info::Channel5G,
     QO1905_DAT_FILE_5G},
};
inline constexpr const Band &kBand24G = kBands[0];
inline constexpr const Band &kBand5G = kBands[1];

// A radio on this channel or above is of 5 GHz.
inline constexpr int kFirst5GChannel = 36;

// The driver has this many interfaces of each.
inline constexpr unsigned kInterfacesPerBand = 4;

// Groups of non-1905 neighbours are named by prefix and number; those behind an Ethernet interface so.
inline constexpr char kWiredGroup[] = "eth";

}  // namespace qo1905
