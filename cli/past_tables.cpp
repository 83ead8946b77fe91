#include "cli/past_tables.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "cli/text.h"
#include "cli/times.h"
#include "cli/tone.h"
#include "history/json_form.h"
#include "reader/words.h"

namespace cli {

using history::Number;

namespace {

std::string number(const std::optional<int> &value) { return value ? std::to_string(*value) : ""; }

// People read the time of the place; everything else gets ISO 8601.
std::string when(Number time, const Options &options) {
    return is_for_people(options.format) ? time_text(reader::time_of(time), options)
                                         : reader::utc(reader::time_of(time));
}

std::string when(const std::optional<Number> &time, const Options &options) { return time ? when(*time, options) : ""; }

std::string lasted(Number since, const std::optional<Number> &until) {
    return until ? duration_text(*until - since) : "";
}

std::string name_of(const history::Somebody &somebody, const Options &options) {
    return options.names ? somebody.name.value_or("") : "";
}

// The MAC of who has no name.
std::string short_name(const history::Somebody &somebody, const Options &options) {
    const std::string name = name_of(somebody, options);
    return name.empty() ? somebody.mac.text() : name;
}

// Of less than a day nobody knows what a day would bring.
std::string a_day(Number count, double days) {
    if (days < 0.99) {
        return "";
    }
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.1f", static_cast<double>(count) / days);
    return text;
}

// With the JSON of each row, if that is what is wanted.
template <class Item, class Row>
Table table_of(std::vector<Column> columns, const std::vector<Item> &items, const Options &options, Row row) {
    Table table;
    table.columns = std::move(columns);
    for (const Item &item : items) {
        table.rows.push_back(row(item));
        if (is_json(options.format)) {
            table.items.push_back(history::to_json(item));
        }
    }
    return table;
}

}  // namespace

std::string who_text(const history::Somebody &somebody, const Options &options) {
    const std::string name = name_of(somebody, options);
    return name.empty() ? somebody.mac.text() : name + " (" + somebody.mac.text() + ")";
}

std::string device_text(const history::Spot &spot, const Options &options) {
    if (!spot.device) {
        return "";
    }
    return options.names && spot.device_name ? *spot.device_name : spot.device->text();
}

Table sessions_table(const std::vector<history::Session> &sessions, const history::Somebody &whose,
                     const Options &options) {
    const std::string at = whose.is_station ? "AT" : "LINKED TO";
    return table_of({{"since", "SINCE"},
                     {"until", "UNTIL"},
                     {"lasted", "LASTED", true, true, false, 6},
                     {"device", at},
                     {"medium", "OVER", true, false, false, 3},
                     {"came", "CAME BY", true, false, false, 4},
                     {"went", "WENT BY", true, false, false, 5},
                     {"first_signal", "FIRST dBm", true, true, true, 2},
                     {"last_signal", "LAST dBm", true, true, true, 2},
                     {"al_mac", "AL MAC", false, false, false, 8},
                     {"interface", "INTERFACE", false, false, false, 7}},
                    sessions, options, [&](const history::Session &session) {
                        return std::vector<std::string>{when(session.since, options),
                                                        when(session.until, options),
                                                        lasted(session.since, session.until),
                                                        device_text(session.spot, options),
                                                        session.spot.medium,
                                                        word(session.came),
                                                        session.went ? word(*session.went) : "",
                                                        number(session.first_signal),
                                                        number(session.last_signal),
                                                        session.spot.device ? session.spot.device->text() : "",
                                                        session.spot.interface_name};
                    });
}

Table roams_table(const std::vector<history::Roam> &roams, const Options &options) {
    return table_of({{"time", "TIME"},
                     {"name", "STATION"},
                     {"mac", "MAC", true, false, false, 6},
                     {"from", "FROM"},
                     {"from_medium", "OVER", true, false, false, 4},
                     {"before", "BEFORE dBm", true, true, true},
                     {"to", "TO"},
                     {"to_medium", "OVER", true, false, false, 4},
                     {"after", "AFTER dBm", true, true, true},
                     {"bounce", "BOUNCE", true, false, false, 3}},
                    roams, options, [&](const history::Roam &roam) {
                        return std::vector<std::string>{when(roam.time, options),
                                                        name_of(roam.station, options),
                                                        roam.station.mac.text(),
                                                        device_text(roam.from, options),
                                                        roam.from.medium,
                                                        number(roam.before),
                                                        device_text(roam.to, options),
                                                        roam.to.medium,
                                                        number(roam.after),
                                                        roam.is_back ? "yes" : ""};
                    });
}

Table roamers_table(const std::vector<history::Roamer> &roamers, double days, const Options &options) {
    return table_of({{"name", "STATION"},
                     {"mac", "MAC"},
                     {"roams", "ROAMS", true, true},
                     {"roams_per_day", "A DAY", true, true},
                     {"bounces", "BOUNCES", true, true}},
                    roamers, options, [&](const history::Roamer &roamer) {
                        return std::vector<std::string>{name_of(roamer.station, options), roamer.station.mac.text(),
                                                        std::to_string(roamer.roams), a_day(roamer.roams, days),
                                                        std::to_string(roamer.backs)};
                    });
}

Table bouncers_table(const std::vector<Bouncer> &bouncers, double days, const Options &options) {
    Table table;
    table.columns = {{"name", "STATION"},
                     {"mac", "MAC", true, false, false, 5},
                     {"bounces", "BOUNCES", true, true},
                     {"bounces_per_day", "A DAY", true, true},
                     {"last", "LAST"},
                     {"between", "BETWEEN"},
                     {"between_medium", "OVER", true, false, false, 3},
                     {"and", "AND"},
                     {"and_medium", "OVER", true, false, false, 3}};
    for (const Bouncer &bouncer : bouncers) {
        const history::Roamer &roamer = bouncer.roamer;
        const history::Spot none{};
        const history::Spot &from = bouncer.last ? bouncer.last->from : none;
        const history::Spot &to = bouncer.last ? bouncer.last->to : none;
        table.rows.push_back({name_of(roamer.station, options), roamer.station.mac.text(), std::to_string(roamer.backs),
                              a_day(roamer.backs, days), bouncer.last ? when(bouncer.last->time, options) : "",
                              device_text(to, options), to.medium, device_text(from, options), from.medium});
        if (is_json(options.format)) {
            auto json = history::to_json(roamer);
            if (bouncer.last) {
                json["last"] = history::to_json(*bouncer.last);
            }
            table.items.push_back(std::move(json));
        }
    }
    return table;
}

Table sticky_table(const std::vector<history::Sticky> &sticky, const Options &options) {
    return table_of({{"name", "STATION"},
                     {"mac", "MAC", true, false, false, 6},
                     {"device", "STICKS TO"},
                     {"signal", "MEAN dBm", true, true, true},
                     {"seconds", "IN ALL", true, true},
                     {"times", "TIMES", true, true},
                     {"longest", "LONGEST", true, true, false, 5},
                     {"last_since", "LAST SINCE", true, false, false, 4},
                     {"best", "HEARD BEST AT"},
                     {"best_signal", "THERE dBm", true, true, true},
                     {"other", "HEARS WELL", false, false, false, 8},
                     {"other_signal", "ITS STATIONS dBm", false, true, false, 7}},
                    sticky, options, [&](const history::Sticky &item) {
                        const bool is_text = is_for_people(options.format);
                        const auto lasted_for = [&](Number seconds) {
                            return is_text ? duration_text(seconds) : std::to_string(seconds);
                        };
                        return std::vector<std::string>{name_of(item.station, options),
                                                        item.station.mac.text(),
                                                        device_text(item.at, options),
                                                        std::to_string(std::lround(item.signal)),
                                                        lasted_for(item.seconds),
                                                        std::to_string(item.times),
                                                        lasted_for(item.longest),
                                                        when(item.last_since, options),
                                                        item.best ? short_name(*item.best, options) : "",
                                                        number(item.best_signal),
                                                        short_name(item.other, options),
                                                        std::to_string(item.other_signal)};
                    });
}

Table gaps_table(const std::vector<history::Gap> &gaps, const Options &options) {
    return table_of({{"since", "SINCE"},
                     {"until", "UNTIL"},
                     {"lasted", "LASTED", true, true, false, 3},
                     {"part", "OF"},
                     {"cause", "CAUSE"}},
                    gaps, options, [&](const history::Gap &gap) {
                        return std::vector<std::string>{when(gap.since, options), when(gap.until, options),
                                                        lasted(gap.since, gap.until), gap.part, gap.cause};
                    });
}

Table happenings_table(const std::vector<history::Happening> &happenings, const Options &options) {
    return table_of({{"time", "TIME"},
                     {"name", "WHO"},
                     {"mac", "MAC", true, false, false, 5},
                     {"event", "EVENT"},
                     {"old", "WAS"},
                     {"new", "IS"}},
                    happenings, options, [&](const history::Happening &happening) {
                        return std::vector<std::string>{
                            when(happening.time, options),    name_of(happening.who, options),
                            happening.who.mac.text(),         happening.kind,
                            happening.old_value.value_or(""), happening.new_value.value_or("")};
                    });
}

Table homes_table(const std::vector<history::HomeRow> &homes, const Options &options) {
    return table_of({{"source", "SOURCE"}, {"first", "FIRST"}, {"last", "LAST"}}, homes, options,
                    [&](const history::HomeRow &home) {
                        return std::vector<std::string>{home.name, when(home.first, options), when(home.last, options)};
                    });
}

// --- the curve ---

namespace {

constexpr int kRows = 5;
constexpr int kSteps = 8;  // of a cell, by the blocks of Unicode
constexpr std::size_t kMostColumns = 72;
constexpr std::size_t kMargin = 9;  // "-100 dBm "

const char *block(int eighths, bool has_utf8) {
    constexpr const char *kBlocks[] = {" ",      "\u2581", "\u2582", "\u2583", "\u2584",
                                       "\u2585", "\u2586", "\u2587", "\u2588"};
    if (!has_utf8) {
        return eighths == 0 ? " " : eighths < kSteps / 2 ? "." : "#";
    }
    return kBlocks[eighths];
}

// What falls into one column of the drawing.
struct Cell {
    history::Range signal;
    std::map<Number, Number> links;  // how many samples at which link
};

class Drawing {
public:
    Drawing(const history::Curve &curve, const std::vector<history::Session> &sessions, const history::Span &span,
            const Options &options)
        : sessions_(sessions), span_(span), options_(options), cells_(columns(curve)) {
        for (const history::Point &point : curve.points) {
            if (point.signal.n != 0) {
                Cell &cell = cells_[column_of(point.time)];
                cell.signal.add(point.signal);
                cell.links[point.link] += point.signal.n;
                all_.add(point.signal);
            }
        }
    }

