#include "cli/pictures.h"

#include "cli/text.h"
#include "reader/words.h"

namespace cli {

using reader::Device;
using reader::Mac;
using reader::Snapshot;
using reader::Station;

namespace {

class Tree {
public:
    Tree(const Snapshot &snapshot, const Options &options, bool with_stations)
        : options_(options), with_stations_(with_stations), stations_(by_device(snapshot)) {
        for (const Device *device : ordered_devices(snapshot)) {
            if (device->parent) {
                children_[*device->parent].push_back(device);
            } else {
                roots_.push_back(device);
            }
        }
    }

    // Without recursion: a chain may be as long as a file can tell.
    std::string draw() {
        struct Step {
            const Device *device;
            std::string indent;
            bool is_last;
        };
        std::vector<Step> open;
        for (auto root = roots_.rbegin(); root != roots_.rend(); ++root) {
            open.push_back({*root, "", true});
        }
        while (!open.empty()) {
            const Step step = open.back();
            open.pop_back();
            const bool is_root = !step.device->parent;
            const std::string indent = is_root ? "" : indent_below(step.indent, step.is_last);
            text_ +=
                is_root ? "" : step.indent + (step.is_last ? "\xe2\x94\x94\xe2\x94\x80 " : "\xe2\x94\x9c\xe2\x94\x80 ");
            text_ += describe(*step.device) + '\n';
            const auto &children = children_[step.device->al_mac];
            add_stations(*step.device, indent, children.empty());
            for (auto child = children.rbegin(); child != children.rend(); ++child) {
                open.push_back({*child, indent, child == children.rbegin()});
            }
        }
        return text_;
    }

private:
    // Of bytes; beyond, all stand one below the other: nobody has seen such a mesh, and a file may tell of one.
    static constexpr std::size_t kMostIndent = 300;

    static std::string indent_below(const std::string &indent, bool is_last) {
        const char *more = is_last ? "   " : "\xe2\x94\x82  ";
        return indent.size() > kMostIndent ? indent : indent + more;
    }

    std::string describe(const Device &device) const {
        std::string text = visible(label(device, options_));
        if (options_.names && device.name) {
            text += "  " + device.al_mac.text();
        }
        if (device.parent) {
            text += "  " + link_text(in_words(device.medium), device.signal, device.rate, options_);
        } else if (device.role) {
            text += "  " + std::string(reader::word(*device.role));
        }
        if (!with_stations_ && stations_.count(device.al_mac) != 0) {
            text += "  " + count_text(count_of(stations_, device.al_mac));
        }
        return text + (!device.parent && device.hops != 0U ? "  (no way to the gateway is known)" : "");
    }

    void add_stations(const Device &device, const std::string &indent, bool nothing_follows) {
        const auto here = stations_.find(device.al_mac);
        if (!with_stations_ || here == stations_.end()) {
            return;
        }
        for (const Station *station : here->second) {
            const bool is_last = nothing_follows && station == here->second.back();
            text_ += indent + (is_last ? "\xe2\x94\x94 " : "\xe2\x94\x9c ") + visible(label(*station, options_)) +
                     (options_.names && station->name ? "  " + station->mac.text() : "") + "  " +
                     link_text(band_of(*station), station->signal, station->rate, options_) + '\n';
        }
    }

    const Options &options_;
    bool with_stations_;
    StationsByDevice stations_;
    std::map<Mac, std::vector<const Device *>> children_;
    std::vector<const Device *> roots_;  // the gateway, and whoever has no parent
    std::string text_;
};

}  // namespace

std::string tree_text(const Snapshot &snapshot, const Options &options, bool with_stations) {
    return Tree(snapshot, options, with_stations).draw();
}

namespace {

std::string way_text(const Snapshot &snapshot, Mac from, std::string link, const Options &options) {
    std::string text;
    const auto way = way_of(snapshot, from);
    for (const Device *device : way) {
        text += link.empty() ? "" : "  \xe2\x94\x82 " + link + '\n';
        text += visible(label(*device, options)) + (options.names && device->name ? "  " + device->al_mac.text() : "") +
                '\n';
        link = link_text(in_words(device->medium), device->signal, device->rate, options);
    }
    const bool arrives = !way.empty() && way.back()->hops == 0U;
    return text + (arrives ? "" : "  \xe2\x94\x82 no way to the gateway is known\n");
}

}  // namespace

std::string path_text(const Snapshot &snapshot, const Station &station, const Options &options) {
    return visible(label(station, options)) + (options.names && station.name ? "  " + station.mac.text() : "") + '\n' +
           way_text(snapshot, station.device, link_text(band_of(station), station.signal, station.rate, options),
                    options);
}

std::string path_text(const Snapshot &snapshot, const Device &device, const Options &options) {
    return way_text(snapshot, device.al_mac, "", options);
}

namespace {

// Lines of "what  value"; what is unknown has none.
class Card {
public:
    void begin(const std::string &title) { text_ += visible(title) + '\n'; }
    void line(const char *what, const std::string &value) {
        constexpr std::size_t kColumns = 11;
        text_ += value.empty() ? "" : "  " + pad(what, kColumns) + visible(value) + '\n';
    }
    const std::string &text() const { return text_; }

private:
    std::string text_;
};

std::string interface_text(const reader::Interface &interface) {
    return interface.mac.text() + "  " + reader::word(interface.use) +
           (interface.band ? std::string("  ") + reader::word(*interface.band) : "") +
           (interface.media_type.empty() ? "" : "  " + interface.media_type);
}

void show_device(Card &card, const Snapshot &snapshot, const Device &device, const Count &count,
                 const Options &options) {
    const Options plain;  // a card is read, not looked at
    card.begin("device " + label(device, options));
    card.line("AL MAC", device.al_mac.text());
    card.line("role", in_words(device.role));
    card.line("address", device.address.value_or(""));
    card.line("firmware", device.firmware.value_or(""));
    if (device.parent) {
        card.line("uplink", label(snapshot, device.parent, options) + ", " +
                                link_text(in_words(device.medium), device.signal, device.rate, plain));
    }
    card.line("hops", device.hops ? std::to_string(*device.hops) : "");
    card.line("stations", device.is_local && !snapshot.knows_local_stations ? "" : count_text(count));
    for (const reader::Interface &interface : device.interfaces) {
        card.line("interface", interface_text(interface));
    }
}

void show_station(Card &card, const Snapshot &snapshot, const Station &station, const Options &options) {
    const Options plain;
    card.begin("station " + label(station, options));
    card.line("MAC", station.mac.text() + (station.mac.is_random() ? "  (chosen by itself)" : ""));
    card.line("address", station.address.value_or(""));
    card.line("at", label(snapshot, station.device, options) +
                        (station.interface_name ? ", " + *station.interface_name : ""));
    card.line("link", link_text(band_of(station), station.signal, station.rate, plain));
}

}  // namespace

std::string show_text(const Snapshot &snapshot, const Found &found, const Options &options) {
    Card card;
    const StationsByDevice stations = found.devices.empty() ? StationsByDevice() : by_device(snapshot);
    for (const Device *device : found.devices) {
        show_device(card, snapshot, *device, count_of(stations, device->al_mac), options);
    }
    for (const Station *station : found.stations) {
        show_station(card, snapshot, *station, options);
    }
    return card.text();
}

}  // namespace cli
