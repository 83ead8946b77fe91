// What a history answers. Everything here only reads, beside a recorder that writes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "history/database.h"
#include "history/moment.h"
#include "history/samples.h"
#include "history/words.h"
#include "reader/snapshot.h"

namespace history {

// From `from` on, before `until`; seconds since the epoch.
struct Span {
    Number from, until;
};

// A source that was recorded.
struct HomeRow {
    Number id;
    std::string name;       // as `record` was told
    std::string anonymous;  // as in reader::Snapshot
    Number first, last;     // moments
};

// A station or device that a home has had.
struct Somebody {
    Number node;
    bool is_station;
    reader::Mac mac;
    std::optional<std::string> name;     // the last one known
    std::optional<std::string> address;  // likewise
};

// A device with a band, or a parent with a medium.
struct Spot {
    std::optional<reader::Mac> device;  // AL MAC; the root of a mesh is linked to none
    std::optional<std::string> device_name;
    std::string medium;  // "2.4 GHz", "5 GHz", "Ethernet"; empty: unknown
    std::string interface_name;
};

// A stretch of time that somebody spent at one place.
struct Session {
    Number since;
    std::optional<Number> until;  // none: goes on
    Number link;                  // of samples and roll-ups
    Spot spot;
    Came came;
    std::optional<Went> went;
    std::optional<int> first_signal;  // dBm
    std::optional<int> last_signal;   // of those that are over
};

struct Roam {
    Number time;
    Somebody station;
    Spot from, to;
    std::optional<int> before, after;  // dBm
    bool is_back;                      // to where it was within a minute
};

struct Roamer {
    Somebody station;
    Number roams;
    Number backs;  // of these, bounces
};

// A stretch in which a station stayed weak at one device.
struct WeakSpell {
    Number since, until;
    Number link;
    double signal;                // dBm, mean
    std::optional<Number> other;  // node of a device that heard its own stations well meanwhile
};

// A station that stays weak at one device again and again while another hears its own stations well.
struct Sticky {
    Somebody station;
    Spot at;
    Number times;
    Number seconds;                  // in all
    Number longest;                  // seconds
    Number last_since;               // of the last time
    double signal;                   // dBm, mean of all samples
    Somebody other;                  // of the last time
    int other_signal;                // dBm, mean of the stations of `other`
    std::optional<Somebody> best;    // the device but `at` that ever heard this very station best
    std::optional<int> best_signal;  // dBm, when it did
};

struct Gap {
    Number since;
    std::optional<Number> until;  // none: goes on
    std::string part;             // "model": nothing is known; "dump": nothing of the local device's stations; "clock"
    std::string cause;
};

// One step of a curve.
struct Point {
    Number time;  // its beginning
    Number link;
    Range signal, rate;
};
struct Curve {
    Number step;  // seconds; 0: every sample
    std::vector<Point> points;
};

struct Counts {
    Number time;
    Number devices, on_2_4ghz, on_5ghz, wired, weak;
};

struct Happening {
    Number time;
    Somebody who;
    std::string kind;  // as reader::word(EventKind) spells it
    std::optional<std::string> old_value, new_value;
};

class Past {
public:
    // Throws Failure, as everything here does.
    explicit Past(const std::string &path);

    const std::string &file() const { return database_.path(); }

    std::vector<HomeRow> homes() const;

    // Who goes by this name, MAC or address, or did once, whatever its case.
    std::vector<Somebody> find(Number home, const std::string &text) const;
    std::optional<Somebody> find(Number home, reader::Mac mac, bool is_station) const;

    // All names of a home, for suggestions.
    std::vector<std::string> names(Number home) const;

    // Ordered by time; those that touch the span.
    std::vector<Session> sessions(Number node, const Span &span) const;

    // The newest `most`, newest first; of one station, or of all.
    std::vector<Roam> roams(Number home, const Span &span, std::size_t most,
                            std::optional<Number> station = std::nullopt) const;

    // Who roamed, most often first.
    std::vector<Roamer> roamers(Number home, const Span &span) const;

    // The last bounce of a station before a time: where it went and came back from.
    std::optional<Roam> last_bounce(const Somebody &station, const Span &span) const;

    // Of what lasted so many seconds or more; who stuck longest in all first, `most` of them.
    std::vector<Sticky> sticky(Number home, const Span &span, Number at_least, std::size_t most) const;

    // Ordered by time.
    std::vector<WeakSpell> weak_spells(Number node, const Span &span) const;

    std::vector<Gap> gaps(Number home, const Span &span) const;
    std::vector<Counts> counts(Number home, const Span &span, std::size_t most) const;
    std::vector<Happening> happenings(Number home, const Span &span, std::size_t most) const;

    // Signal and rate of somebody's link, in at most about `most` steps.
    Curve curve(Number home, Number node, const Span &span, std::size_t most) const;

    // The mesh as it was; none where nothing is known of that time.
    std::optional<reader::Snapshot> at(Number home, Number time) const;

private:
    Spot spot_of(const Statement &row, int first_column) const;

    Database database_;
};

}  // namespace history
