#include "cli/happenings.h"

#include <algorithm>

#include "cli/tables.h"
#include "cli/text.h"

namespace cli {

using reader::Event;
using reader::EventKind;
using reader::Snapshot;

namespace {

std::string who(const Event &event, const Options &options) {
    return options.names && event.name ? *event.name + " (" + event.mac.text() + ")" : event.mac.text();
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

std::string change(const Snapshot &after, const Event &event, const std::string &what, const Options &options) {
    return what + value(after, event, event.new_value.value_or(""), options) + ", was " +
           value(after, event, event.old_value.value_or(""), options);
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
        case EventKind::kParent:
            return change(after, event, " is linked to ", options);
        case EventKind::kMedium:
            return change(after, event, " is linked over ", options);
        case EventKind::kRole:
            return change(after, event, " has the role ", options);
        case EventKind::kFirmware:
            return change(after, event, " has the firmware ", options);
        case EventKind::kName:
            return change(after, event, " has the name ", options);
        case EventKind::kAddress:
            return change(after, event, " has the address ", options);
    }
    return "";
}

}  // namespace

std::string event_text(const Snapshot &after, const Event &event, const Options &options) {
    return visible(who(event, options) + deed(after, event, options));
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
