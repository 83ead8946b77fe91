#include "history/home.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "history/moment.h"
#include "reader/json.h"
#include "reader/json_form.h"
#include "reader/words.h"

namespace history {

using reader::Device;
using reader::Mac;
using reader::Snapshot;
using reader::Station;

namespace {

constexpr std::size_t kLongestText = 255;     // what a DHCP lease can hold; longer ones are cut
constexpr std::size_t kMostStations = 70000;  // that are followed at a time: more than a model has
constexpr std::size_t kMostLinks = 100000;    // that are remembered by number
constexpr std::size_t kLeastAtOnce = 32;
constexpr std::size_t kMoments = 100;  // of the 180 of an hour, within which the hour before is packed

// Cut between two characters.
std::optional<std::string> short_text(const std::optional<std::string> &text) {
    if (!text || text->size() <= kLongestText) {
        return text ? std::optional(reader::valid_utf8(*text)) : std::nullopt;
    }
    std::size_t end = kLongestText;
    while (end > 0 && (static_cast<unsigned char>((*text)[end]) & 0xc0U) == 0x80U) {
        --end;
    }
    return reader::valid_utf8(text->substr(0, end));
}

std::string medium_of(const Station &station) {
    if (station.is_wired) {
        return reader::word(reader::Medium::kEthernet);
    }
    return station.band ? reader::word(*station.band) : "";
}

Place place_of(const Station &station) {
    return {station.device, medium_of(station), station.interface ? station.interface->text() : "",
            station.interface_name.value_or("").substr(0, kLongestText)};
}

Place place_of(const Device &device) {
    return {device.parent, device.medium ? reader::word(*device.medium) : "", "", ""};
}

// Whether the link to a parent is unknown, not absent.
bool has_lost_parent(const Device &device) { return !device.parent && device.hops != 0U; }

template <class Value>
void keep(std::optional<Value> &now, const std::optional<Value> &before) {
    if (!now) {
        now = before;
    }
}

void keep_known(Device &now, const Device &before) {
    keep(now.name, before.name);
    keep(now.address, before.address);
    keep(now.role, before.role);
    keep(now.firmware, before.firmware);
    if (has_lost_parent(now)) {
        now.parent = before.parent;
        now.medium = before.medium;
        now.hops = before.hops;
    }
    if (now.parent == before.parent) {
        keep(now.medium, before.medium);
    }
}

void keep_known(Station &now, const Station &before) {
    keep(now.name, before.name);
    keep(now.address, before.address);
    if (now.device == before.device && now.is_wired == before.is_wired) {
        keep(now.band, before.band);
    }
}

// As long as it is kept, and no longer: what is compared is what stands in the tables.
Snapshot with_short_texts(Snapshot moment) {
    for (Device &device : moment.devices) {
        device.name = short_text(device.name);
        device.address = short_text(device.address);
        device.firmware = short_text(device.firmware);
    }
    for (Station &station : moment.stations) {
        station.name = short_text(station.name);
        station.address = short_text(station.address);
    }
    return moment;
}

// What a moment does not tell has not changed; of the local device's stations as long as somebody looked.
Snapshot with_what_was_known(const Snapshot &moment, const Snapshot &before, bool goes_on) {
    Snapshot now = goes_on ? reader::with_local_stations(moment, before) : moment;
    for (Device &device : now.devices) {
        const Device *was = before.find_device(device.al_mac);
        if (was != nullptr) {
            keep_known(device, *was);
        }
    }
    for (Station &station : now.stations) {
        const Station *was = before.find_station(station.mac);
        if (was != nullptr) {
            keep_known(station, *was);
        }
    }
    return now;
}

bool is_alike(const std::vector<reader::Interface> &one, const std::vector<reader::Interface> &other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const reader::Interface &a, const reader::Interface &b) {
                          return a.mac == b.mac && a.media_type == b.media_type && a.band == b.band && a.use == b.use;
                      });
}

bool is_alike(const std::vector<reader::Neighbour> &one, const std::vector<reader::Neighbour> &other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const reader::Neighbour &a, const reader::Neighbour &b) {
                          return a.al_mac == b.al_mac && a.medium == b.medium;
                      });
}

// But for what is measured anew every time.
bool is_alike(const Device &one, const Device &other) {
    return one.name == other.name && one.role == other.role && one.address == other.address &&
           one.firmware == other.firmware && one.hops == other.hops && one.is_local == other.is_local &&
           is_alike(one.interfaces, other.interfaces) && is_alike(one.neighbours, other.neighbours);
}

