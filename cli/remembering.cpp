#include "cli/remembering.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <set>

#include "cli/mesh.h"
#include "cli/past_tables.h"
#include "cli/recording.h"
#include "cli/text.h"
#include "cli/times.h"
#include "cli/views.h"
#include "history/json_form.h"
#include "history/recorder.h"
#include "reader/json_form.h"

namespace cli {
namespace {

using history::Number;
using history::Past;
using history::Span;
using Json = nlohmann::ordered_json;

constexpr std::size_t kPoints = 600;           // of a curve
constexpr Number kWindow = history::kDay + 1;  // both its ends

struct Asked {
    std::string file;
    std::string since, until;
};

Number now() { return history::seconds_of(std::chrono::system_clock::now()); }

Number read_moment(const std::string &text, const Options &options) {
    const auto time = read_time(text, now(), options.in_utc);
    if (!time) {
        say(text + ": is no time " + kTimeWords);
        throw Stop{kUsage};
    }
    return *time;
}

// A database opened, with the home that is asked about.
class Book {
public:
    Book(const Asked &asked, const Options &options)
        : past_(asked.file), home_(choose(options)), span_(read(asked, options)) {}

    const Past &past() const { return past_; }
    Number home() const { return home_.id; }
    const history::HomeRow &row() const { return home_; }
    const Span &span() const { return span_; }

    // What of it was recorded.
    Span recorded() const { return {std::max(span_.from, home_.first), std::min(span_.until, home_.last + 1)}; }

    double days() const {
        const Span known = recorded();
        return static_cast<double>(known.until - known.from) / static_cast<double>(history::kDay);
    }

    // What JSON says around an answer.
    Json heading() const {
        return {{"schema", reader::kSchema},
                {"source", reader::valid_utf8(home_.name)},
                {"from", history::utc(span_.from)},
                {"until", history::utc(span_.until)}};
    }

    // "from 2026-11-21 03:00:00 until 2026-11-22 03:00:00".
    std::string span_text(const Options &options) const {
        return "from " + time_text(reader::time_of(span_.from), options) + " until " +
               time_text(reader::time_of(span_.until), options);
    }

    // Everybody who is called so; says who is called nearly so where nobody is.
    std::vector<history::Somebody> find(const std::string &text, bool stations, Answer &answer) const {
        std::vector<history::Somebody> found = past_.find(home_.id, text);
        const bool is_somebody = !found.empty();
        const auto is_other = [=](const history::Somebody &somebody) { return somebody.is_station != stations; };
        found.erase(std::remove_if(found.begin(), found.end(), is_other), found.end());
        if (found.empty() && is_somebody) {
            answer.say(text + (stations ? " is a device: history link " : " is a station: history station ") + text);
            answer.end_with(kNothingMatched);
        } else if (found.empty()) {
            answer.say(std::string("no ") + (stations ? "station" : "device") + " was ever called " + text +
                       near(text));
            answer.end_with(kNothingMatched);
        }
        return found;
    }

private:
    history::HomeRow choose(const Options &options) const {
        const std::vector<history::HomeRow> homes = past_.homes();
        std::string names;
        for (const history::HomeRow &home : homes) {
            if (options.source_is_chosen ? home.name == options.source : homes.size() == 1) {
                return home;
            }
            names += (names.empty() ? "" : ", ") + home.name;
        }
        say(homes.empty() ? past_.file() + ": nothing was recorded yet"
                          : past_.file() + ": has these sources, choose one with -s: " + names);
        throw Stop{homes.empty() ? int{kNothingMatched} : int{kUsage}};
    }

    // Without words it is the last day that was recorded.
    Span read(const Asked &asked, const Options &options) const {
        const Number until = asked.until.empty() ? home_.last + 1 : read_moment(asked.until, options);
        const Span span{asked.since.empty() ? until - kWindow : read_moment(asked.since, options), until};
        if (span.from >= span.until) {
            say("--since is " + time_text(reader::time_of(span.from), options) + ", which is not before " +
                (asked.until.empty() ? "the last that was recorded: " : "--until: ") +
                time_text(reader::time_of(span.until - (asked.until.empty() ? 1 : 0)), options));
            throw Stop{kUsage};
        }
        return span;
    }

    std::string near(const std::string &text) const {
        constexpr std::size_t kMost = 5;
        std::string near;
        std::size_t count = 0;
        for (const std::string &name : past_.names(home_.id)) {
            if (lower_case(name).find(lower_case(text)) != std::string::npos && ++count <= kMost) {
                near += (near.empty() ? "; there are: " : ", ") + name;
            }
        }
        return near + (count > kMost ? " and others" : "");
    }

