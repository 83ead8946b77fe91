// Keeping a history small: what is old is rolled up further or dropped, a little with every moment.
#pragma once

#include "history/database.h"
#include "history/samples.h"

namespace history {

// How long, in seconds.
struct Keep {
    Number samples = 7 * kDay;        // then they become five minutes each
    Number five_minutes = 90 * kDay;  // then these become hours
    Number hours = 2 * 365 * kDay;
    Number sessions = 365 * kDay;  // and events, gaps, counts
};

class Upkeep {
public:
    Upkeep(Database &database, const Keep &keep);

    enum class Haste {
        kNone,
        kUrgent,  // there is no room for what is new
    };

    // A small step. `time`: of the last moment; `uptime`: seconds of a clock that nobody sets. A clock that is set
    // forward by mistake must not drop everything: old age is believed only as fast as time passes, ten times over.
    void step(Number time, double uptime, Haste haste = Haste::kNone);

private:
    void roll_up_chunks(Number most);
    void roll_up_day();
    void keep_next_node();
    void keep_next_home();

    Database &database_;
    const Keep keep_;
    Number now_ = 0;
    double uptime_ = 0;
    Number node_ = 0;  // the last one that was looked after
    Number home_ = 0;
    Number nodes_;

    Statement next_node_, next_home_;
    Statement old_chunks_, drop_chunk_, put_hour_;
    Statement oldest_hour_, hour_, drop_hour_, put_day_, day_, put_now_, drop_days_;
    Statement drop_sessions_, drop_descriptions_, drop_tallies_, drop_spells_, drop_node_, drop_words_;
    Statement drop_events_, drop_gaps_, drop_counts_, vacuum_;
};

}  // namespace history