// A device without its link, which has columns of its own.
std::string static_json(Device device) {
    device.parent.reset();
    device.medium.reset();
    device.signal.reset();
    device.rate.reset();
    device.name.reset();
    device.address.reset();
    for (reader::Neighbour &neighbour : device.neighbours) {
        neighbour.signal.reset();
        neighbour.rate.reset();
    }
    return reader::to_json(device).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string in_words(Number seconds) { return std::to_string(seconds) + " s"; }

bool is_in_session_table(const reader::Event &event) {
    return event.kind == reader::EventKind::kJoin || event.kind == reader::EventKind::kLeave ||
           event.kind == reader::EventKind::kRoam;
}

std::optional<int> last_signal(const std::vector<LinkedSample> &samples, Number since) {
    const auto found = std::find_if(samples.rbegin(), samples.rend(),
                                    [](const LinkedSample &linked) { return linked.sample.signal.has_value(); });
    return found != samples.rend() && found->sample.time >= since ? found->sample.signal : std::nullopt;
}

// Another interface of the same device, or a band that was not known before.
bool is_told_more(const Place &before, const Place &now) {
    const bool is_other = !now.interface.empty() && now.interface != before.interface;
    return is_other || (before.medium.empty() && !now.medium.empty());
}

// What a device hears of its stations, by AL MAC.
std::map<Mac, Range> signals_by_device(const Snapshot &now) {
    std::map<Mac, Range> signals;
    for (const Station &station : now.stations) {
        if (station.signal) {
            signals[station.device].add(*station.signal);
        }
    }
    return signals;
}

}  // namespace

