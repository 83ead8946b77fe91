#include "history/store.h"

#include <tuple>

#include "reader/words.h"

namespace history {
namespace {

// Signals and such as a column holds them.
std::optional<Number> as_number(const std::optional<int> &value) {
    return value ? std::optional<Number>(*value) : std::nullopt;
}

std::optional<std::string> text_or_null(const std::string &text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

}  // namespace

bool Place::operator<(const Place &other) const {
    return std::tie(device, medium, interface, interface_name) <
           std::tie(other.device, other.medium, other.interface, other.interface_name);
}

bool is_same_spot(const Place &one, const Place &other) {
    return one.device == other.device && (one.medium.empty() || other.medium.empty() || one.medium == other.medium);
}

Store::Store(Database &database)
    : database_(database),
      find_source_(database, "SELECT id, anonymous, first, last, era FROM source WHERE name = ?"),
      add_source_(database, "INSERT INTO source(name, anonymous, first, last, era) VALUES(?, ?, ?, ?, 0)"),
      set_last_(database, "UPDATE source SET last = ?, era = ? WHERE id = ?"),
      find_node_(database, "SELECT id FROM node WHERE source = ? AND is_station = ? AND mac = ?"),
      add_node_(database, "INSERT INTO node(source, is_station, mac) VALUES(?, ?, ?)"),
      find_link_(database,
                 "SELECT id FROM link WHERE source = ? AND device IS ? AND medium IS ? AND interface IS ? AND "
                 "interface_name IS ?"),
      add_link_(database, "INSERT INTO link(source, device, medium, interface, interface_name) VALUES(?, ?, ?, ?, ?)"),
      find_description_(
          database,
          "SELECT name, address, more FROM description WHERE node = ? ORDER BY era DESC, since DESC LIMIT "
          "1"),
      describe_(database, "INSERT OR REPLACE INTO description VALUES(?, ?, ?, ?, ?, ?)"),
      open_session_(database, "INSERT OR REPLACE INTO session VALUES(?, ?, ?, NULL, ?, ?, NULL, ?, NULL)"),
      end_session_(database,
                   "UPDATE session SET until = ?, went = ?, last_signal = ? WHERE node = ? AND since = ? AND era = ?"),
      count_roam_(database,
                  "INSERT INTO tally VALUES(?, ?, 1, ?) ON CONFLICT DO UPDATE SET roams = roams + 1, backs = backs + "
                  "excluded.backs"),
      put_spell_(database, "INSERT OR REPLACE INTO spell VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      put_event_(database, "INSERT OR REPLACE INTO event VALUES(?, ?, ?, ?, ?, ?, ?)"),
      open_gap_(database, "INSERT OR REPLACE INTO gap VALUES(?, ?, ?, ?, ?, ?)"),
      end_gap_(database, "UPDATE gap SET until = ? WHERE source = ? AND part = ? AND until IS NULL"),
      put_counts_(database, "INSERT OR REPLACE INTO counts VALUES(?, ?, ?, ?, ?, ?, ?, ?)"),
      put_tail_(database, "INSERT INTO tail(source, era, since, until, data) VALUES(?, ?, ?, ?, ?)"),
      drop_tail_(database, "DELETE FROM tail WHERE source = ? AND until < ?"),
      put_chunk_(database, "INSERT OR REPLACE INTO chunk VALUES(?, ?, ?, ?)") {}

SourceRow Store::source(const std::string &name, const std::string &anonymous, Number first) {
    find_source_.bind(name);
    if (find_source_.step()) {
        SourceRow row{find_source_.number(0), find_source_.text(1),   find_source_.number(2),
                      find_source_.number(3), find_source_.number(4), false};
        find_source_.reset();
        return row;
    }
    add_source_.bind(name).bind(anonymous).bind(first).bind(first).run();
    return {database_.last_id(), anonymous, first, first, 0, true};
}

void Store::set_last(Number source, Number last, Number era) { set_last_.bind(last).bind(era).bind(source).run(); }

Number Store::node(Number source, bool is_station, reader::Mac mac) {
    find_node_.bind(source).bind(Number{is_station}).bind(mac.text());
    if (find_node_.step()) {
        const Number id = find_node_.number(0);
        find_node_.reset();
        return id;
    }
    add_node_.bind(source).bind(Number{is_station}).bind(mac.text()).run();
    return database_.last_id();
}

Number Store::link(Number source, const std::optional<Number> &device, const Place &place) {
    const auto bind = [&](Statement &statement) {
        statement.bind(source)
            .bind(device)
            .bind(text_or_null(place.medium))
            .bind(text_or_null(place.interface))
            .bind(text_or_null(place.interface_name));
    };
    bind(find_link_);
    if (find_link_.step()) {
        const Number id = find_link_.number(0);
        find_link_.reset();
        return id;
    }
    bind(add_link_);
    add_link_.run();
    return database_.last_id();
}

std::optional<Description> Store::description_of(Number node) {
    find_description_.bind(node);
    if (!find_description_.step()) {
        return std::nullopt;
    }
    Description description{find_description_.optional_text(0), find_description_.optional_text(1),
                            find_description_.text(2)};
    find_description_.reset();
    return description;
}

void Store::describe(Number node, Number since, Number era, const Description &description) {
    describe_.bind(node).bind(since).bind(era).bind(description.name).bind(description.address);
    describe_.bind(text_or_null(description.more)).run();
}

void Store::open_session(const SessionKey &key, Number link, Came came, const std::optional<int> &signal) {
    open_session_.bind(key.node).bind(key.since).bind(key.era).bind(link).bind(static_cast<Number>(came));
    open_session_.bind(as_number(signal)).run();
}

void Store::end_session(const SessionKey &key, Number until, Went went, const std::optional<int> &signal) {
    end_session_.bind(until).bind(static_cast<Number>(went)).bind(as_number(signal));
    end_session_.bind(key.node).bind(key.since).bind(key.era).run();
}

void Store::count_roam(Number node, Number time, bool is_back) {
    count_roam_.bind(node).bind(start_of(kDay, time)).bind(Number{is_back}).run();
}

void Store::put_spell(Number node, Number era, const Spell &spell) {
    put_spell_.bind(node).bind(spell.since).bind(era).bind(spell.until).bind(spell.link).bind(spell.n).bind(spell.sum);
    put_spell_.bind(spell.other).bind(spell.other_signal).run();
}

void Store::put_event(Number source, Number era, Number node, const reader::Event &event) {
    const Number time = std::chrono::duration_cast<std::chrono::seconds>(event.time.time_since_epoch()).count();
    put_event_.bind(source).bind(time).bind(era).bind(node).bind(std::string(reader::word(event.kind)));
    put_event_.bind(event.old_value).bind(event.new_value).run();
}

void Store::open_gap(Number source, Number since, Number era, const std::string &part,
                     const std::optional<Number> &until, const std::string &cause) {
    open_gap_.bind(source).bind(since).bind(era).bind(part).bind(until).bind(cause).run();
}

void Store::end_gap(Number source, const std::string &part, Number until) {
    end_gap_.bind(until).bind(source).bind(part).run();
}

void Store::put_counts(Number source, Number era, const Counts &counts) {
    put_counts_.bind(source).bind(counts.time).bind(era).bind(counts.devices).bind(counts.on_2_4ghz);
    put_counts_.bind(counts.on_5ghz).bind(counts.wired).bind(counts.weak).run();
}

void Store::put_tail(Number source, Number era, const std::vector<TailSample> &samples) {
    put_tail_.bind(source).bind(era).bind(samples.front().linked.sample.time);
    put_tail_.bind(samples.back().linked.sample.time).bind_blob(pack_tail(samples)).run();
}

void Store::drop_tail(Number source, Number before) { drop_tail_.bind(source).bind(before).run(); }

void Store::put_hour(Number node, Number era, const std::vector<LinkedSample> &samples) {
    const Number hour = start_of(kHour, samples.front().sample.time);
    put_chunk_.bind(hour).bind(node).bind(era).bind_blob(pack(samples)).run();
}

}  // namespace history