    std::string text() const {
        if (all_.n == 0) {
            return "";
        }
        const int low = static_cast<int>(all_.min) - 2;
        const int step = std::max(1, (static_cast<int>(all_.max) - low + kRows - 1) / kRows);
        std::string text;
        for (int row = kRows - 1; row >= 0; --row) {
            const int base = low + step * row;
            const int top = base + step;
            text += pad(std::to_string(top) + " dBm ", kMargin, true) + line(base, top) + '\n';
        }
        return text + devices() + times();
    }

private:
    std::size_t columns(const history::Curve &curve) const {
        const std::size_t room = options_.width > kMargin + 20 ? options_.width - kMargin : kMostColumns;
        const Number step = std::max<Number>(curve.step, 20);
        const auto steps = static_cast<std::size_t>((span_.until - span_.from + step - 1) / step);
        return std::max<std::size_t>(1, std::min({room, kMostColumns, steps}));
    }

    std::size_t column_of(Number time) const {
        const auto count = static_cast<Number>(cells_.size());
        const Number column = (time - span_.from) * count / std::max<Number>(1, span_.until - span_.from);
        return static_cast<std::size_t>(std::clamp<Number>(column, 0, count - 1));
    }

    // Bars of means; where nothing is known there is nothing.
    std::string line(int base, int top) const {
        std::string text;
        for (const Cell &cell : cells_) {
            const double part = (cell.signal.mean() - base) / std::max(1, top - base);
            const int eighths =
                cell.signal.n == 0 ? 0 : static_cast<int>(std::lround(std::clamp(part, 0., 1.) * kSteps));
            const Tone tone =
                cell.signal.n == 0 ? Tone::kPlain : tone_of(static_cast<int>(std::lround(cell.signal.mean())));
            text += eighths == 0 ? " " : paint(block(eighths, options_.has_utf8), tone, options_);
        }
        return text;
    }

