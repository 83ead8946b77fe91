#include "history/moment.h"

#include <algorithm>
#include <cmath>

#include "reader/json_form.h"
#include "reader/words.h"

namespace history {

using reader::Device;
using reader::Mac;
using reader::Snapshot;
using reader::Station;

namespace {

constexpr Number kFresh = kSlot;  // a sample that is older says nothing of the moment

constexpr Number kStillTrue = 2 * kMinute;  // after the last moment of all

bool is_in_gap(const Database &database, Number source, Number era, Number time) {
    Statement gap(database,
                  "SELECT 1 FROM gap WHERE source = ? AND part = 'model' AND era = ? AND since < ? AND until > ?");
    return gap.bind(source).bind(era).bind(time).bind(time).step();
}

// A stretch that a clock went through without being set back.
struct Era {
    Number era, first, last;
};

// The newest first.
std::vector<Era> eras_of(const Database &database, Number source) {
    Statement home(database, "SELECT first, last FROM source WHERE id = ?");
    Statement set_back(database,
                       "SELECT era, since, until FROM gap WHERE source = ? AND part = 'clock' ORDER BY era DESC");
    if (!home.bind(source).step()) {
        return {};
    }
    std::vector<Era> eras;
    Number last = home.number(1);
    set_back.bind(source);
    while (set_back.step()) {
        eras.push_back({set_back.number(0), set_back.number(1), last});
        last = set_back.number(2);
    }
    eras.push_back({0, home.number(0), last});
    eras.front().last += kStillTrue;
    return eras;
}

// The newest era that knows of a time.
std::optional<Number> era_at(const Database &database, Number source, Number time) {
    for (const Era &era : eras_of(database, source)) {
        if (time >= era.first && time <= era.last && !is_in_gap(database, source, era.era, time)) {
            return era.era;
        }
    }
    return std::nullopt;
}

// Of somebody at one time.
struct Measured {
    Number time = 0;
    std::optional<int> signal, rate;
};

class Builder {
public:
    Builder(const Database &database, Number source, Number era, Number time)
        : database_(database),
          source_(source),
          era_(era),
          time_(time),
          chunk_(database, "SELECT data FROM chunk WHERE hour = ? AND node = ? AND era = ?"),
          roll5_(database, "SELECT data FROM roll5 WHERE hour = ? AND node = ? AND era = ?"),
          roll60_(database, "SELECT data FROM roll60 WHERE day = ? AND node = ? AND era = ?") {}

    std::optional<Snapshot> build() {
        load_tail();
        Statement rows(
            database_,
            "SELECT n.id, n.is_station, n.mac, s.since, l.id, l.medium, l.interface, l.interface_name, d.mac, "
            "w.name, w.address, w.more FROM node n "
            "JOIN session s ON s.node = n.id AND s.era = ?2 AND s.since = (SELECT since FROM session WHERE node = n.id "
            "AND since <= ?3 AND era = ?2 ORDER BY since DESC LIMIT 1) "
            "JOIN link l ON l.id = s.link LEFT JOIN node d ON d.id = l.device "
            "LEFT JOIN description w ON w.node = n.id AND (w.since, w.era) = (SELECT since, era FROM description WHERE "
            "node = n.id AND (era < ?2 OR since <= ?3) AND era <= ?2 ORDER BY era DESC, since DESC LIMIT 1) "
            "WHERE n.source = ?1 AND (s.until IS NULL OR s.until > ?3)");
        rows.bind(source_).bind(era_).bind(time_);
        while (rows.step()) {
            const auto mac = Mac::parse(rows.text(2));
            if (mac && rows.number(1) != 0) {
                add_station(rows, *mac);
            } else if (mac) {
                add_device(rows, *mac);
            }
        }
        return finish();
    }

private:
    // What was measured shortly before; later rows hold later samples.
    void load_tail() {
        Statement rows(database_,
                       "SELECT data FROM tail WHERE source = ? AND era = ? AND since <= ? AND until >= ? ORDER BY id");
        rows.bind(source_).bind(era_).bind(time_).bind(time_ - kFresh);
        while (rows.step()) {
            for (const TailSample &tail : unpack_tail(rows.text(0))) {
                if (tail.linked.sample.time <= time_) {
                    const Sample &sample = tail.linked.sample;
                    tail_[tail.node] = {sample.time, sample.signal, sample.rate};
                }
            }
        }
    }

    void add_station(const Statement &row, Mac mac) {
        const auto device = Mac::parse(row.text(8));
        if (!device) {
            return;
        }
        Station station{mac,
                        *device,
                        row.optional_text(9),
                        row.optional_text(10),
                        Mac::parse(row.text(6)),
                        row.optional_text(7),
                        {},
                        {},
                        {},
                        false};
        station.is_wired = reader::value_of<reader::Medium>(row.text(5)) == reader::Medium::kEthernet;
        station.band = reader::value_of<reader::Band>(row.text(5));
        const Measured measured = measured_by(row);
        station.signal = measured.signal;
        station.rate = measured.rate;
        snapshot_.stations.push_back(std::move(station));
    }

    void add_device(const Statement &row, Mac mac) {
        const reader::Json json = reader::Json::parse(row.text(11), nullptr, false);
        Device device = reader::device_from_json(mac, json);
        device.name = row.optional_text(9);
        device.address = row.optional_text(10);
        device.parent = Mac::parse(row.text(8));
        device.medium = reader::value_of<reader::Medium>(row.text(5));
        const Measured measured = measured_by(row);
        device.signal = measured.signal;
        device.rate = measured.rate;
        snapshot_.devices.push_back(std::move(device));
    }

