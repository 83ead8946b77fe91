#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "cli/exports.h"
#include "cli/health.h"
#include "cli/mesh.h"
#include "cli/text.h"

namespace cli {

using reader::Device;
using reader::Snapshot;
using reader::Station;

namespace {

using Labels = std::vector<std::pair<const char *, std::string>>;

constexpr double kBitsPerMegabit = 1e6;
constexpr std::array<const char *, 3> kBands = {"2.4GHz", "5GHz", "ethernet"};

// Backslash and quote are what the format asks for; nothing is left that a terminal would obey.
std::string escaped(const std::string &text) {
    std::string out;
    for (const char c : visible(text)) {
        out.append(c == '\\' || c == '"' ? "\\" : "").push_back(c);
    }
    return out;
}

std::string number(double value) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.15g", value);
    return text;
}

// One family after the other: what it is, then its samples.
class Page {
public:
    void family(const char *name, const char *type, const char *help) {
        name_ = name;
        text_.append("# HELP ").append(name).append(" ").append(help).append("\n");
        text_.append("# TYPE ").append(name).append(" ").append(type).append("\n");
    }

    void sample(const Labels &labels, double value) {
        text_ += name_;
        const char *before = "{";
        for (const auto &[name, text] : labels) {
            text_.append(before).append(name).append("=\"").append(escaped(text)).append("\"");
            before = ",";
        }
        text_ += (labels.empty() ? " " : "} ") + number(value) + '\n';
    }

