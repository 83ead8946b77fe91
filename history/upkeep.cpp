#include "history/upkeep.h"

#include <algorithm>
#include <string>
#include <vector>

namespace history {
namespace {

// Of each kind of work a little at a time.
constexpr Number kNodesAtOnce = 4;
constexpr Number kNodeShare = 1000;
constexpr Number kLeastSamples = 2 * kHour;  // those of the running hour are not packed yet
constexpr Number kPlausible = 1577836800;    // 2020: before that no clock was right that this program has seen
constexpr int kDaysAtOnce = 4;
constexpr Number kChunksAtOnce = 16;
constexpr Number kChunksInHaste = 512;  // as many pages as that frees, the rolled up ones have room in
constexpr Number kMomentsAnHour = 100;  // at least, so that an hour's chunks are rolled up within an hour
constexpr Number kHaste = 10;

// Of the rows of a home at most a day's, from the oldest on.
std::string drop_oldest(const std::string &table, const std::string &time) {
    return "DELETE FROM " + table + " WHERE source = ?1 AND " + time + " < min(?2, (SELECT min(" + time + ") FROM " +
           table + " WHERE source = ?1) + 86400)";
}

}  // namespace

Upkeep::Upkeep(Database &database, const Keep &keep)
    : database_(database),
      keep_(keep),
      now_(database.number("SELECT coalesce((SELECT max(now) FROM keeper), 0)")),
      nodes_(database.number("SELECT count(*) FROM node")),
      next_node_(database, "SELECT id FROM node WHERE id > ? ORDER BY id LIMIT 1"),
      next_home_(database, "SELECT id FROM source WHERE id > ? ORDER BY id LIMIT 1"),
      old_chunks_(database, "SELECT hour, node, era, data FROM chunk WHERE hour < ? ORDER BY hour, node, era LIMIT ?"),
      drop_chunk_(database, "DELETE FROM chunk WHERE hour = ? AND node = ? AND era = ?"),
      put_hour_(database, "INSERT OR REPLACE INTO roll5 VALUES(?, ?, ?, ?)"),
      oldest_hour_(database, "SELECT hour, node, era FROM roll5 WHERE hour < ? ORDER BY hour, node, era LIMIT 1"),
      hour_(database, "SELECT data FROM roll5 WHERE hour = ? AND node = ? AND era = ?"),
      drop_hour_(database, "DELETE FROM roll5 WHERE hour = ? AND node = ? AND era = ?"),
      put_day_(database, "INSERT OR REPLACE INTO roll60 VALUES(?, ?, ?, ?)"),
      day_(database, "SELECT data FROM roll60 WHERE day = ? AND node = ? AND era = ?"),
      put_now_(database, "INSERT OR REPLACE INTO keeper VALUES(1, ?)"),
      drop_days_(
          database,
          "DELETE FROM roll60 WHERE (day, node, era) IN (SELECT day, node, era FROM roll60 WHERE day < ? ORDER BY "
          "day, node, era LIMIT 100)"),
      drop_sessions_(database, "DELETE FROM session WHERE node = ? AND since < ?2 AND until < ?2"),
      // What was said last before then still holds.
      drop_descriptions_(
          database,
          "DELETE FROM description WHERE node = ?1 AND since < (SELECT max(since) FROM description WHERE "
          "node = ?1 AND since < ?2)"),
      drop_tallies_(database, "DELETE FROM tally WHERE node = ? AND day < ?"),
      drop_spells_(database, "DELETE FROM spell WHERE node = ? AND until < ?"),
      // Gone for good: guests, and MACs that phones make up. Links lead to devices, which stay.
      drop_node_(database,
                 "DELETE FROM node WHERE id = ?1 AND is_station AND NOT EXISTS (SELECT 1 FROM session WHERE node = ?1) "
                 "AND NOT EXISTS (SELECT 1 FROM description WHERE node = ?1 AND since >= ?2) AND NOT EXISTS (SELECT 1 "
                 "FROM event WHERE node = ?1)"),
      drop_words_(database,
                  "DELETE FROM description WHERE node = ?1 AND NOT EXISTS (SELECT 1 FROM node WHERE id = ?1)"),
      drop_events_(database, drop_oldest("event", "time")),
      // Those of the clock tell the eras apart for ever.
      drop_gaps_(database, "DELETE FROM gap WHERE source = ?1 AND until < ?2 AND part != 'clock'"),
      drop_counts_(database, drop_oldest("counts", "time")),
      vacuum_(database, "PRAGMA incremental_vacuum(8)") {}

void Upkeep::step(Number time, double uptime, Haste haste) {
    const Number passed = uptime_ == 0 ? 0 : static_cast<Number>(uptime - uptime_);
    uptime_ = uptime;
    if (time >= kPlausible) {
        now_ = now_ == 0 ? time : std::max(now_, std::min(time, now_ + kHaste * passed));
        put_now_.bind(now_).run();
    }
    roll_up_chunks(haste == Haste::kUrgent ? kChunksInHaste : std::max(kChunksAtOnce, nodes_ / kMomentsAnHour + 1));
    for (int i = 0; i < kDaysAtOnce; ++i) {
        roll_up_day();
    }
    for (Number i = 0; i < kNodesAtOnce + nodes_ / kNodeShare; ++i) {
        keep_next_node();
    }
    keep_next_home();
    vacuum_.run();
}

// What they come to in five minutes each; the oldest first.
void Upkeep::roll_up_chunks(Number most) {
    struct Row {
        Number hour, node, era;
        std::string data;
    };
    std::vector<Row> rows;
    old_chunks_.bind(start_of(kHour, now_ - std::max(keep_.samples, kLeastSamples))).bind(most);
    while (old_chunks_.step()) {
        rows.push_back({old_chunks_.number(0), old_chunks_.number(1), old_chunks_.number(2), old_chunks_.text(3)});
    }
    // First out, then in: there may be no room for both.
    for (const Row &row : rows) {
        drop_chunk_.bind(row.hour).bind(row.node).bind(row.era).run();
    }
    for (const Row &row : rows) {
        const std::string parts = pack(history::roll_up(unpack_samples(row.data), kSlot));
        put_hour_.bind(row.hour).bind(row.node).bind(row.era).bind_blob(parts).run();
    }
}

// What the five minutes of somebody's oldest day come to in an hour each, when all of that day is old.
void Upkeep::roll_up_day() {
    if (!oldest_hour_.bind(start_of(kDay, now_ - keep_.five_minutes)).step()) {
        return;
    }
    const Number day = start_of(kDay, oldest_hour_.number(0)), node = oldest_hour_.number(1),
                 era = oldest_hour_.number(2);
    oldest_hour_.reset();
    std::vector<RollUp> parts;
    for (Number hour = day; hour < day + kDay; hour += kHour) {
        if (hour_.bind(hour).bind(node).bind(era).step()) {
            const std::vector<RollUp> more = unpack_roll_ups(hour_.text(0));
            parts.insert(parts.end(), more.begin(), more.end());
        }
        hour_.reset();
        drop_hour_.bind(hour).bind(node).bind(era).run();
    }
    // Some of its hours may have been here before the others.
    if (day_.bind(day).bind(node).bind(era).step()) {
        const std::vector<RollUp> before = unpack_roll_ups(day_.text(0));
        parts.insert(parts.end(), before.begin(), before.end());
    }
    day_.reset();
    std::stable_sort(parts.begin(), parts.end(), [](const RollUp &a, const RollUp &b) { return a.time < b.time; });
    put_day_.bind(day).bind(node).bind(era).bind_blob(pack(history::roll_up(parts, kHour))).run();
}

void Upkeep::keep_next_node() {
    const bool has_next = next_node_.bind(node_).step();
    node_ = has_next ? next_node_.number(0) : 0;
    next_node_.reset();
    if (!has_next) {
        nodes_ = database_.number("SELECT count(*) FROM node");
        return;
    }
    const Number before = now_ - keep_.sessions;
    for (Statement *drop : {&drop_sessions_, &drop_descriptions_, &drop_tallies_, &drop_spells_, &drop_node_}) {
        drop->bind(node_).bind(before).run();
    }
    drop_words_.bind(node_).run();
}

void Upkeep::keep_next_home() {
    const bool has_next = next_home_.bind(home_).step();
    home_ = has_next ? next_home_.number(0) : 0;
    next_home_.reset();
    if (!has_next) {
        drop_days_.bind(now_ - keep_.hours - kDay).run();
        return;
    }
    for (Statement *drop : {&drop_events_, &drop_gaps_, &drop_counts_}) {
        drop->bind(home_).bind(now_ - keep_.sessions).run();
    }
}

}  // namespace history