    // Of the session of a row: not what was measured before it.
    Measured measured_by(const Statement &row) {
        Measured measured = measured_of(row.number(0), row.number(4));
        if (measured.time < row.number(3) || measured.time <= time_ - kFresh) {
            return {};
        }
        newest_ = std::max(newest_, measured.time);
        return measured;
    }

    Measured measured_of(Number node, Number link) {
        const auto found = tail_.find(node);
        if (found != tail_.end()) {
            return found->second;
        }
        for (const Number time : {time_, time_ - kFresh}) {
            const Measured measured = last_in_chunk(node, start_of(kHour, time));
            if (measured.time != 0) {
                return measured;
            }
        }
        return rolled_up(node, link);
    }

    // Not after the moment, and not long before it.
    Measured last_in_chunk(Number node, Number hour) {
        const bool has_chunk = chunk_.bind(hour).bind(node).bind(era_).step();
        const auto samples = has_chunk ? unpack_samples(chunk_.text(0)) : std::vector<LinkedSample>();
        chunk_.reset();
        const auto after = std::find_if(samples.begin(), samples.end(),
                                        [this](const LinkedSample &linked) { return linked.sample.time > time_; });
        if (after == samples.begin() || std::prev(after)->sample.time <= time_ - kFresh) {
            return {};
        }
        const Sample &sample = std::prev(after)->sample;
        return {sample.time, sample.signal, sample.rate};
    }

    Measured rolled_up(Number node, Number link) {
        const Measured five = part_of(roll5_, node, start_of(kHour, time_), kSlot, link);
        return five.time != 0 ? five : part_of(roll60_, node, start_of(kDay, time_), kHour, link);
    }

    Measured part_of(Statement &rows, Number node, Number key, Number unit, Number link) {
        rows.bind(key).bind(node).bind(era_);
        const auto parts = rows.step() ? unpack_roll_ups(rows.text(0)) : std::vector<RollUp>();
        rows.reset();
        for (const RollUp &part : parts) {
            if (part.time == start_of(unit, time_) && part.link == link) {
                return {time_, mean(part.signal), mean(part.rate)};
            }
        }
        return {};
    }

    static std::optional<int> mean(const Range &range) {
        return range.n == 0 ? std::nullopt : std::optional(static_cast<int>(std::lround(range.mean())));
    }

    std::optional<Snapshot> finish() {
        const auto by_al_mac = [](const Device &a, const Device &b) { return a.al_mac < b.al_mac; };
        const auto by_mac = [](const Station &a, const Station &b) { return a.mac < b.mac; };
        std::sort(snapshot_.devices.begin(), snapshot_.devices.end(), by_al_mac);
        std::sort(snapshot_.stations.begin(), snapshot_.stations.end(), by_mac);
        Statement home(database_, "SELECT name, anonymous FROM source WHERE id = ?");
        home.bind(source_).step();
        snapshot_.source = home.text(0);
        snapshot_.anonymous = home.text(1);
        snapshot_.time = reader::time_of(newest_ != 0 ? newest_ : time_);
        snapshot_.read_at = reader::time_of(time_);
        add_missing();
        return std::move(snapshot_);
    }

    void add_missing() {
        snapshot_.knows_local_stations = true;
        Statement gap(
            database_,
            "SELECT cause FROM gap WHERE source = ? AND part = 'dump' AND era <= ? AND since <= ? AND (until IS "
            "NULL OR until > ?)");
        if (gap.bind(source_).bind(era_).bind(time_).bind(time_).step()) {
            using reader::Problem;
            snapshot_.missing.push_back(
                {reader::Missing::Part::kDump, Problem{Problem::Kind::kMissing, "then", gap.text(0)}});
            snapshot_.knows_local_stations = false;
        }
    }

    const Database &database_;
    const Number source_, era_, time_;
    Statement chunk_, roll5_, roll60_;
    std::map<Number, Measured> tail_;
    Number newest_ = 0;
    Snapshot snapshot_;
};

}  // namespace

std::optional<Snapshot> snapshot_at(const Database &database, Number source, Number time) {
    const auto era = era_at(database, source, time);
    if (!era) {
        return std::nullopt;
    }
    return Builder(database, source, *era, time).build();
}

std::vector<LinkedSample> tail_samples(const Database &database, Number source, Number node, Number from,
                                       Number until) {
    Statement chunk(database, "SELECT 1 FROM chunk WHERE hour = ? AND node = ? AND era = ?");
    std::map<std::pair<Number, Number>, bool> packed;
    const auto is_packed = [&](Number hour, Number era) {
        const auto [known, is_new] = packed.try_emplace({hour, era}, false);
        if (is_new) {
            known->second = chunk.bind(hour).bind(node).bind(era).step();
            chunk.reset();
        }
        return known->second;
    };
    Statement rows(database, "SELECT era, data FROM tail WHERE source = ? AND until >= ? AND since < ? ORDER BY id");
    rows.bind(source).bind(from).bind(until);
    std::vector<LinkedSample> samples;
    while (rows.step()) {
        for (const TailSample &tail : unpack_tail(rows.text(1))) {
            const Number time = tail.linked.sample.time;
            const bool is_wanted = tail.node == node && time >= from && time < until;
            if (is_wanted && !is_packed(start_of(kHour, time), rows.number(0))) {
                samples.push_back(tail.linked);
            }
        }
    }
    return samples;
}

}  // namespace history
