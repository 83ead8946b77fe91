#include "cli/views.h"

#include <memory>

#include "cli/health.h"
#include "cli/mesh.h"
#include "cli/pictures.h"
#include "cli/ranges.h"
#include "cli/tables.h"
#include "reader/json_form.h"

namespace cli {

using reader::Snapshot;

namespace {

using Json = nlohmann::ordered_json;

// A verb that makes a table, which JSON calls `key`.
template <class Make>
View table_view(const char *key, Make make) {
    return [=](const Moment &moment, const Options &options, Answer &answer) {
        const Table table = make(moment.now, options, answer);
        answer.text += print(table, options, reader::heading_json(moment.now), key);
        tell_missing(moment.now, options, answer);
        if (table.rows.empty()) {
            answer.end_with(kNothingMatched);
        }
    };
}

// A picture has no rows.
void refuse_rows(const char *verb, const Options &options) {
    const bool rows = options.format == Format::kTsv || options.format == Format::kValue;
    if (rows || !options.columns.empty()) {
        throw CLI::ValidationError(verb, "has no rows and columns; table and json are its outputs");
    }
}

void add(CLI::App &parent, Question &question, const char *name, const char *help, const View &view) {
    parent.add_subcommand(name, help)->callback([&question, view] { question.view = view; });
}

// "; there are: camera-1, camera-2" of what is called like that.
std::string near(const Snapshot &snapshot, const std::string &name) {
    constexpr std::size_t kMost = 5;
    const std::vector<std::string> names = names_like(snapshot, name);
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i) {
        text.append(i == 0 ? "; there are: " : ", ").append(names[i]);
    }
    return text + (names.size() > kMost ? " and others" : "");
}

// --- lists ---

void add_stations(CLI::App &parent, Question &question) {
    const auto filter = std::make_shared<StationFilter>();
    const View view =
        table_view("stations", [filter](const Snapshot &snapshot, const Options &options, Answer &answer) {
            if (!filter->device.empty() && find(snapshot, filter->device).devices.empty()) {
                answer.say("there is no device " + filter->device + near(snapshot, filter->device));
            }
            return stations_table(snapshot, *filter, options);
        });
    CLI::App *verb = parent.add_subcommand("stations", "Who is connected, where and how well");
    verb->callback([&question, view] { question.view = view; });
    verb->add_option("--device", filter->device, "Only at this device: name, MAC or address");
    verb->add_option("--band", filter->band, "Only on this: 2.4, 5 or wired")->check(CLI::IsMember(kBandWords));
    verb->add_option("--name", filter->name, "Only those with this in their names");
    verb->add_flag("--weak", filter->weak, "Only those with a weak signal");
    verb->add_option("--weak-below", filter->weak_below, "Only those with a signal below so many dBm")
        ->capture_default_str()
        ->check(signal_range())
        ->each([filter](const std::string &) { filter->weak = true; });
}

// --- pictures ---

View status_view(int weak_below) {
    return [weak_below](const Moment &moment, const Options &options, Answer &answer) {
        refuse_rows("status", options);
        const Health health = health_of(moment, weak_below);
        answer.text += is_json(options.format) ? print(to_json(moment.now, health), options.format)
                                               : status_text(moment.now, health, options);
    };
}

void add_status(CLI::App &parent, Question &question) {
    struct Wanted {
        int weak_below = kWeakSignal;
        std::string since;
    };
    const auto wanted = std::make_shared<Wanted>();
    CLI::App *verb = parent.add_subcommand("status", "One screen: is the mesh all right?");
    verb->add_option("--weak-below", wanted->weak_below, "What is weak, in dBm")
        ->capture_default_str()
        ->check(signal_range());
    verb->add_option("--since", wanted->since, "A source of before: what has changed since then?");
    verb->callback([&question, wanted] {
        question.view = [wanted](const Moment &moment, const Options &options, Answer &answer) {
            const View plain = status_view(wanted->weak_below);
            if (wanted->since.empty()) {
                plain(moment, options, answer);
                return;
            }
            const Loaded before = load(wanted->since, 0);
            refuse_other_names(before.snapshot, moment.now);
            plain({moment.now, &before.snapshot}, options, answer);
            answer.end_with(before.status);
        };
    });
}

void add_tree(CLI::App &parent, Question &question) {
    const auto with_stations = std::make_shared<bool>(false);
    const View view = [with_stations](const Moment &moment, const Options &options, Answer &answer) {
        refuse_rows("tree", options);
        answer.text += is_json(options.format) ? print(reader::to_json(moment.now), options.format)
                                               : tree_text(moment.now, options, *with_stations);
        tell_missing(moment.now, options, answer);
    };
    CLI::App *verb = parent.add_subcommand("tree", "The devices as a tree");
    verb->callback([&question, view] { question.view = view; });
    verb->add_flag("--stations", *with_stations, "With their stations");
}

// A verb about somebody: tells when nobody goes by that name, else asks `tell`.
template <class Tell>
void add_about(CLI::App &parent, Question &question, const char *name, const char *help, const char *whom, Tell tell) {
    const auto who = std::make_shared<std::string>();
    const View view = [who, name, tell](const Moment &moment, const Options &options, Answer &answer) {
        refuse_rows(name, options);
        const Found found = find(moment.now, *who);
        if (found.devices.empty() && found.stations.empty()) {
            answer.say("nothing here goes by " + *who + near(moment.now, *who));
            answer.end_with(kNothingMatched);
            return;
        }
        answer.text += tell(moment.now, found, options);
        tell_missing(moment.now, options, answer);
    };
    CLI::App *verb = parent.add_subcommand(name, help);
    verb->callback([&question, view] { question.view = view; });
    verb->add_option(whom, *who, "A name, MAC or address")->required();
}

std::string show(const Snapshot &snapshot, const Found &found, const Options &options) {
    if (!is_json(options.format)) {
        return show_text(snapshot, found, options);
    }
    Json whole = reader::heading_json(snapshot);
    whole["devices"] = Json::array();
    whole["stations"] = Json::array();
    for (const reader::Device *device : found.devices) {
        whole["devices"].push_back(reader::to_json(*device));
    }
    for (const reader::Station *station : found.stations) {
        whole["stations"].push_back(reader::to_json(*station));
    }
    return print(whole, options.format);
}

Json hops_json(const Snapshot &snapshot, reader::Mac al_mac) {
    Json hops = Json::array();
    for (const reader::Device *device : way_of(snapshot, al_mac)) {
        hops.push_back(reader::to_json(*device));
    }
    return hops;
}

// Of the stations of that name; if there are none, of the devices.
Json paths_json(const Snapshot &snapshot, const Found &found) {
    Json paths = Json::array();
    for (const reader::Station *station : found.stations) {
        paths.push_back({{"station", reader::to_json(*station)}, {"hops", hops_json(snapshot, station->device)}});
    }
    if (found.stations.empty()) {
        for (const reader::Device *device : found.devices) {
            paths.push_back({{"hops", hops_json(snapshot, device->al_mac)}});
        }
    }
    return paths;
}

std::string paths_text(const Snapshot &snapshot, const Found &found, const Options &options) {
    std::string text;
    for (const reader::Station *station : found.stations) {
        text += path_text(snapshot, *station, options);
    }
    if (found.stations.empty()) {
        for (const reader::Device *device : found.devices) {
            text += path_text(snapshot, *device, options);
        }
    }
    return text;
}

// Names are not unique, and thousands of ways may be long.
Found first_of(Found found) {
    constexpr std::size_t kMost = 100;
    found.stations.resize(std::min(found.stations.size(), kMost));
    found.devices.resize(std::min(found.devices.size(), kMost));
    return found;
}

std::string path(const Snapshot &snapshot, const Found &found, const Options &options) {
    const Found first = first_of(found);
    const std::size_t all = found.stations.empty() ? found.devices.size() : found.stations.size();
    const std::size_t shown = first.stations.empty() ? first.devices.size() : first.stations.size();
    if (!is_json(options.format)) {
        const std::string more = all > shown ? "... and " + std::to_string(all - shown) + " more of that name\n" : "";
        return paths_text(snapshot, first, options) + more;
    }
    Json whole = reader::heading_json(snapshot);
    whole["paths"] = paths_json(snapshot, first);
    if (all > shown) {
        whole["left_out"] = all - shown;
    }
    return print(whole, options.format);
}

}  // namespace

View status_view() { return status_view(kWeakSignal); }

void add_views(CLI::App &parent, Question &question) {
    add_status(parent, question);
    add_tree(parent, question);
    add(parent, question, "devices", "The devices of the mesh, from the gateway outwards",
        table_view("devices", [](const Snapshot &snapshot, const Options &options, Answer &) {
            return devices_table(snapshot, options);
        }));
    add(parent, question, "links", "How each device is linked to the one before it",
        table_view("links", [](const Snapshot &snapshot, const Options &options, Answer &) {
            return links_table(snapshot, options);
        }));
    add_stations(parent, question);
    add_about(parent, question, "show", "All that is known of a device or a station", "WHO", show);
    add_about(parent, question, "path", "The way from a station to the gateway, hop by hop", "STATION", path);
}

}  // namespace cli