Number seconds_of(reader::Time time) {
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

Home::Home(Store &store, const std::string &name, const Snapshot &first, Number patience, std::string cause)
    : store_(store), patience_(patience), cause_(std::move(cause)) {
    const SourceRow row = store.source(name, first.anonymous, seconds_of(first.time));
    source_ = row.id;
    anonymous_ = row.anonymous;
    era_ = row.era;
    last_ = row.last;
    is_empty_ = row.is_new;
    if (!is_empty_) {
        load();
    }
}

// --- going on ---

void Home::load() {
    before_ = snapshot_at(store_.database(), source_, last_);
    load_sessions();
    load_tail();
    Statement gap(store_.database(), "SELECT 1 FROM gap WHERE source = ? AND part = 'dump' AND until IS NULL");
    has_dump_gap_ = gap.bind(source_).step();
    goes_on_ = true;
}

void Home::load_sessions() {
    Statement rows(store_.database(),
                   "SELECT n.id, n.is_station, n.mac, s.since, s.era, s.link, s.came, s.first_signal, d.mac, l.medium, "
                   "l.interface, l.interface_name FROM node n JOIN session s ON s.node = n.id AND s.until IS NULL "
                   "JOIN link l ON l.id = s.link LEFT JOIN node d ON d.id = l.device WHERE n.source = ?");
    Statement earlier(store_.database(),
                      "SELECT d.mac, l.medium FROM session s JOIN link l ON l.id = s.link LEFT JOIN node d ON d.id = "
                      "l.device WHERE s.node = ? AND s.since <= ? AND s.until = ? ORDER BY s.since DESC LIMIT 1");
    Statement spell(
        store_.database(),
        "SELECT since, until, link, n, sum, other, other_signal FROM spell WHERE node = ? AND era = ? ORDER "
        "BY since DESC LIMIT 1");
    rows.bind(source_);
    while (rows.step()) {
        const auto mac = Mac::parse(rows.text(2));
        if (!mac) {
            continue;
        }
        Live &live = find(rows.number(1) != 0, *mac);
        live.signal = rows.optional_number(7);
        Session session{{live.node, rows.number(3), rows.number(4)},
                        {Mac::parse(rows.text(8)), rows.text(9), rows.text(10), rows.text(11)},
                        rows.number(5),
                        came_of(rows.number(6)),
                        {}};
        if (is_roam(session.came) && earlier.bind(live.node).bind(session.key.since).bind(session.key.since).step()) {
            session.came_from = Place{Mac::parse(earlier.text(0)), earlier.text(1), "", ""};
        }
        earlier.reset();
        if (spell.bind(live.node).bind(era_).step() && spell.number(1) == last_) {
            live.spell = Spell{spell.number(0), spell.number(1),          spell.number(2),         spell.number(3),
                               spell.number(4), spell.optional_number(5), spell.optional_number(6)};
        }
        spell.reset();
        live.session = std::move(session);
    }
}

// Samples that are in no chunk yet, hour by hour: the last signal is the newest.
void Home::load_tail() {
    Statement rows(store_.database(), "SELECT era, data FROM tail WHERE source = ? ORDER BY id");
    Statement who(store_.database(), "SELECT is_station, mac FROM node WHERE id = ?");
    std::map<TailHour, std::vector<LinkedSample>> hours;
    rows.bind(source_);
    while (rows.step()) {
        for (const TailSample &tail : unpack_tail(rows.text(1))) {
            const Number hour = start_of(kHour, tail.linked.sample.time);
            hours[{rows.number(0), hour, tail.node}].push_back(tail.linked);
        }
    }
    for (auto &[hour, samples] : hours) {
        const auto mac = who.bind(hour.node).step() ? Mac::parse(who.text(1)) : std::nullopt;
        const bool is_station = mac && who.number(0) != 0;
        who.reset();
        if (mac) {
            load_hour(find(is_station, *mac), hour, std::move(samples));
        }
    }
    at_once_ = std::max(kLeastAtOnce, due_.size() / kMoments);
}

// The running hour goes on; one before is to be packed, if it was not.
void Home::load_hour(Live &live, const TailHour &hour, std::vector<LinkedSample> samples) {
    if (live.session && hour.era == era_) {
        const auto signal = last_signal(samples, live.session->key.since);
        live.signal = signal ? signal : live.signal;
    }
    Statement packed(store_.database(), "SELECT 1 FROM chunk WHERE hour = ? AND node = ? AND era = ?");
    if (packed.bind(hour.hour).bind(hour.node).bind(hour.era).step()) {
        return;
    }
    if (hour.era == era_ && hour.hour == start_of(kHour, last_)) {
        live.hour = std::move(samples);
    } else {
        due_.push_back({hour.node, hour.era, std::move(samples)});
    }
}

// --- a moment ---

void Home::take(const Snapshot &snapshot, double uptime) {
    const Number time = seconds_of(snapshot.time);
    if (!is_empty_ && time == last_) {
        return;
    }
    if (!is_empty_) {
        note_time(time, uptime);
    }
    is_empty_ = false;
    uptime_ = uptime;
    cause_.clear();
    last_ = time;
    ++moment_;
    Snapshot now = with_short_texts(snapshot);
    if (before_) {
        now = with_what_was_known(now, *before_, goes_on_);
    }
    note_missing(snapshot);
    note_events(now);
    for (const Device &device : now.devices) {
        note_device(device, now);
    }
    note_stations(now, snapshot.knows_local_stations);
    note_who_left();
    note_counts(now);
    before_ = std::move(now);
    goes_on_ = true;
    pack_some();
}

// What lies between the last moment and this one: nothing, a gap, or a clock that was set.
void Home::note_time(Number time, double uptime) {
    const Number passed = time - last_;
    const double elapsed = uptime_ ? uptime - *uptime_ : static_cast<double>(passed);
    const bool is_jump = std::abs(static_cast<double>(passed) - elapsed) > static_cast<double>(patience_);
    if (passed < 0) {
        end_all(last_);
        put_hour_aside();
        put_tail();
        counts_.reset();
        goes_on_ = false;
        ++era_;
        store_.open_gap(source_, time, era_, "clock", last_, "the clock was set back by " + in_words(-passed));
        return;
    }
    if (passed > patience_) {
        const std::string cause = !cause_.empty() ? cause_
                                  : is_jump       ? "the clock was set forward"
                                                  : "the model was not written";
        end_all(last_);
        goes_on_ = false;
        store_.open_gap(source_, last_, era_, "model", time, cause);
    }
    if (start_of(kHour, time) != start_of(kHour, last_)) {
        put_hour_aside();
    }
}

// Of the dump, without which nobody knows the stations of the device that writes the files.
void Home::note_missing(const Snapshot &snapshot) {
    if (snapshot.knows_local_stations == has_dump_gap_) {
        const reader::Problem *problem = snapshot.problem_with(reader::Missing::Part::kDump);
        if (has_dump_gap_) {
            store_.end_gap(source_, "dump", last_);
        } else {
            store_.open_gap(source_, last_, era_, "dump", std::nullopt,
                            problem != nullptr ? problem->text() : "no dump");
        }
        has_dump_gap_ = !has_dump_gap_;
    }
}

void Home::note_events(const Snapshot &now) {
    if (!before_) {
        return;
    }
    for (const reader::Event &event : reader::events(*before_, now)) {
        if (!is_in_session_table(event)) {
            store_.put_event(source_, era_, find(event.is_station, event.mac).node, event);
        }
    }
}

void Home::note_device(const Device &device, const Snapshot &now) {
    Live &live = find(false, device.al_mac);
    live.seen = moment_;
    const Device *before = before_ ? before_->find_device(device.al_mac) : nullptr;
    if (!live.is_described || before == nullptr || !is_alike(*before, device)) {
        describe(live, {device.name, device.address, static_json(device)});
    }
    connect(live, false, place_of(device), goes_on_ ? Came::kJoin : Came::kStart, device.signal);
    sample(live, device.signal, device.rate);
    watch_spell(live, device.signal, now);
}

// `knows_local`: this moment tells of the stations of the device that wrote it; else they are those of before.
void Home::note_stations(const Snapshot &now, bool knows_local) {
    const auto is_local = [](const Device &device) { return device.is_local; };
    const auto found = std::find_if(now.devices.begin(), now.devices.end(), is_local);
    const Device *local = found != now.devices.end() ? &*found : nullptr;
    const bool knew_local = before_ && before_->knows_local_stations;
    for (const Station &station : now.stations) {
        if (stations_.size() >= kMostStations && stations_.count(station.mac) == 0) {
            continue;  // a crowd that nobody has; what is followed already is followed on
        }
        const bool at_local = local != nullptr && station.device == local->al_mac;
        note_station(station, goes_on_ && (knew_local || !at_local) ? Came::kJoin : Came::kStart,
                     knows_local || !at_local, now);
    }
}

void Home::note_station(const Station &station, Came came, bool is_fresh, const Snapshot &now) {
    Live &live = find(true, station.mac);
    live.seen = moment_;
    describe(live, {station.name, station.address, ""});
    if (is_fresh || !live.session) {
        connect(live, true, place_of(station), came, station.signal);
    }
    if (is_fresh) {
        sample(live, station.signal, station.rate);
        watch_spell(live, station.signal, now);
    }
}

void Home::note_who_left() {
    for (Everybody *everybody : {&devices_, &stations_}) {
        for (auto live = everybody->begin(); live != everybody->end();) {
            if (live->second.seen != moment_) {
                end(live->second, last_, Went::kLeave);
            }
            // Who has been here in this hour may come back in it, and an hour is one piece.
            const bool is_over = live->second.seen != moment_ && live->second.hour.empty();
            live = is_over ? everybody->erase(live) : std::next(live);
        }
    }
}

void Home::note_counts(const Snapshot &now) {
    const Number slot = start_of(kSlot, last_);
    if (counts_ && counts_->time != slot) {
        store_.put_counts(source_, era_, *counts_);
    }
    counts_ = Store::Counts{slot, static_cast<Number>(now.devices.size()), 0, 0, 0, 0};
    for (const Station &station : now.stations) {
        counts_->wired += station.is_wired ? 1 : 0;
        counts_->on_2_4ghz += station.band == reader::Band::k2_4GHz ? 1 : 0;
        counts_->on_5ghz += station.band == reader::Band::k5GHz ? 1 : 0;
        counts_->weak += station.signal && *station.signal < kWeak ? 1 : 0;
    }
}

// --- somebody ---

Home::Live &Home::find(bool is_station, Mac mac) {
    Live &live = (is_station ? stations_ : devices_)[mac];
    if (live.node == 0) {
        live.node = store_.node(source_, is_station, mac);
        const auto description = store_.description_of(live.node);
        live.is_described = description.has_value();
        live.description = description.value_or(Description());
    }
    return live;
}

void Home::describe(Live &live, const Description &description) {
    if (live.is_described && live.description == description) {
        return;
    }
    store_.describe(live.node, last_, era_, description);
    live.description = description;
    live.is_described = true;
}

void Home::connect(Live &live, bool is_station, const Place &place, Came came, const std::optional<int> &signal) {
    if (!live.session) {
        open(live, place, came, std::nullopt, signal);
        return;
    }
    const Session before = *live.session;
    if (!is_same_spot(before.place, place)) {
        const bool is_back = is_roam(before.came) && before.came_from && is_same_spot(*before.came_from, place) &&
                             last_ - before.key.since <= kBounce;
        end(live, last_, Went::kRoam);
        open(live, place, is_back ? Came::kBack : Came::kRoam, before.place, signal);
        if (is_station) {
            store_.count_roam(live.node, last_, is_back);
        }
    } else if (is_told_more(before.place, place)) {
        end(live, last_, Went::kMoved);
        open(live, place, Came::kMoved, before.came_from, signal);
    }
}

void Home::open(Live &live, const Place &place, Came came, const std::optional<Place> &from,
                const std::optional<int> &signal) {
    const SessionKey key{live.node, last_, era_};
    const Number link = link_of(place);
    store_.open_session(key, link, came, signal);
    live.session = Session{key, place, link, came, from};
}

void Home::end(Live &live, Number until, Went went) {
    end_spell(live);
    if (live.session) {
        store_.end_session(live.session->key, until, went, live.signal);
        live.session.reset();
    }
    live.signal.reset();
}

void Home::end_all(Number until) {
    for (Everybody *everybody : {&devices_, &stations_}) {
        for (auto &[mac, live] : *everybody) {
            end(live, until, Went::kGap);
        }
    }
}

void Home::sample(Live &live, const std::optional<int> &signal, const std::optional<int> &rate) {
    live.signal = signal ? signal : live.signal;
    if (signal || rate) {
        const LinkedSample linked{{last_, signal, rate}, live.session->link};
        live.hour.push_back(linked);
        tail_.push_back({live.node, linked});
    }
}

// A link is looked up once a run.
Number Home::link_of(const Place &place) {
    const auto found = links_.find(place);
    if (found != links_.end()) {
        return found->second;
    }
    if (links_.size() >= kMostLinks) {
        links_.clear();
    }
    const auto device = place.device ? std::optional(find(false, *place.device).node) : std::nullopt;
    return links_[place] = store_.link(source_, device, place);
}

// --- weak spells ---

void Home::watch_spell(Live &live, const std::optional<int> &signal, const Snapshot &now) {
    if (!signal || !live.session || *signal >= kWeak) {
        end_spell(live);
        return;
    }
    if (!live.spell) {
        live.spell = Spell{last_, last_, live.session->link, 0, 0, {}, {}};
    }
    Spell &spell = *live.spell;
    spell.until = last_;
    ++spell.n;
    spell.sum += *signal;
    if (spell.until - spell.since >= kSticks && !spell.other) {
        find_better(live, now);
    }
}

// A device that hears its own stations well, while this one is heard badly.
void Home::find_better(Live &live, const Snapshot &now) {
    if (heard_at_ != moment_) {
        heard_ = signals_by_device(now);
        heard_at_ = moment_;
    }
    const std::pair<const Mac, Range> *best = nullptr;
    for (const auto &row : heard_) {
        const bool is_better = best == nullptr || row.second.mean() > best->second.mean();
        if (row.first != live.session->place.device && row.second.mean() >= kStrong && is_better) {
            best = &row;
        }
    }
    if (best != nullptr) {
        live.spell->other = find(false, best->first).node;
        live.spell->other_signal = std::lround(best->second.mean());
    }
}

void Home::keep_spell(const Live &live) {
    if (live.spell && live.spell->until - live.spell->since >= kSticks) {
        store_.put_spell(live.node, era_, *live.spell);
    }
}

void Home::end_spell(Live &live) {
    keep_spell(live);
    live.spell.reset();
}

// --- hours ---

void Home::put_hour_aside() {
    while (!due_.empty()) {
        pack_some();  // what is left of the hour before: there were few moments in this one
    }
    for (Everybody *everybody : {&devices_, &stations_}) {
        for (auto &[mac, live] : *everybody) {
            if (!live.hour.empty()) {
                due_.push_back({live.node, era_, std::move(live.hour)});
                live.hour.clear();
            }
        }
    }
    at_once_ = std::max(kLeastAtOnce, due_.size() / kMoments);
}

// A few at a time: an hour of thousands of stations would hold up everything else.
void Home::pack_some() {
    for (std::size_t i = 0; i < at_once_ && !due_.empty(); ++i) {
        const Due &due = due_.front();
        store_.put_hour(due.node, due.era, due.samples);
        due_.pop_front();
        if (due_.empty()) {
            drop_tail();
        }
    }
}

// Of the hours that are packed.
void Home::drop_tail() {
    const Number hour = start_of(kHour, last_);
    store_.drop_tail(source_, hour);
    const auto first = std::find_if(tail_.begin(), tail_.end(),
                                    [=](const TailSample &tail) { return tail.linked.sample.time >= hour; });
    tail_.erase(tail_.begin(), first);
}

// What was measured and counted since the last commit.
void Home::put_tail() {
    if (!tail_.empty()) {
        store_.put_tail(source_, era_, tail_);
        tail_.clear();
    }
    if (counts_) {
        store_.put_counts(source_, era_, *counts_);
    }
}

void Home::settle() {
    if (is_empty_) {
        return;
    }
    put_tail();
    for (const Everybody *everybody : {&devices_, &stations_}) {
        for (const auto &[mac, live] : *everybody) {
            keep_spell(live);
        }
    }
    store_.set_last(source_, last_, era_);
}

}  // namespace history