    std::string text_;

private:
    std::string name_;
};

std::size_t band_index(const Station &station) {
    return station.is_wired ? 2 : station.band == reader::Band::k2_4GHz ? 0 : 1;
}

using PerBand = std::array<std::size_t, 3>;

PerBand count(const std::vector<const Station *> &stations) {
    PerBand counts = {};
    for (const Station *station : stations) {
        if (station->is_wired || station->band) {
            ++counts[band_index(*station)];
        }
    }
    return counts;
}

std::vector<const Station *> pointers(const std::vector<Station> &stations) {
    std::vector<const Station *> all;
    all.reserve(stations.size());
    for (const Station &station : stations) {
        all.push_back(&station);
    }
    return all;
}

// --- the mesh ---

void put_mesh(Page &page, const Snapshot &snapshot, const Health &health) {
    page.family("qo1905_build_info", "gauge", "Version of the command that wrote this.");
    page.sample({{"version", QO1905_VERSION}}, 1);
    page.family("qo1905_model_timestamp_seconds", "gauge", "When the model was written, since the epoch.");
    const auto since_epoch = std::chrono::duration_cast<std::chrono::milliseconds>(snapshot.time.time_since_epoch());
    page.sample({}, static_cast<double>(since_epoch.count()) / 1000);
    page.family("qo1905_devices", "gauge", "Devices in the mesh.");
    for (const reader::Role role : {reader::Role::kController, reader::Role::kAgent}) {
        std::size_t devices = 0;
        for (const Device &device : snapshot.devices) {
            devices += device.role == role ? 1 : 0;
        }
        page.sample({{"role", reader::word(role)}}, static_cast<double>(devices));
    }
    page.family("qo1905_stations", "gauge", "Stations in the mesh.");
    const PerBand stations = count(pointers(snapshot.stations));
    for (std::size_t i = 0; i < kBands.size(); ++i) {
        page.sample({{"band", kBands[i]}}, static_cast<double>(stations[i]));
    }
    page.family("qo1905_stations_weak", "gauge", "Stations that are heard badly.");
    const PerBand weak = count(health.weak_stations);
    for (std::size_t i = 0; i < 2; ++i) {
        page.sample({{"band", kBands[i]}}, static_cast<double>(weak[i]));
    }
}

// --- devices ---

void put_devices(Page &page, const Snapshot &snapshot) {
    const auto for_each = [&](auto put) {
        for (const Device &device : snapshot.devices) {
            put(device, device.al_mac.text());
        }
    };
    page.family("qo1905_device_info", "gauge", "What is known of a device.");
    for_each([&](const Device &device, const std::string &mac) {
        page.sample({{"device", mac},
                     {"name", device.name.value_or("")},
                     {"role", in_words(device.role)},
                     {"firmware", device.firmware.value_or("")},
                     {"ip", device.address.value_or("")}},
                    1);
    });
    page.family("qo1905_device_up", "gauge", "Whether a device is in the mesh.");
    for_each([&](const Device &, const std::string &mac) { page.sample({{"device", mac}}, 1); });
    const auto by = by_device(snapshot);
    page.family("qo1905_device_stations", "gauge", "Stations at a device.");
    for_each([&](const Device &device, const std::string &mac) {
        const auto here = by.find(device.al_mac);
        const PerBand stations = here == by.end() ? PerBand() : count(here->second);
        for (std::size_t i = 0; (!device.is_local || snapshot.knows_local_stations) && i < kBands.size(); ++i) {
            page.sample({{"device", mac}, {"band", kBands[i]}}, static_cast<double>(stations[i]));
        }
    });
    page.family("qo1905_device_hops", "gauge", "Links between a device and the gateway.");
    for_each([&](const Device &device, const std::string &mac) {
        if (device.hops) {
            page.sample({{"device", mac}}, *device.hops);
        }
    });
}

// As a label: without the blank.
std::string medium_label(const Device &device) {
    const std::string word = in_words(device.medium);
    return word == "2.4 GHz" ? kBands[0] : word == "5 GHz" ? kBands[1] : word.empty() ? "" : kBands[2];
}

void put_backhaul(Page &page, const Snapshot &snapshot) {
    const auto put = [&](std::optional<int> Device::*value, double unit) {
        for (const Device &device : snapshot.devices) {
            if (device.parent && device.*value) {
                page.sample({{"device", device.al_mac.text()}, {"medium", medium_label(device)}},
                            *(device.*value) * unit);
            }
        }
    };
    page.family("qo1905_backhaul_signal_dbm", "gauge", "Signal of the link to the parent, in dBm.");
    put(&Device::signal, 1);
    page.family("qo1905_backhaul_phy_rate_bits_per_second", "gauge", "PHY rate of the link to the parent.");
    put(&Device::rate, kBitsPerMegabit);
    page.family("qo1905_backhaul_info", "gauge", "Whom a device is linked to.");
    for (const Device &device : snapshot.devices) {
        if (device.parent) {
            page.sample(
                {{"device", device.al_mac.text()}, {"parent", device.parent->text()}, {"medium", medium_label(device)}},
                1);
        }
    }
}

// --- stations ---

// All that are to have series, however many there may be.
std::vector<const Station *> wanted_stations(const Snapshot &snapshot, Series series) {
    std::vector<const Station *> stations;
    for (const Station &station : snapshot.stations) {
        const bool can_be_told_apart = !station.mac.is_random() || station.name;
        if (series == Series::kAll || can_be_told_apart) {
            stations.push_back(&station);
        }
    }
    return stations;
}

void put_stations(Page &page, const Snapshot &snapshot, const PrometheusOptions &options) {
    std::vector<const Station *> stations = wanted_stations(snapshot, options.stations);
    const std::size_t omitted = stations.size() - std::min(stations.size(), options.max_stations);
    stations.resize(stations.size() - omitted);
    page.family("qo1905_stations_omitted", "gauge",
                "Stations without series of their own, because there are too many.");
    page.sample({}, static_cast<double>(omitted));
    page.family("qo1905_station_info", "gauge", "What is known of a station.");
    for (const Station *station : stations) {
        page.sample({{"station", station->mac.text()},
                     {"name", station->name.value_or("")},
                     {"device", station->device.text()},
                     {"band", station->is_wired || station->band ? kBands[band_index(*station)] : ""},
                     {"ip", station->address.value_or("")},
                     {"random", station->mac.is_random() ? "1" : "0"}},
                    1);
    }
    const auto put = [&](std::optional<int> Station::*value, double unit) {
        for (const Station *station : stations) {
            if (station->*value) {
                page.sample({{"station", station->mac.text()}}, *(station->*value) * unit);
            }
        }
    };
    page.family("qo1905_station_signal_dbm", "gauge", "Signal of a station as its device hears it, in dBm.");
    put(&Station::signal, 1);
    page.family("qo1905_station_phy_rate_bits_per_second", "gauge", "PHY rate of a station.");
    put(&Station::rate, kBitsPerMegabit);
}

}  // namespace

std::string prometheus_text(const Snapshot &snapshot, const PrometheusOptions &options) {
    Page page;
    put_mesh(page, snapshot, health_of({snapshot}, options.weak_below));
    put_devices(page, snapshot);
    put_backhaul(page, snapshot);
    if (options.stations != Series::kNone) {
        put_stations(page, snapshot, options);
    }
    return page.text_;
}

}  // namespace cli
