// One home while it is recorded: who is there now, since when, and what of the running hour is not packed yet.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "history/store.h"
#include "reader/events.h"

namespace history {

class Home {
public:
    // Goes on where the tables end, if they know this home. `patience`: seconds without a model after which there is a
    // gap; `cause`: why there is one, should the first moment come later than that.
    Home(Store &store, const std::string &name, const reader::Snapshot &first, Number patience, std::string cause);

    // One moment. Those of one second are one; `uptime` counts the seconds of a clock that nobody sets.
    void take(const reader::Snapshot &snapshot, double uptime);

    // What the next gap will be put down to.
    void miss(const std::string &cause) { cause_ = cause; }

    // Writes what is only in memory.
    void settle();

    const std::string &anonymous() const { return anonymous_; }
    Number last() const { return last_; }

private:
    // Somebody who is there.
    struct Session {
        SessionKey key;
        Place place;
        Number link;
        Came came;
        std::optional<Place> came_from;  // before the roam that began it
    };
    struct Live {
        Number node = 0;
        bool is_described = false;
        Description description;
        std::optional<Session> session;
        std::optional<int> signal;  // the last one
        std::optional<Spell> spell;
        std::vector<LinkedSample> hour;
        std::uint64_t seen = 0;  // number of the moment
    };
    using Everybody = std::unordered_map<reader::Mac, Live, reader::MacHash>;

    void load();
    void load_sessions();
    void load_tail();
    struct TailHour {
        Number era, hour, node;
        bool operator<(const TailHour &other) const {
            return std::tie(era, hour, node) < std::tie(other.era, other.hour, other.node);
        }
    };
    void load_hour(Live &live, const TailHour &hour, std::vector<LinkedSample> samples);

    void note_time(Number time, double uptime);
    void note_missing(const reader::Snapshot &snapshot);
    void note_events(const reader::Snapshot &now);
    void note_device(const reader::Device &device, const reader::Snapshot &now);
    void note_stations(const reader::Snapshot &now, bool knows_local);
    void note_station(const reader::Station &station, Came came, bool is_fresh, const reader::Snapshot &now);
    void note_who_left();
    void note_counts(const reader::Snapshot &now);

    Live &find(bool is_station, reader::Mac mac);
    void describe(Live &live, const Description &description);
    void connect(Live &live, bool is_station, const Place &place, Came came, const std::optional<int> &signal);
    void open(Live &live, const Place &place, Came came, const std::optional<Place> &from,
              const std::optional<int> &signal);
    void end(Live &live, Number until, Went went);
    void end_all(Number until);
    void sample(Live &live, const std::optional<int> &signal, const std::optional<int> &rate);
    void watch_spell(Live &live, const std::optional<int> &signal, const reader::Snapshot &now);
    void find_better(Live &live, const reader::Snapshot &now);
    void keep_spell(const Live &live);
    void end_spell(Live &live);
    Number link_of(const Place &place);

    void put_tail();
    void drop_tail();
    void put_hour_aside();
    void pack_some();

    Store &store_;
    const Number patience_;
    std::string cause_;
    std::string anonymous_;
    Number source_ = 0;
    Number era_ = 0;
    Number last_ = 0;
    bool is_empty_ = true;  // no moment yet
    bool goes_on_ = false;  // the last moment is not further away than usual
    bool has_dump_gap_ = false;
    std::optional<double> uptime_;
    std::optional<reader::Snapshot> before_;
    std::uint64_t moment_ = 0;

    Everybody devices_, stations_;
    std::map<Place, Number> links_;
    std::optional<Store::Counts> counts_;
    std::map<reader::Mac, Range> heard_;  // what devices hear of their stations, at the moment `heard_at_`
    std::uint64_t heard_at_ = 0;
    std::vector<TailSample> tail_;

    struct Due {
        Number node, era;
        std::vector<LinkedSample> samples;
    };
    std::deque<Due> due_;
    std::size_t at_once_ = 0;
};

// The moment that a snapshot is of.
Number seconds_of(reader::Time time);

}  // namespace history