    // "aaaabbbb", and who a and b are.
    std::string devices() const {
        std::map<std::string, char> letters;
        std::string line, legend;
        for (const Cell &cell : cells_) {
            const auto most = std::max_element(cell.links.begin(), cell.links.end(),
                                               [](const auto &a, const auto &b) { return a.second < b.second; });
            const std::string place = most == cell.links.end() ? "" : place_of(most->first);
            if (place.empty()) {
                line += ' ';
                continue;
            }
            const auto [found, is_new] = letters.try_emplace(place, static_cast<char>('a' + letters.size() % 26));
            if (is_new) {
                legend += std::string(legend.empty() ? "" : ", ") + found->second + " " + visible(place);
            }
            line += found->second;
        }
        return std::string(kMargin, ' ') + line + '\n' + std::string(kMargin, ' ') + legend + '\n';
    }

    std::string place_of(Number link) const {
        const auto found = std::find_if(sessions_.begin(), sessions_.end(),
                                        [=](const history::Session &session) { return session.link == link; });
        if (found == sessions_.end()) {
            return "";
        }
        return device_text(found->spot, options_) + (found->spot.medium.empty() ? "" : " " + found->spot.medium);
    }

    std::string times() const {
        const std::string from = time_text(reader::time_of(span_.from), options_);
        const std::string until = time_text(reader::time_of(span_.until), options_);
        const std::size_t room =
            cells_.size() > width(from) + width(until) ? cells_.size() - width(until) : width(from) + 2;
        return std::string(kMargin, ' ') + pad(from, room) + until + '\n';
    }

    const std::vector<history::Session> &sessions_;
    const history::Span span_;
    const Options &options_;
    std::vector<Cell> cells_;
    history::Range all_;
};

}  // namespace

std::string curve_text(const history::Curve &curve, const std::vector<history::Session> &sessions,
                       const history::Span &span, const Options &options) {
    return Drawing(curve, sessions, span, options).text();
}

}  // namespace cli
