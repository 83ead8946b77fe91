#include "output/code_names.h"

#include <cstddef>

#include "model/qo1905.h"

namespace qo1905 {
namespace {

// The text stands in the row itself, so that the tables need no relocation.
template <std::size_t Length>
struct CodeName {
    std::uint32_t code;
    char name[Length];
};

template <std::size_t Length, std::size_t Rows>
constexpr bool is_sorted(const CodeName<Length> (&table)[Rows]) {
    for (std::size_t i = 1; i < Rows; ++i) {
        if (table[i - 1].code >= table[i].code) {
            return false;
        }
    }
    return true;
}

template <std::size_t Length, std::size_t Rows>
std::string_view look_up(const CodeName<Length> (&table)[Rows], std::uint32_t code, std::string_view otherwise) {
    for (const auto &row : table) {
        if (row.code == code) {
            return row.name;
        }
    }
    return otherwise;
}

constexpr std::string_view kUnknown = "Unknown";

constexpr CodeName<15> kStatus[] = {
    {1, "Down"}, {3, "Dormant"}, {4, "NotPresent"}, {5, "LowerLayerDown"}, {6, "Error"},
};
static_assert(is_sorted(kStatus));

// "Unspported" is misspelt: readers compare with it.
constexpr CodeName<11> kPowerState[] = {
    {0, "On"},
    {1, "Power_Save"},
    {2, "Off"},
    {3, "Unspported"},
};
static_assert(is_sorted(kPowerState));

constexpr CodeName<20> kTopologyStatus[] = {
    {0, "Incomplete"},
    {1, "Available"},
    {2, "Error_Misconfigured"},
};
static_assert(is_sorted(kTopologyStatus));

constexpr CodeName<6> kTopologyEnable[] = {{0, "false"}, {1, "true"}};
static_assert(is_sorted(kTopologyEnable));

constexpr CodeName<6> kSetupMethod[] = {{0, "UCPK"}, {1, "PBC"}, {2, "NFCNK"}};
static_assert(is_sorted(kSetupMethod));

constexpr CodeName<13> kEventType[] = {{0, "NewNeighbor"}, {1, "LostNeighbor"}};
static_assert(is_sorted(kEventType));

constexpr CodeName<13> kNeighborType[] = {{0, "IEEE1905"}, {1, "Non-IEEE1905"}};
static_assert(is_sorted(kNeighborType));

// The blank before the parenthesis of 802.11af is one of a kind; readers know it.
constexpr CodeName<44> kMediaType[] = {
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
static_assert(is_sorted(kMediaType));

}  // namespace

std::string_view al_status_name(std::uint32_t code) {
    // In capitals, unlike an interface's.
    return code == 0 ? "UP" : look_up(kStatus, code, kUnknown);
}

std::string_view interface_status_name(std::uint32_t code) {
    return code == 0 ? "Up" : look_up(kStatus, code, kUnknown);
}

std::string_view power_state_name(std::uint32_t code) { return look_up(kPowerState, code, kUnknown); }

std::string_view topology_status_name(std::uint32_t code) { return look_up(kTopologyStatus, code, kUnknown); }

std::string_view topology_enable_word(std::uint32_t code) { return look_up(kTopologyEnable, code, "null"); }

std::string_view setup_method_name(std::uint32_t code) { return look_up(kSetupMethod, code, kUnknown); }

std::string_view event_type_name(std::uint32_t code) { return look_up(kEventType, code, ""); }

std::string_view neighbor_type_name(std::uint32_t code) { return look_up(kNeighborType, code, kUnknown); }

std::string_view media_type_name(std::uint32_t code) { return look_up(kMediaType, code, kUnknown); }

bool is_wifi_media_type(std::uint32_t code) {
    return code >= QO1905_MEDIA_80211B_24GHZ && code <= QO1905_MEDIA_80211AF;
}

}  // namespace qo1905
