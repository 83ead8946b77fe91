#include "cli/happenings.h"

#include <algorithm>
#include <cstdlib>

#include "cli/tables.h"
#include "cli/text.h"

namespace cli {

using reader::Event;
using reader::EventKind;
using reader::Snapshot;

namespace {

template <class Item>
std::string who(const Item &item, const Options &options) {
    return options.names && item.name ? *item.name + " (" + item.mac.text() + ")" : item.mac.text();
}

// "attic, 5 GHz -60 dBm".
std::string place(const Snapshot &after, const reader::Whereabouts &where, const Options &options) {
    const std::string name =
        options.names && where.device_name ? *where.device_name : label(after, where.device, options);
    const std::string link = where.is_wired ? "wired" : link_text(in_words(where.band), where.signal, {}, Options());
    return name + (link == "unknown" ? "" : ", " + link);
}

// Parents are told as AL MACs; people know them by name.
std::string value(const Snapshot &after, const Event &event, const std::string &text, const Options &options) {
    return event.kind == EventKind::kParent ? label(after, reader::Mac::parse(text), options) : text;
}

// What a device is or has now, in words.
const char *change_of(EventKind kind) {
    constexpr struct {
        EventKind kind;
        const char *words;
    } kChanges[] = {{EventKind::kParent, " is linked to "}, {EventKind::kMedium, " is linked over "},
                    {EventKind::kRole, " has the role "},   {EventKind::kFirmware, " has the firmware "},
                    {EventKind::kName, " has the name "},   {EventKind::kAddress, " has the address "}};
    for (const auto &change : kChanges) {
        if (change.kind == kind) {
            return change.words;
        }
    }
    return " changed: ";
}

std::string deed(const Snapshot &after, const Event &event, const Options &options) {
    switch (event.kind) {
        case EventKind::kJoin:
            return " joined at " + place(after, *event.to, options);
        case EventKind::kLeave:
            return " left " + place(after, *event.from, options);
        case EventKind::kRoam:
            return " roamed from " + place(after, *event.from, options) + ", to " + place(after, *event.to, options);
        case EventKind::kUp:
            return " is up";
        case EventKind::kDown:
            return " is down";
        default:
            return change_of(event.kind) + value(after, event, event.new_value.value_or(""), options) + ", was " +
                   value(after, event, event.old_value.value_or(""), options);
    }
}

}  // namespace

std::string event_text(const Snapshot &after, const Event &event, const Options &options) {
    return visible(who(event, options) + deed(after, event, options));
}

namespace {

bool is_far(const std::optional<int> &before, const std::optional<int> &after) {
    return before && after && std::abs(*after - *before) >= kFar;
}

}  // namespace

std::vector<SignalChange> signal_changes(const Snapshot &before, const Snapshot &after) {
    std::vector<SignalChange> changes;
    for (const reader::Device &now : after.devices) {
        const reader::Device *old = before.find_device(now.al_mac);
        if (old != nullptr && old->parent == now.parent && is_far(old->signal, now.signal)) {
            changes.push_back({now.al_mac, false, now.name, *old->signal, *now.signal});
        }
    }
    for (const reader::Station &now : after.stations) {
        const reader::Station *old = before.find_station(now.mac);
        const bool stayed = old != nullptr && old->device == now.device && old->band == now.band;
        if (stayed && is_far(old->signal, now.signal)) {
            changes.push_back({now.mac, true, now.name, *old->signal, *now.signal});
        }
    }
    return changes;
}

std::string signal_text(const SignalChange &change, const Options &options) {
    return visible(who(change, options)) + " is heard with " + std::to_string(change.after) + " dBm, was " +
           std::to_string(change.before);
}

nlohmann::ordered_json to_json(const SignalChange &change) {
    nlohmann::ordered_json json = {{change.is_station ? "station" : "device", change.mac.text()}};
    if (change.name) {
        json["name"] = *change.name;
    }
    json["before"] = change.before;
    json["after"] = change.after;
    return json;
}

std::string summary_text(const std::vector<Event> &events) {
    const struct {
        bool (*is_one)(EventKind);
        const char *one;
        const char *many;
    } kinds[] = {
        {[](EventKind kind) { return kind == EventKind::kUp; }, " device is up", " devices are up"},
        {[](EventKind kind) { return kind == EventKind::kDown; }, " device is down", " devices are down"},
        {[](EventKind kind) { return kind == EventKind::kJoin; }, " station joined", " stations joined"},
        {[](EventKind kind) { return kind == EventKind::kLeave; }, " station left", " stations left"},
        {[](EventKind kind) { return kind == EventKind::kRoam; }, " station roamed", " stations roamed"},
        {[](EventKind kind) { return kind >= EventKind::kParent; }, " other change", " other changes"},
    };
    std::string text;
    for (const auto &kind : kinds) {
        const auto count =
            std::count_if(events.begin(), events.end(), [&](const Event &event) { return kind.is_one(event.kind); });
        if (count != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + (count == 1 ? kind.one : kind.many);
        }
    }
    return text.empty() ? "nothing has changed" : text;
}

std::string print_events(const Snapshot &after, const std::vector<Event> &events, const Options &options,
                         const nlohmann::ordered_json &whole) {
    const bool as_rows = options.format_is_chosen || !options.columns.empty();
    if (as_rows) {
        return print(events_table(after, events, options), options, whole, "events");
    }
    std::string text;
    for (const Event &event : events) {
        text += event_text(after, event, options) + '\n';
    }
    return text;
}

}  // namespace cli
