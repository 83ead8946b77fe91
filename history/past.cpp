#include "history/past.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <queue>

#include "history/schema.h"

namespace history {

using reader::Mac;

namespace {

// Several statements about one state of the tables, whatever is written meanwhile.
class Reading {
public:
    explicit Reading(const Database &database) : database_(database) { run("BEGIN"); }
    ~Reading() {
        try {
            run("COMMIT");
        } catch (const Failure &) {
            // It was ended with whatever went wrong.
        }
    }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;

private:
    void run(const char *sql) { Statement(database_, sql).run(); }
    const Database &database_;
};

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::optional<int> as_int(const std::optional<Number> &number) {
    return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

// Columns of somebody: the node's three and its last description.
constexpr const char *kSomebody =
    " n.id, n.is_station, n.mac, "
    "(SELECT name FROM description WHERE node = n.id ORDER BY era DESC, since DESC LIMIT 1), "
    "(SELECT address FROM description WHERE node = n.id ORDER BY era DESC, since DESC LIMIT 1) ";
constexpr int kAfterSomebody = 5;

// A MAC that is none was put in by somebody else.
std::optional<Somebody> somebody_of(const Statement &row) {
    const auto mac = Mac::parse(row.text(2));
    if (!mac) {
        return std::nullopt;
    }
    return Somebody{row.number(0), row.number(1) != 0, *mac, row.optional_text(3), row.optional_text(4)};
}

std::vector<Somebody> all_of(Statement &rows) {
    std::vector<Somebody> all;
    while (rows.step()) {
        if (auto somebody = somebody_of(rows)) {
            all.push_back(std::move(*somebody));
        }
    }
    return all;
}

// Columns of a link and of the device that it leads to.
constexpr const char *kSpot =
    " l.medium, l.interface_name, d.mac, "
    "(SELECT name FROM description WHERE node = d.id ORDER BY era DESC, since DESC LIMIT 1) ";
constexpr const char *kSpotTables = " JOIN link l ON l.id = s.link LEFT JOIN node d ON d.id = l.device ";

// A statement for rows of sessions `s`.
std::string sessions_where(const std::string &where) {
    return std::string("SELECT s.since, s.until, s.link, s.came, s.went, s.first_signal, s.last_signal,") + kSpot +
           "FROM session s" + kSpotTables + "WHERE " + where;
}
constexpr int kSpotInSession = 7;

// Without its spot, which needs another statement's columns.
Session session_of(const Statement &row, Spot spot) {
    const auto went = row.optional_number(4);
    return {row.number(0),
            row.optional_number(1),
            row.number(2),
            std::move(spot),
            came_of(row.number(3)),
            went ? std::optional(went_of(*went)) : std::nullopt,
            as_int(row.optional_number(5)),
            as_int(row.optional_number(6))};
}

// Whole days of a span, and what is left of it at both ends.
struct Days {
    Span whole;
    Span ends[2];
};
Days days_of(const Span &span) {
    const Number first = start_of(kDay, span.from + kDay - 1);
    const Number last = start_of(kDay, span.until);
    if (first >= last) {
        return {{first, first}, {span, {0, 0}}};
    }
    return {{first, last}, {{span.from, first}, {last, span.until}}};
}

// --- curves ---

Number step_for(const Span &span, std::size_t most) {
    for (const Number step : {Number{0}, kSlot, kHour, kDay}) {
        constexpr Number kCycle = 20;
        const Number apart = step == 0 ? kCycle : step;
        if ((span.until - span.from) / apart <= static_cast<Number>(most)) {
            return step;
        }
    }
    return kDay;
}

bool is_in(const Span &span, Number time) { return time >= span.from && time < span.until; }

// Orders what comes from several tables.
void sort_by_time(std::vector<Point> &points) {
    std::stable_sort(points.begin(), points.end(), [](const Point &a, const Point &b) { return a.time < b.time; });
}

Point point_of(const LinkedSample &linked) {
    Point point{linked.sample.time, linked.link, {}, {}};
    if (linked.sample.signal) {
        point.signal.add(*linked.sample.signal);
    }
    if (linked.sample.rate) {
        point.rate.add(*linked.sample.rate);
    }
    return point;
}

std::vector<Point> points_of(const std::vector<RollUp> &parts, const Span &span) {
    std::vector<Point> points;
    for (const RollUp &part : parts) {
        if (is_in(span, part.time)) {
            points.push_back({part.time, part.link, part.signal, part.rate});
        }
    }
    sort_by_time(points);
    return points;
}

// The rows of a table of packed pieces, of one node: by the hour or day, as the key begins with that.
template <class Take>
void for_each_piece(const Database &database, const std::string &table, Number unit, Number node, const Span &span,
                    Take take) {
    const std::string key = unit == kDay ? "day" : "hour";
    Statement ends(database,
                   "SELECT (SELECT min(" + key + ") FROM " + table + "), (SELECT max(" + key + ") FROM " + table + ")");
    Statement rows(database, "SELECT data FROM " + table + " WHERE " + key + " = ? AND node = ? ORDER BY era");
    if (!ends.step() || !ends.optional_number(0)) {
        return;
    }
    // A file that somebody has changed may say anything.
    constexpr Number kMostPieces = 50000;
    const Number until = std::min(span.until, ends.number(1));
    const Number from = std::max(start_of(unit, span.from), std::max(ends.number(0), until - kMostPieces * unit));
    for (Number at = start_of(unit, from); at <= until && at < span.until; at += unit) {
        rows.bind(at).bind(node);
        while (rows.step()) {
            take(rows.text(0));
        }
    }
}

// Every sample that is kept as such.
std::vector<LinkedSample> samples_in(const Database &database, Number home, Number node, const Span &span) {
    std::vector<LinkedSample> samples;
    for_each_piece(database, "chunk", kHour, node, span, [&](const std::string &bytes) {
        const std::vector<LinkedSample> hour = unpack_samples(bytes);
        std::copy_if(hour.begin(), hour.end(), std::back_inserter(samples),
                     [&](const LinkedSample &linked) { return is_in(span, linked.sample.time); });
    });
    const std::vector<LinkedSample> tail = tail_samples(database, home, node, span.from, span.until);
    samples.insert(samples.end(), tail.begin(), tail.end());
    return samples;
}

std::vector<Point> points_of(const std::vector<LinkedSample> &samples) {
    std::vector<Point> points;
    std::transform(samples.begin(), samples.end(), std::back_inserter(points), point_of);
    sort_by_time(points);
    return points;
}

// Five minutes each, or an hour where these are not kept any more. No time is in two of the tables.
std::vector<RollUp> roll_ups_in(const Database &database, Number home, Number node, const Span &span) {
    std::vector<RollUp> parts;
    const auto add = [&](const std::vector<RollUp> &more) { parts.insert(parts.end(), more.begin(), more.end()); };
    const auto add_packed = [&](const std::string &bytes) { add(unpack_roll_ups(bytes)); };
    for_each_piece(database, "roll60", kDay, node, span, add_packed);
    for_each_piece(database, "roll5", kHour, node, span, add_packed);
    const Span whole{start_of(kHour, span.from), span.until};
    add(roll_up(samples_in(database, home, node, whole), kSlot));
    return parts;
}

// --- roams ---

struct RoamKey {
    Number time, era;
    std::size_t station;  // place in a list

    // What goes first when there are too many: the oldest, of these the last in the list.
    bool operator<(const RoamKey &other) const {
        return time != other.time ? time > other.time : station < other.station;
    }
};

// Of each station the newest few, and of these the newest few; the newest first.
std::vector<RoamKey> newest_roams(const Database &database, const std::vector<Somebody> &stations, const Span &span,
                                  std::size_t most) {
    Statement rows(
        database,
        "SELECT since, era FROM session WHERE node = ? AND since >= ? AND since < ? AND came IN (2, 3) ORDER "
        "BY since DESC LIMIT ?");
    std::priority_queue<RoamKey> newest;
    for (std::size_t i = 0; i < stations.size(); ++i) {
        rows.bind(stations[i].node).bind(span.from).bind(span.until).bind(static_cast<Number>(most));
        while (rows.step()) {
            newest.push({rows.number(0), rows.number(1), i});
            if (newest.size() > most) {
                newest.pop();
            }
        }
    }
    std::vector<RoamKey> keys(newest.size());
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        *key = newest.top();
        newest.pop();
    }
    return keys;
}

}  // namespace

Past::Past(const std::string &path) : database_(open_for_reading(path)) {}

Spot Past::spot_of(const Statement &row, int first) const {
    return {Mac::parse(row.text(first + 2)), row.optional_text(first + 3), row.text(first), row.text(first + 1)};
}

std::vector<HomeRow> Past::homes() const {
    Statement rows(database_, "SELECT id, name, anonymous, first, last FROM source ORDER BY name");
    std::vector<HomeRow> homes;
    while (rows.step()) {
        homes.push_back({rows.number(0), rows.text(1), rows.text(2), rows.number(3), rows.number(4)});
    }
    return homes;
}

std::vector<Somebody> Past::find(Number home, const std::string &text) const {
    Statement rows(database_,
                   std::string("SELECT") + kSomebody +
                       "FROM node n WHERE n.source = ?1 AND (n.mac = ?2 OR EXISTS (SELECT 1 FROM description w "
                       "WHERE w.node = n.id AND (lower(w.name) = ?2 OR lower(w.address) = ?2))) ORDER BY n.mac");
    rows.bind(home).bind(lower_case(text));
    return all_of(rows);
}

std::optional<Somebody> Past::find(Number home, Mac mac, bool is_station) const {
    Statement rows(database_,
                   std::string("SELECT") + kSomebody + "FROM node n WHERE n.source = ? AND is_station = ? AND mac = ?");
    const auto all = all_of(rows.bind(home).bind(Number{is_station}).bind(mac.text()));
    return all.empty() ? std::nullopt : std::optional(all[0]);
}

std::vector<std::string> Past::names(Number home) const {
    Statement rows(
        database_,
        "SELECT DISTINCT w.name FROM node n JOIN description w ON w.node = n.id WHERE n.source = ? AND w.name "
        "IS NOT NULL ORDER BY 1");
    rows.bind(home);
    std::vector<std::string> names;
    while (rows.step()) {
        names.push_back(rows.text(0));
    }
    return names;
}

std::vector<Session> Past::sessions(Number node, const Span &span) const {
    Statement rows(
        database_,
        sessions_where("s.node = ?1 AND s.since < ?3 AND coalesce(s.until, (SELECT last + 1 FROM source JOIN node n "
                       "ON n.source = source.id WHERE n.id = ?1)) > ?2 ORDER BY "
                       "s.since, s.era"));
    rows.bind(node).bind(span.from).bind(span.until);
    std::vector<Session> sessions;
    while (rows.step()) {
        sessions.push_back(session_of(rows, spot_of(rows, kSpotInSession)));
    }
    return sessions;
}

std::vector<Roam> Past::roams(Number home, const Span &span, std::size_t most, std::optional<Number> station) const {
    const Reading reading(database_);
    Statement who(database_,
                  std::string("SELECT") + kSomebody + "FROM node n WHERE n.source = ? AND n.is_station ORDER BY n.mac");
    std::vector<Somebody> stations = all_of(who.bind(home));
    if (station) {
        const auto is_other = [=](const Somebody &somebody) { return somebody.node != *station; };
        stations.erase(std::remove_if(stations.begin(), stations.end(), is_other), stations.end());
    }
    Statement after(database_, sessions_where("s.node = ? AND s.since = ? AND s.era = ?"));
    Statement before(database_,
                     sessions_where("s.node = ? AND s.since < ? AND s.era = ? ORDER BY s.since DESC LIMIT 1"));
    std::vector<Roam> roams;
    for (const RoamKey &key : newest_roams(database_, stations, span, most)) {
        const Somebody &who_roamed = stations[key.station];
        after.bind(who_roamed.node).bind(key.time).bind(key.era);
        before.bind(who_roamed.node).bind(key.time).bind(key.era);
        if (after.step() && before.step()) {
            const Session to = session_of(after, spot_of(after, kSpotInSession));
            const Session from = session_of(before, spot_of(before, kSpotInSession));
            roams.push_back(
                {key.time, who_roamed, from.spot, to.spot, from.last_signal, to.first_signal, to.came == Came::kBack});
        }
        after.reset();
        before.reset();
    }
    return roams;
}

std::vector<Roamer> Past::roamers(Number home, const Span &span) const {
    const Reading reading(database_);
    const Days days = days_of(span);
    Statement whole(database_, "SELECT sum(roams), sum(backs) FROM tally WHERE node = ? AND day >= ? AND day < ?");
    Statement end(
        database_,
        "SELECT count(*), sum(came = 3) FROM session WHERE node = ? AND since >= ? AND since < ? AND came IN (2, "
        "3)");
    Statement who(database_, std::string("SELECT") + kSomebody + "FROM node n WHERE n.source = ? AND n.is_station");
    std::vector<Roamer> roamers;
    for (const Somebody &station : all_of(who.bind(home))) {
        Roamer roamer{station, 0, 0};
        const auto count = [&](Statement &rows, const Span &part) {
            if (part.from < part.until && rows.bind(station.node).bind(part.from).bind(part.until).step()) {
                roamer.roams += rows.number(0);
                roamer.backs += rows.number(1);
            }
            rows.reset();
        };
        count(whole, days.whole);
        count(end, days.ends[0]);
        count(end, days.ends[1]);
        if (roamer.roams != 0) {
            roamers.push_back(std::move(roamer));
        }
    }
    std::stable_sort(roamers.begin(), roamers.end(), [](const Roamer &a, const Roamer &b) {
        return a.roams != b.roams ? a.roams > b.roams : a.station.mac < b.station.mac;
    });
    return roamers;
}

std::optional<Roam> Past::last_bounce(const Somebody &station, const Span &span) const {
    Statement back(database_,
                   sessions_where("s.node = ? AND s.since >= ? AND s.since < ? AND s.came = 3 ORDER BY s.since "
                                  "DESC LIMIT 1"));
    Statement before(database_, sessions_where("s.node = ? AND s.since < ? ORDER BY s.since DESC LIMIT 1"));
    if (!back.bind(station.node).bind(span.from).bind(span.until).step()) {
        return std::nullopt;
    }
    const Session to = session_of(back, spot_of(back, kSpotInSession));
    if (!before.bind(station.node).bind(to.since).step()) {
        return std::nullopt;
    }
    const Session from = session_of(before, spot_of(before, kSpotInSession));
    return Roam{to.since, station, from.spot, to.spot, from.last_signal, to.first_signal, true};
}

std::vector<WeakSpell> Past::weak_spells(Number node, const Span &span) const {
    Statement rows(
        database_,
        "SELECT since, until, link, n, sum, other FROM spell WHERE node = ?1 AND since < ?3 AND until > ?2 ORDER "
        "BY since, era");
    rows.bind(node).bind(span.from).bind(span.until);
    std::vector<WeakSpell> spells;
    while (rows.step()) {
        const Range signals{rows.number(3), 0, rows.number(4), 0};
        spells.push_back({rows.number(0), rows.number(1), rows.number(2), signals.mean(), rows.optional_number(5)});
    }
    return spells;
}

namespace {

// By station and link; the last time is the row of the greatest beginning: SQLite gives the other columns of that.
std::string sticky_rows() {
    return std::string("SELECT") + kSomebody +
           ", s.times, s.seconds, s.longest, s.since, s.n, s.sum, s.other_signal, s.other, s.link," + kSpot +
           "FROM (SELECT node, link, count(*) AS times, sum(until - since) AS seconds, max(until - since) AS longest, "
           "since, sum(n) AS n, sum(sum) AS sum, other, other_signal, max(since) FROM spell WHERE node IN (SELECT id "
           "FROM "
           "node WHERE source = ?1 AND is_station) AND since < ?3 AND until > ?2 AND other IS NOT NULL AND until - "
           "since "
           ">= ?4 GROUP BY node, link ORDER BY seconds DESC LIMIT ?5) s JOIN node n ON n.id = s.node" +
           kSpotTables + "ORDER BY s.seconds DESC, n.mac";
}

// Where a station itself was heard best, but at the device of a link.
std::string heard_best() {
    return std::string("SELECT") + kSomebody +
           ", max(coalesce(s.last_signal, s.first_signal), s.first_signal) AS heard FROM session s JOIN link l ON l.id "
           "= "
           "s.link JOIN node n ON n.id = l.device WHERE s.node = ?1 AND n.id != (SELECT device FROM link WHERE id = "
           "?2) "
           "AND s.first_signal IS NOT NULL ORDER BY heard DESC LIMIT 1";
}

}  // namespace

std::vector<Sticky> Past::sticky(Number home, const Span &span, Number at_least, std::size_t most) const {
    const Reading reading(database_);
    Statement rows(database_, sticky_rows());
    Statement other(database_, std::string("SELECT") + kSomebody + "FROM node n WHERE n.id = ?");
    Statement best(database_, heard_best());
    rows.bind(home).bind(span.from).bind(span.until).bind(at_least).bind(static_cast<Number>(most));
    std::vector<Sticky> all;
    while (rows.step()) {
        enum { kTimes = kAfterSomebody, kSeconds, kLongest, kSince, kN, kSum, kSignal, kOther, kLink, kAt };
        const auto station = somebody_of(rows);
        const auto better = all_of(other.bind(rows.number(kOther)));
        if (!station || better.empty()) {
            continue;
        }
        const Range signals{rows.number(kN), 0, rows.number(kSum), 0};
        const bool is_heard = best.bind(station->node).bind(rows.number(kLink)).step();
        const auto heard_at = is_heard ? somebody_of(best) : std::nullopt;
        const auto heard = is_heard ? best.optional_number(kAfterSomebody) : std::nullopt;
        best.reset();
        all.push_back({*station, spot_of(rows, kAt), rows.number(kTimes), rows.number(kSeconds), rows.number(kLongest),
                       rows.number(kSince), signals.mean(), better[0], static_cast<int>(rows.number(kSignal)), heard_at,
                       as_int(heard)});
    }
    return all;
}

std::vector<Gap> Past::gaps(Number home, const Span &span) const {
    Statement rows(
        database_,
        "SELECT since, until, part, cause FROM gap WHERE source = ? AND since < ? AND (until IS NULL OR until "
        ">= ?) ORDER BY since, era, part");
    rows.bind(home).bind(span.until).bind(span.from);
    std::vector<Gap> gaps;
    while (rows.step()) {
        gaps.push_back({rows.number(0), rows.optional_number(1), rows.text(2), rows.text(3)});
    }
    return gaps;
}

std::vector<Counts> Past::counts(Number home, const Span &span, std::size_t most) const {
    Statement rows(
        database_,
        "SELECT time, devices, on_2_4ghz, on_5ghz, wired, weak FROM counts WHERE source = ? AND time >= ? AND "
        "time < ? ORDER BY time, era");
    const Number step = std::max(kSlot, step_for(span, most));
    rows.bind(home).bind(span.from).bind(span.until);
    std::vector<Counts> all;
    while (rows.step()) {
        const Number time = rows.number(0);
        if (!all.empty() && start_of(step, all.back().time) == start_of(step, time)) {
            continue;  // the first of a step stands for it
        }
        all.push_back({time, rows.number(1), rows.number(2), rows.number(3), rows.number(4), rows.number(5)});
    }
    return all;
}

std::vector<Happening> Past::happenings(Number home, const Span &span, std::size_t most) const {
    Statement rows(database_,
                   std::string("SELECT") + kSomebody +
                       ", s.time, s.kind, s.old, s.new FROM event s JOIN node n ON n.id = s.node WHERE s.source "
                       "= ? AND s.time >= ? AND s.time < ? ORDER BY s.time DESC, s.era DESC, n.mac LIMIT ?");
    rows.bind(home).bind(span.from).bind(span.until).bind(static_cast<Number>(most));
    std::vector<Happening> happenings;
    while (rows.step()) {
        if (const auto who = somebody_of(rows)) {
            happenings.push_back({rows.number(kAfterSomebody), *who, rows.text(kAfterSomebody + 1),
                                  rows.optional_text(kAfterSomebody + 2), rows.optional_text(kAfterSomebody + 3)});
        }
    }
    return happenings;
}

Curve Past::curve(Number home, Number node, const Span &span, std::size_t most) const {
    const Reading reading(database_);
    const Number step = step_for(span, most);
    if (step == 0) {
        Curve curve{0, points_of(samples_in(database_, home, node, span))};
        if (!curve.points.empty()) {
            return curve;
        }
    }
    const std::vector<RollUp> parts = roll_ups_in(database_, home, node, span);
    const Number unit = std::max(step, kSlot);
    return {unit, points_of(unit == kSlot ? parts : roll_up(parts, unit), span)};
}

std::optional<reader::Snapshot> Past::at(Number home, Number time) const {
    const Reading reading(database_);
    return snapshot_at(database_, home, time);
}

}  // namespace history
