#include "module/output/code_names.h"

#include <array>
#include <cstddef>

#include "qo1905.h"

namespace qo1905 {
namespace {

// Texts in place: a table without pointers needs nothing done to it when the module is loaded.
struct CodeName {
    CodeTable table;
    std::uint8_t code;
    char name[20];
};
struct MediaTypeName {
    std::uint16_t code;
    char name[44];
};

// The last row of each table: what is printed for every code that no row before has.
constexpr std::uint8_t kOtherwise = 0xff;

constexpr CodeName kNames[] = {
    // In capitals, unlike an interface's; the others are the same.
    {CodeTable::kAlStatus, 0, "UP"},
    {CodeTable::kAlStatus, 1, "Down"},
    {CodeTable::kAlStatus, 3, "Dormant"},
    {CodeTable::kAlStatus, 4, "NotPresent"},
    {CodeTable::kAlStatus, 5, "LowerLayerDown"},
    {CodeTable::kAlStatus, 6, "Error"},
    {CodeTable::kAlStatus, kOtherwise, "Unknown"},

    {CodeTable::kInterfaceStatus, 0, "Up"},
    {CodeTable::kInterfaceStatus, 1, "Down"},
    {CodeTable::kInterfaceStatus, 3, "Dormant"},
    {CodeTable::kInterfaceStatus, 4, "NotPresent"},
    {CodeTable::kInterfaceStatus, 5, "LowerLayerDown"},
    {CodeTable::kInterfaceStatus, 6, "Error"},
    {CodeTable::kInterfaceStatus, kOtherwise, "Unknown"},

    // "Unspported" is misspelt: readers compare with it.
    {CodeTable::kPowerState, 0, "On"},
    {CodeTable::kPowerState, 1, "Power_Save"},
    {CodeTable::kPowerState, 2, "Off"},
    {CodeTable::kPowerState, 3, "Unspported"},
    {CodeTable::kPowerState, kOtherwise, "Unknown"},

    {CodeTable::kTopologyStatus, 0, "Incomplete"},
    {CodeTable::kTopologyStatus, 1, "Available"},
    {CodeTable::kTopologyStatus, 2, "Error_Misconfigured"},
    {CodeTable::kTopologyStatus, kOtherwise, "Unknown"},

    {CodeTable::kTopologyEnable, 0, "false"},
    {CodeTable::kTopologyEnable, 1, "true"},
    {CodeTable::kTopologyEnable, kOtherwise, "null"},

    {CodeTable::kSetupMethod, 0, "UCPK"},
    {CodeTable::kSetupMethod, 1, "PBC"},
    {CodeTable::kSetupMethod, 2, "NFCNK"},
    {CodeTable::kSetupMethod, kOtherwise, "Unknown"},

    {CodeTable::kEventType, 0, "NewNeighbor"},
    {CodeTable::kEventType, 1, "LostNeighbor"},
    {CodeTable::kEventType, kOtherwise, ""},

    {CodeTable::kNeighborType, 0, "IEEE1905"},
    {CodeTable::kNeighborType, 1, "Non-IEEE1905"},
    {CodeTable::kNeighborType, kOtherwise, "Unknown"},

    {CodeTable::kDeviceType, 0, "Registrar"},
    {CodeTable::kDeviceType, kOtherwise, "Enrollee"},
};

// The blank before the parenthesis of 802.11af is one of a kind; readers know it.
constexpr MediaTypeName kMediaTypeNames[] = {
    {QO1905_MEDIA_FAST_ETHERNET, "IEEE 802.3u(IEEE 802.3u Fast Ethernet)"},
    {QO1905_MEDIA_GIGABIT_ETHERNET, "IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)"},
    {QO1905_MEDIA_80211B_24GHZ, "IEEE 802.11b(IEEE 802.11b (2.4GHz))"},
    {QO1905_MEDIA_80211G_24GHZ, "IEEE 802.11g(IEEE 802.11g (2.4GHz))"},
    {QO1905_MEDIA_80211A_5GHZ, "IEEE 802.11a(IEEE 802.11a (5GHz))"},
    {QO1905_MEDIA_80211N_24GHZ, "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))"},
    {QO1905_MEDIA_80211N_5GHZ, "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))"},
    {QO1905_MEDIA_80211AC_5GHZ, "IEEE 802.11ac(IEEE 802.11ac (5GHz))"},
    {QO1905_MEDIA_80211AD_60GHZ, "IEEE 802.11ad(IEEE 802.11ad (60GHz))"},
    {QO1905_MEDIA_80211AF, "IEEE 802.11af (IEEE 802.11af)"},
    {QO1905_MEDIA_1901_WAVELET, "IEEE 1901 Wavelet(IEEE 1901 Wavelet)"},
    {QO1905_MEDIA_1901_FFT, "IEEE 1901 FFT(IEEE 1901 FFT)"},
    {QO1905_MEDIA_MOCA_V11, "MoCAv1.1(MoCAv1.1)"},
};

constexpr std::size_t kTables = static_cast<std::size_t>(CodeTable::kDeviceType) + 1;

constexpr std::size_t index_of(CodeTable table) { return static_cast<std::size_t>(table); }

// Table after table in the order of their enumerators, in each the codes ascending up to kOtherwise.
constexpr bool is_in_order() {
    std::size_t table = 0;
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        const bool begins = i == 0 || kNames[i - 1].code == kOtherwise;
        if (index_of(kNames[i].table) != table || (!begins && kNames[i - 1].code >= kNames[i].code)) {
            return false;
        }
        table += kNames[i].code == kOtherwise ? 1 : 0;
    }
    return table == kTables;
}
static_assert(is_in_order());

constexpr std::array<std::uint8_t, kTables> first_rows() {
    std::array<std::uint8_t, kTables> rows{};
    for (std::size_t i = std::size(kNames); i-- > 0;) {
        rows[index_of(kNames[i].table)] = static_cast<std::uint8_t>(i);
    }
    return rows;
}
constexpr std::array<std::uint8_t, kTables> kFirstRows = first_rows();

constexpr bool media_types_ascend() {
    for (std::size_t i = 1; i < std::size(kMediaTypeNames); ++i) {
        if (kMediaTypeNames[i - 1].code >= kMediaTypeNames[i].code) {
            return false;
        }
    }
    return true;
}
static_assert(media_types_ascend());

}  // namespace

Text code_name(CodeTable table, std::uint32_t code) {
    const CodeName *row = kNames + kFirstRows[index_of(table)];
    while (row->code != code && row->code != kOtherwise) {
        ++row;
    }
    return row->name;
}

Text media_type_name(std::uint32_t code) {
    for (const MediaTypeName &row : kMediaTypeNames) {
        if (row.code == code) {
            return row.name;
        }
    }
    return "Unknown"sv;
}

bool is_wifi_media_type(std::uint32_t code) {
    return code >= QO1905_MEDIA_80211B_24GHZ && code <= QO1905_MEDIA_80211AF;
}

}  // namespace qo1905
