#include "module/output/code_names.h"

#include "module/output/packed_rows.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

// The last row of a table: what is printed for every code that no row before has.
constexpr std::uint16_t kOtherwise = 0xffff;

constexpr Row name_row(CodeTable table, std::uint16_t code, Text name) {
    return {name, static_cast<std::uint8_t>(table), 0, code};
}

constexpr Row kNames[] = {
    // The blank before the parenthesis of 802.11af is one of a kind; readers know it.
    name_row(CodeTable::kMediaType, QO1905_MEDIA_FAST_ETHERNET, "IEEE 802.3u(IEEE 802.3u Fast Ethernet)"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_GIGABIT_ETHERNET, "IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211B_24GHZ, "IEEE 802.11b(IEEE 802.11b (2.4GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211G_24GHZ, "IEEE 802.11g(IEEE 802.11g (2.4GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211A_5GHZ, "IEEE 802.11a(IEEE 802.11a (5GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211N_24GHZ, "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211N_5GHZ, "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211AC_5GHZ, "IEEE 802.11ac(IEEE 802.11ac (5GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211AD_60GHZ, "IEEE 802.11ad(IEEE 802.11ad (60GHz))"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_80211AF, "IEEE 802.11af (IEEE 802.11af)"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_1901_WAVELET, "IEEE 1901 Wavelet(IEEE 1901 Wavelet)"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_1901_FFT, "IEEE 1901 FFT(IEEE 1901 FFT)"),
    name_row(CodeTable::kMediaType, QO1905_MEDIA_MOCA_V11, "MoCAv1.1(MoCAv1.1)"),
    name_row(CodeTable::kMediaType, kOtherwise, "Unknown"),

    // "Unspported" is misspelt: readers compare with it.
    name_row(CodeTable::kPowerState, 0, "On"),
    name_row(CodeTable::kPowerState, 1, "Power_Save"),
    name_row(CodeTable::kPowerState, 2, "Off"),
    name_row(CodeTable::kPowerState, 3, "Unspported"),
    name_row(CodeTable::kPowerState, kOtherwise, "Unknown"),

    // In capitals, unlike an interface's; the others are the same.
    name_row(CodeTable::kAlStatus, 0, "UP"),
    name_row(CodeTable::kInterfaceStatus, 0, "Up"),
    name_row(CodeTable::kInterfaceStatus, 1, "Down"),
    name_row(CodeTable::kInterfaceStatus, 3, "Dormant"),
    name_row(CodeTable::kInterfaceStatus, 4, "NotPresent"),
    name_row(CodeTable::kInterfaceStatus, 5, "LowerLayerDown"),
    name_row(CodeTable::kInterfaceStatus, 6, "Error"),
    name_row(CodeTable::kInterfaceStatus, kOtherwise, "Unknown"),

    name_row(CodeTable::kTopologyStatus, 0, "Incomplete"),
    name_row(CodeTable::kTopologyStatus, 1, "Available"),
    name_row(CodeTable::kTopologyStatus, 2, "Error_Misconfigured"),
    name_row(CodeTable::kTopologyStatus, kOtherwise, "Unknown"),

    name_row(CodeTable::kTopologyEnable, 0, "false"),
    name_row(CodeTable::kTopologyEnable, 1, "true"),
    name_row(CodeTable::kTopologyEnable, kOtherwise, "null"),

    name_row(CodeTable::kSetupMethod, 0, "UCPK"),
    name_row(CodeTable::kSetupMethod, 1, "PBC"),
    name_row(CodeTable::kSetupMethod, 2, "NFCNK"),
    name_row(CodeTable::kSetupMethod, kOtherwise, "Unknown"),

    name_row(CodeTable::kEventType, 0, "NewNeighbor"),
    name_row(CodeTable::kEventType, 1, "LostNeighbor"),
    name_row(CodeTable::kEventType, kOtherwise, ""),

    name_row(CodeTable::kNeighborType, 0, "IEEE1905"),
    name_row(CodeTable::kNeighborType, 1, "Non-IEEE1905"),
    name_row(CodeTable::kNeighborType, kOtherwise, "Unknown"),

    name_row(CodeTable::kDeviceType, 0, "Registrar"),
    name_row(CodeTable::kDeviceType, kOtherwise, "Enrollee"),
};

}  // namespace

Text code_name(CodeTable table, std::uint32_t code) {
    if (table == CodeTable::kAlStatus && code != 0) {
        table = CodeTable::kInterfaceStatus;
    }
    for (const Row row : packed_rows<kNames>()) {
        if (row.kind == static_cast<std::uint8_t>(table) && (row.number == code || row.number == kOtherwise)) {
            return row.text;
        }
    }
    return "";
}

bool is_wifi_media_type(std::uint32_t code) {
    return code >= QO1905_MEDIA_80211B_24GHZ && code <= QO1905_MEDIA_80211AF;
}

}  // namespace qo1905
