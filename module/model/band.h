// The two Wi-Fi bands: all that the module knows of one stands here.
#pragma once

#include "module/base/paths.h"
#include "qo1905.h"

namespace qo1905 {

using ChannelField = char[sizeof(qo1905_device_info::Channel24G)];

struct Band {
    Text prefix;                                // of the driver's interfaces: "ra0", "ra1", ...
    Text first_interface;                       // the access point's own
    Text medium;                                // as the dump calls it
    std::uint32_t media_type;                   // of an access point of this band (IEEE 1905.1 table 6-12)
    ChannelField qo1905_device_info::*channel;  // where a device keeps the band's channel
    const char *dat_file;                       // the driver's settings
};

inline constexpr Band kBand24G = {"ra",       "ra0", "2.4G", QO1905_MEDIA_80211N_24GHZ, &qo1905_device_info::Channel24G,
                                  kDatFile24G};
inline constexpr Band kBand5G = {"rai",     "rai0", "5G", QO1905_MEDIA_80211N_5GHZ, &qo1905_device_info::Channel5G,
                                 kDatFile5G};

// The driver has this many interfaces of each.
inline constexpr unsigned kInterfacesPerBand = 4;

}  // namespace qo1905