    const Past past_;
    const history::HomeRow home_;
    const Span span_;
};

// A verb that asks a book.
using Tell = std::function<void(const Book &book, const Options &options, Answer &answer)>;

// A deed, with what may be wrong with a database told.
void set_deed(CLI::App &verb, Question &question, const std::function<void(Answer &)> &deed) {
    verb.callback([&question, deed] {
        question.deed = [deed](Answer &answer) {
            try {
                deed(answer);
            } catch (const history::Failure &failure) {
                answer.end_with(tell(failure));
            }
        };
    });
}

void ask_book(CLI::App &verb, Question &question, const std::shared_ptr<Asked> &asked, const Tell &tell_it) {
    set_deed(verb, question, [&question, asked, tell_it](Answer &answer) {
        tell_it(Book(*asked, question.options), question.options, answer);
    });
}

CLI::App *add_verb(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked, const char *name,
                   const char *help, const Tell &tell_it) {
    CLI::App *verb = parent.add_subcommand(name, help);
    ask_book(*verb, question, asked, tell_it);
    return verb;
}

void add_span(CLI::App &verb, Asked &asked) {
    verb.add_option("--since", asked.since, std::string("From this time on, ") + kTimeWords)
        ->type_name("TIME")
        ->default_str("a day before --until");
    verb.add_option("--until", asked.until, "Before this time")->type_name("TIME")->default_str("the last recorded");
}

void put_table(const Table &table, const Book &book, const char *key, const std::string &nothing,
               const Options &options, Answer &answer) {
    answer.text += print(table, options, book.heading(), key);
    if (table.rows.empty()) {
        answer.say(nothing + " " + book.span_text(options));
        answer.end_with(kNothingMatched);
    }
}

// Why there is nothing of a time.
std::string why_not(const Book &book, Number time, const Options &options) {
    const auto text = [&](Number moment) { return time_text(reader::time_of(moment), options); };
    for (const history::Gap &gap : book.past().gaps(book.home(), {time, time + 1})) {
        if (gap.part == "model" && gap.until) {
            return "nothing is known of " + text(time) + ": " + gap.cause + ", from " + text(gap.since) + " until " +
                   text(*gap.until);
        }
    }
    return "nothing is known of " + text(time) + ": recorded is from " + text(book.row().first) + " until " +
           text(book.row().last);
}

// Nobody was there, or nobody looked.
std::string absent_text(const Book &book, const std::string &who, const Options &options) {
    const Span known = book.recorded();
    const bool is_known = known.from < known.until &&
                          (book.past().at(book.home(), known.from) || book.past().at(book.home(), known.until - 1));
    return is_known ? who + " was not there " + book.span_text(options) : why_not(book, book.span().from, options);
}

// --- somebody ---

Json somebody_json(const Book &book, const history::Somebody &somebody, const std::vector<history::Session> &sessions) {
    Json json = history::to_json(somebody);
    json["sessions"] = Json::array();
    for (const history::Session &session : sessions) {
        json["sessions"].push_back(history::to_json(session));
    }
    json["weak"] = Json::array();
    for (const history::WeakSpell &spell : book.past().weak_spells(somebody.node, book.span())) {
        json["weak"].push_back(history::to_json(spell));
    }
    json["curve"] = history::to_json(book.past().curve(book.home(), somebody.node, book.span(), kPoints));
    return json;
}

// "weak from 2026-11-22 02:30:00 until 2026-11-22 04:09:40: -81 dBm on average, at living-room".
std::string weak_text(const Book &book, const history::Somebody &somebody,
                      const std::vector<history::Session> &sessions, const Options &options) {
    std::string text;
    for (const history::WeakSpell &spell : book.past().weak_spells(somebody.node, book.span())) {
        const auto session = std::find_if(sessions.begin(), sessions.end(),
                                          [&](const history::Session &item) { return item.link == spell.link; });
        text += "weak from " + time_text(reader::time_of(spell.since), options) + " until " +
                time_text(reader::time_of(spell.until), options) + ": " + std::to_string(std::lround(spell.signal)) +
                " dBm on average" +
                (session == sessions.end() ? "" : ", at " + visible(device_text(session->spot, options))) + '\n';
    }
    return text.empty() ? "" : text + '\n';
}

std::string summary(const std::vector<history::Session> &sessions, bool is_station, const Span &span) {
    std::size_t roams = 0, bounces = 0;
    for (const history::Session &session : sessions) {
        const bool is_in = session.since >= span.from;
        roams += is_in && is_roam(session.came) ? 1 : 0;
        bounces += is_in && session.came == history::Came::kBack ? 1 : 0;
    }
    const std::string count = counted(sessions.size(), "session");
    return !is_station ? count
                       : count + ", " + counted(roams, "roam") +
                             (bounces == 0 ? "" : ", " + std::to_string(bounces) + " of them back within a minute");
}

void tell_somebody(const Book &book, const history::Somebody &somebody, const Options &options, Answer &answer,
                   Json &all) {
    const auto sessions = book.past().sessions(somebody.node, book.span());
    if (is_json(options.format)) {
        all.push_back(somebody_json(book, somebody, sessions));
        return;
    }
    if (is_for_people(options.format) && options.columns.empty()) {
        const Span known = book.recorded();
        const auto curve = book.past().curve(book.home(), somebody.node, known, kPoints);
        answer.text +=
            visible(who_text(somebody, options) + ": " + summary(sessions, somebody.is_station, book.span())) + "\n\n";
        const std::string drawn = curve_text(curve, sessions, known, options);
        answer.text += drawn + (drawn.empty() ? "" : "\n") + weak_text(book, somebody, sessions, options);
    }
    answer.text += print(sessions_table(sessions, somebody, options), options, Json(), "");
    if (sessions.empty()) {
        answer.say(absent_text(book, who_text(somebody, options), options));
        answer.end_with(kNothingMatched);
    }
}

void tell_of(const std::string &name, bool stations, const Book &book, const Options &options, Answer &answer) {
    Json all = Json::array();
    for (const history::Somebody &somebody : book.find(name, stations, answer)) {
        tell_somebody(book, somebody, options, answer, all);
    }
    if (is_json(options.format)) {
        Json whole = book.heading();
        whole[stations ? "stations" : "devices"] = all;
        answer.text += print(whole, options.format);
    }
}

// --- somebody at one moment ---

const history::Session *session_at(const std::vector<history::Session> &sessions, Number time) {
    const auto found = std::find_if(sessions.rbegin(), sessions.rend(), [=](const history::Session &session) {
        return session.since <= time && (!session.until || *session.until > time);
    });
    return found == sessions.rend() ? nullptr : &*found;
}

std::string range_text(const history::Range &range, const char *unit) {
    if (range.n != 0 && range.min == range.max) {
        return std::to_string(range.min) + unit;
    }
    return range.n == 0 ? "unknown"
                        : std::to_string(range.min) + " to " + std::to_string(range.max) + ", mean " +
                              std::to_string(std::lround(range.mean())) + unit;
}

// Signal and rate around a time, and in the day before it to compare with.
struct LinkThen {
    history::Somebody who;
    const history::Session *session;
    history::Range signal, rate, day_signal, day_rate;
};

LinkThen link_then(const Book &book, const history::Somebody &who, const std::vector<history::Session> &sessions,
                   Number time) {
    LinkThen link{who, session_at(sessions, time), {}, {}, {}, {}};
    const Number slot = history::start_of(history::kSlot, time);
    const Span around{slot, slot + history::kSlot}, day{time - history::kDay, time};
    for (const history::Point &point : book.past().curve(book.home(), who.node, around, kPoints).points) {
        link.signal.add(point.signal);
        link.rate.add(point.rate);
    }
    for (const history::Point &point : book.past().curve(book.home(), who.node, day, kPoints).points) {
        link.day_signal.add(point.signal);
        link.day_rate.add(point.rate);
    }
    return link;
}

std::string link_text(const LinkThen &link, Number time, const Options &options) {
    const std::string who = visible(who_text(link.who, options)) + " at " + time_text(reader::time_of(time), options);
    const bool is_station = link.who.is_station;
    if (link.session == nullptr) {
        return who + ": was not there\n";
    }
    const std::string to = device_text(link.session->spot, options);
    std::string text = who + '\n';
    text += std::string(is_station ? "  connected to    " : "  linked to       ") +
            (to.empty() ? "nothing: it is the root" : visible(to));
    text += link.session->spot.medium.empty() ? "\n" : ", " + link.session->spot.medium + '\n';
    text += "  since           " + time_text(reader::time_of(link.session->since), options) + '\n';
    text += "  5 minutes then  " + range_text(link.signal, " dBm") + "; " + range_text(link.rate, " Mbit/s") + '\n';
    text +=
        "  the day before  " + range_text(link.day_signal, " dBm") + "; " + range_text(link.day_rate, " Mbit/s") + '\n';
    return text;
}

Json link_json(const LinkThen &link, Number time) {
    Json json = history::to_json(link.who);
    json["time"] = history::utc(time);
    if (link.session != nullptr) {
        json["session"] = history::to_json(*link.session);
    }
    history::Point then{history::start_of(history::kSlot, time), 0, link.signal, link.rate};
    history::Point day{time - history::kDay, 0, link.day_signal, link.day_rate};
    json["then"] = history::to_json(then);
    json["day_before"] = history::to_json(day);
    return json;
}

void tell_at(const std::string &name, bool stations, const std::string &at, const Book &book, const Options &options,
             Answer &answer) {
    if (options.format == Format::kTsv || options.format == Format::kValue || !options.columns.empty()) {
        throw CLI::ValidationError("--at", "has no rows and columns; table and json are its outputs");
    }
    const Number time = read_moment(at, options);
    const std::vector<history::Somebody> found = book.find(name, stations, answer);
    if (!found.empty() && !book.past().at(book.home(), time)) {
        answer.say(why_not(book, time, options));
        answer.end_with(kNothingMatched);
        return;
    }
    Json all = Json::array();
    for (const history::Somebody &who : found) {
        const auto sessions = book.past().sessions(who.node, {time - history::kDay, time + 1});
        const LinkThen link = link_then(book, who, sessions, time);
        if (link.session == nullptr) {
            answer.end_with(kNothingMatched);
        }
        if (is_json(options.format)) {
            all.push_back(link_json(link, time));
        } else {
            answer.text += link_text(link, time, options);
        }
    }
    if (is_json(options.format)) {
        Json whole = book.heading();
        whole[stations ? "stations" : "devices"] = all;
        answer.text += print(whole, options.format);
    }
}

// `station` and `link`: where somebody was, over a time or at one.
void add_somebody(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked, bool stations) {
    struct Wanted {
        std::string name, at;
    };
    const auto wanted = std::make_shared<Wanted>();
    CLI::App *verb = add_verb(parent, question, asked, stations ? "station" : "link",
                              stations ? "Where a station was, how well it was heard, its roams"
                                       : "How a device was linked to the one before it",
                              [wanted, stations](const Book &book, const Options &options, Answer &answer) {
                                  if (wanted->at.empty()) {
                                      tell_of(wanted->name, stations, book, options, answer);
                                  } else {
                                      tell_at(wanted->name, stations, wanted->at, book, options, answer);
                                  }
                              });
    verb->add_option(stations ? "NAME" : "DEVICE", wanted->name, "A name, MAC or address, of now or then")->required();
    add_span(*verb, *asked);
    verb->add_option("--at", wanted->at, std::string("Only at this time, ") + kTimeWords)
        ->type_name("TIME")
        ->excludes("--since")
        ->excludes("--until");
}

// --- who roams, bounces, sticks ---

void add_limit(CLI::App &verb, std::size_t &limit) {
    verb.add_option("--limit", limit, "So many at most")->capture_default_str()->check(CLI::Range(1, 1000000));
}

template <class Item>
void keep_first(std::vector<Item> &items, std::size_t most) {
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(std::min(items.size(), most)), items.end());
}

void add_roams(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    struct Wanted {
        std::string station;
        bool top = false;
        std::size_t limit = 100;
    };
    const auto wanted = std::make_shared<Wanted>();
    CLI::App *verb =
        add_verb(parent, question, asked, "roams", "Who roamed, from where to where, heard how well before and after",
                 [wanted](const Book &book, const Options &options, Answer &answer) {
                     if (wanted->top) {
                         auto roamers = book.past().roamers(book.home(), book.span());
                         keep_first(roamers, wanted->limit);
                         put_table(roamers_table(roamers, book.days(), options), book, "roamers", "nobody roamed",
                                   options, answer);
                         return;
                     }
                     std::optional<Number> station;
                     if (!wanted->station.empty()) {
                         const auto found = book.find(wanted->station, true, answer);
                         if (found.empty()) {
                             return;
                         }
                         station = found[0].node;
                     }
                     const auto roams = book.past().roams(book.home(), book.span(), wanted->limit, station);
                     put_table(roams_table(roams, options), book, "roams", "nobody roamed", options, answer);
                 });
    CLI::Option *name = verb->add_option("STATION", wanted->station, "Only of this station");
    verb->add_flag("--top", wanted->top, "Who roamed most, instead of each roam")->excludes(name);
    add_limit(*verb, wanted->limit);
    add_span(*verb, *asked);
}

void add_pingpong(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    const auto limit = std::make_shared<std::size_t>(20);
    CLI::App *verb = add_verb(
        parent, question, asked, "pingpong", "Who roamed and was back within a minute",
        [limit](const Book &book, const Options &options, Answer &answer) {
            auto roamers = book.past().roamers(book.home(), book.span());
            const auto never = [](const history::Roamer &roamer) { return roamer.backs == 0; };
            roamers.erase(std::remove_if(roamers.begin(), roamers.end(), never), roamers.end());
            std::stable_sort(roamers.begin(), roamers.end(),
                             [](const history::Roamer &a, const history::Roamer &b) { return a.backs > b.backs; });
            keep_first(roamers, *limit);
            std::vector<Bouncer> bouncers;
            std::transform(roamers.begin(), roamers.end(), std::back_inserter(bouncers),
                           [&](const history::Roamer &roamer) {
                               return Bouncer{roamer, book.past().last_bounce(roamer.station, book.span())};
                           });
            put_table(bouncers_table(bouncers, book.days(), options), book, "bouncers", "nobody bounced", options,
                      answer);
        });
    add_limit(*verb, *limit);
    add_span(*verb, *asked);
}

void add_sticky(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    struct Wanted {
        Number at_least = history::kSticks;
        std::size_t limit = 20;
    };
    const auto wanted = std::make_shared<Wanted>();
    CLI::App *verb = add_verb(
        parent, question, asked, "sticky", "Who stayed at a device that hears it badly, though another hears well",
        [wanted](const Book &book, const Options &options, Answer &answer) {
            const auto sticky = book.past().sticky(book.home(), book.span(), wanted->at_least, wanted->limit);
            put_table(sticky_table(sticky, options), book, "sticky", "nobody stuck to a device", options, answer);
        });
    verb->add_option_function<std::string>(
            "--for", [wanted](const std::string &text) { wanted->at_least = read_duration(text).value(); },
            "Below -75 dBm for so long at a time, 10m or longer")
        ->type_name("DURATION")
        ->default_str("10m")
        ->check(CLI::Validator(
            [](const std::string &text) {
                const auto seconds = read_duration(text);
                return seconds && *seconds < history::kSticks ? "10m is the shortest time that is kept"
                                                              : check_duration(text);
            },
            ""));
    add_limit(*verb, wanted->limit);
    add_span(*verb, *asked);
}

// --- the whole mesh ---

void add_at(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    const auto time_words = std::make_shared<std::string>();
    CLI::App *verb = parent.add_subcommand("at", "The whole mesh as it was, in any view; status if none is named");
    verb->add_option("TIME", *time_words, std::string("When, ") + kTimeWords)->required();
    verb->require_subcommand(0, 1);
    add_views(*verb, question);
    const Tell tell_it = [&question, time_words](const Book &book, const Options &options, Answer &answer) {
        const Number time = read_moment(*time_words, options);
        const auto moment = book.past().at(book.home(), time);
        if (!moment) {
            answer.say(why_not(book, time, options));
            answer.end_with(kNothingMatched);
        } else if (!question.view && is_json(options.format)) {
            answer.text += print(reader::to_json(*moment), options.format);
        } else {
            (question.view ? question.view : status_view())({*moment}, options, answer);
        }
    };
    ask_book(*verb, question, asked, tell_it);
}

// --- what is known at all ---

void add_gaps(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    CLI::App *verb = add_verb(parent, question, asked, "gaps", "When nothing was recorded, and why",
                              [](const Book &book, const Options &options, Answer &answer) {
                                  put_table(gaps_table(book.past().gaps(book.home(), book.span()), options), book,
                                            "gaps", "there was no gap", options, answer);
                              });
    add_span(*verb, *asked);
}

void add_events(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    const auto limit = std::make_shared<std::size_t>(100);
    CLI::App *verb =
        add_verb(parent, question, asked, "events", "Devices up and down, new parents, firmware, names and addresses",
                 [limit](const Book &book, const Options &options, Answer &answer) {
                     const auto events = book.past().happenings(book.home(), book.span(), *limit);
                     put_table(happenings_table(events, options), book, "events", "nothing happened", options, answer);
                 });
    add_limit(*verb, *limit);
    add_span(*verb, *asked);
}

void add_sources(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    CLI::App *verb = parent.add_subcommand("sources", "What was recorded, and since when");
    set_deed(*verb, question, [&question, asked](Answer &answer) {
        const Table table = homes_table(Past(asked->file).homes(), question.options);
        answer.text += print(table, question.options, {{"schema", reader::kSchema}}, "sources");
        answer.end_with(table.rows.empty() ? int{kNothingMatched} : int{kDone});
    });
}

// --- bundles ---

struct Import {
    std::vector<std::string> bundles;
    std::string as;
};

// One that was read, and what it is called.
struct Bundle {
    std::string file;
    reader::Snapshot moment;
};

std::vector<Bundle> read_bundles(const std::vector<std::string> &files, Answer &answer) {
    std::vector<Bundle> bundles;
    for (const std::string &file : files) {
        reader::Snapshot moment = reader::make_snapshot(open_source(file)->read());
        if (const auto *problem = moment.problem_with(reader::Missing::Part::kModel)) {
            answer.say(file + ": " + problem->text());
            answer.end_with(status_of(*problem));
            continue;
        }
        bundles.push_back({file, std::move(moment)});
    }
    std::stable_sort(bundles.begin(), bundles.end(),
                     [](const Bundle &a, const Bundle &b) { return a.moment.time < b.moment.time; });
    return bundles;
}

// Bundles of one gateway are one home, wherever they lie: it goes by the AL MAC of the device that wrote them.
std::string home_of(const reader::Snapshot &moment) {
    for (const reader::Device &device : moment.devices) {
        if (device.is_local) {
            return device.al_mac.text();
        }
    }
    return "imported";
}

void import_bundles(const std::string &file, const Import &wanted, Answer &answer) {
    const std::vector<Bundle> bundles = read_bundles(wanted.bundles, answer);
    history::Recorder recorder(file, {});
    std::size_t count = 0;
    std::set<std::string> homes;
    for (const Bundle &bundle : bundles) {
        const std::string home = wanted.as.empty() ? home_of(bundle.moment) : wanted.as;
        const Number time = history::seconds_of(bundle.moment.time);
        if (recorder.last_of(history::Recorder::name_of(home, bundle.moment)).value_or(time - 1) >= time) {
            answer.say(bundle.file + ": is not later than what is remembered of " + home + "; left out");
            answer.end_with(kNothingMatched);
            continue;
        }
        recorder.take(home, bundle.moment, static_cast<double>(time));
        recorder.commit();
        ++count;
        homes.insert(history::Recorder::name_of(home, bundle.moment));
    }
    std::string of;
    for (const std::string &home : homes) {
        of += (of.empty() ? " of " : ", ") + home;
    }
    answer.say(file + ": " + counted(count, "moment") + " more" + of);
}

void add_import(CLI::App &parent, Question &question, const std::shared_ptr<Asked> &asked) {
    const auto wanted = std::make_shared<Import>();
    CLI::App *verb =
        parent.add_subcommand("import", "Remembers the moments of bundles; the database is made if need be");
    verb->add_option("BUNDLE", wanted->bundles, "Files that `bundle` made")->required();
    verb->add_option("--as", wanted->as, "Name of their source; without, the AL MAC of the device that wrote each");
    set_deed(*verb, question, [&question, asked, wanted](Answer &answer) {
        refuse_format("history import", question.options);
        import_bundles(asked->file, *wanted, answer);
    });
}

}  // namespace

void add_history(CLI::App &app, Question &question) {
    const auto asked = std::make_shared<Asked>();
    CLI::App *verb = app.add_subcommand("history", "What was, from a database that record writes");
    verb->footer(
        "Examples:\n"
        "  qo1905 history --db home.db station phone-anna             where was it, and how well was it heard?\n"
        "  qo1905 history --db home.db link attic --at 03:00          was its link bad at night?\n"
        "  qo1905 history --db home.db at \"yesterday 20:15\" tree      the mesh as it was\n"
        "  qo1905 history --db home.db roams --top --since -7d        who roams most?\n\n"
        "-s chooses one of several sources by the name that record was given; QO1905_DB can name the database.");
    add_database(*verb, asked->file)->required();
    verb->require_subcommand(1);
    verb->fallthrough();
    add_somebody(*verb, question, asked, true);
    add_somebody(*verb, question, asked, false);
    add_roams(*verb, question, asked);
    add_pingpong(*verb, question, asked);
    add_sticky(*verb, question, asked);
    add_at(*verb, question, asked);
    add_gaps(*verb, question, asked);
    add_events(*verb, question, asked);
    add_sources(*verb, question, asked);
    add_import(*verb, question, asked);
}

}  // namespace cli
