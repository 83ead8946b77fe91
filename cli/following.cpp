#include "cli/following.h"

#include <iostream>
#include <memory>

#include "cli/follower.h"
#include "cli/happenings.h"
#include "cli/screen.h"
#include "cli/text.h"
#include "cli/views.h"
#include "reader/json_form.h"

namespace cli {
namespace {

using reader::Problem;
using reader::Snapshot;
using Clock = std::chrono::steady_clock;
using Wake = Follower::Wake;

constexpr auto kForever = std::chrono::hours(24 * 365);
constexpr double kPause = 2;  // seconds between two questions to an address

Clock::time_point after(double seconds) {
    return Clock::now() + (seconds > 0
                               ? std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))
                               : Clock::duration(kForever));
}

std::chrono::milliseconds in_milliseconds(double seconds) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

// A source over time: what it gave last, and whether it is gone just now.
class Sight {
public:
    explicit Sight(reader::Source &source) : source_(source) {}

    // Whether there is something new to see.
    bool look() {
        Snapshot next = reader::make_snapshot(source_.read());
        const Problem *problem = next.problem_with(reader::Missing::Part::kModel);
        problem_ = problem != nullptr ? problem->text() : "";
        if (problem != nullptr || (last_ && last_->time == next.time && last_->missing.size() == next.missing.size())) {
            return false;
        }
        before_ = std::move(last_);
        last_ = std::move(next);
        return true;
    }

    // As it looks now, without another reading.
    void grow_old() {
        if (last_) {
            last_->read_at = std::chrono::system_clock::now();
        }
    }

    const std::optional<Snapshot> &before() const { return before_; }
    const std::optional<Snapshot> &last() const { return last_; }
    const std::string &problem() const { return problem_; }  // empty while all is well

private:
    reader::Source &source_;
    std::optional<Snapshot> before_, last_;
    std::string problem_;
};

// --- events ---

struct Following {
    bool follow = false;
    std::string since;
    double timeout = 0;  // seconds; 0: none
    double every = kPause;
};

void put_now(const std::string &text) {
    if (!text.empty() && !(std::cout << text << std::flush)) {
        throw Stop{kUnreadable};
    }
}

// A line each, as they happen. Columns cannot be made to fit what nobody knows yet: for people these are sentences.
std::string event_lines(const Sight &sight, const Snapshot &before, Options &options, std::size_t &count) {
    const auto events = reader::events(before, *sight.last());
    count += events.size();
    if (events.empty()) {
        return "";
    }
    std::string text;
    if (is_for_people(options.format) && options.columns.empty()) {
        for (const reader::Event &event : events) {
            text += time_text(event.time, options) + "  " + event_text(*sight.last(), event, options) + '\n';
        }
        return text;
    }
    text = print_events(*sight.last(), events, options, {{"schema", reader::kSchema}});
    options.header = false;  // once
    return text;
}

// A stream has an end only in the far: what stands in one array elsewhere is a line each here.
Options stream_options(const Options &options) {
    Options stream = options;
    stream.format = options.format == Format::kJson ? Format::kNdjson : options.format;
    return stream;
}

class Stream {
public:
    Stream(const Following &wanted, const Options &options)
        : wanted_(wanted),
          options_(stream_options(options)),
          source_(open_changing(options.source)),
          follower_(*source_, in_milliseconds(wanted.every)),
          sight_(*source_) {
        if (!wanted.since.empty()) {
            since_ = load(wanted.since, 0).snapshot;
        }
    }

    void run(Answer &answer) {
        const auto end = after(wanted_.timeout);
        while (look()) {
            const Wake wake = follower_.wait(end);
            if (wake == Wake::kEnd) {
                die_of(follower_.signal());
            }
            if (wake == Wake::kPause) {
                pause_here();
            }
            if (wake == Wake::kTimeIsUp) {
                answer.end_with(kTimeIsUp);
                return;
            }
        }
        if (count_ == 0) {
            answer.say("nothing has changed");
        }
    }

private:
    // False when all has been said that was asked for.
    bool look() {
        const bool is_new = sight_.look();
        teller_.tell(sight_.problem());
        const std::optional<Snapshot> &before = sight_.before() ? sight_.before() : since_;
        if (!is_new || !before) {
            return true;
        }
        refuse_other_names(*before, *sight_.last());
        put_now(event_lines(sight_, *before, options_, count_));
        return wanted_.follow;
    }

    const Following &wanted_;
    Options options_;
    std::unique_ptr<reader::Source> source_;
    Follower follower_;
    Sight sight_;
    Teller teller_;
    std::optional<Snapshot> since_;
    std::size_t count_ = 0;
};

void add_events(CLI::App &app, Question &question) {
    const auto wanted = std::make_shared<Following>();
    CLI::App *verb = app.add_subcommand("events", "What happens, a line each, until the model is written next");
    verb->add_flag("-f,--follow", wanted->follow, "Until Ctrl-C");
    verb->add_option("--since", wanted->since, "First what has happened since this source");
    verb->add_option("--timeout", wanted->timeout, "Status 5 after so many seconds")->check(CLI::Range(0.1, 1e9));
    verb->add_option("--every", wanted->every, "Seconds between two questions to an address")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 1e6));
    verb->callback([&question, wanted] {
        question.deed = [&question, wanted](Answer &answer) { Stream(*wanted, question.options).run(answer); };
    });
}

// --- watch ---

std::string heading(const Sight &sight, const Options &options) {
    const std::string age = std::to_string(static_cast<long>(sight.last()->age()));
    return "Ctrl-C ends; " + visible(options.source) + ", written " + time_text(sight.last()->time, options) +
           (sight.problem().empty() ? "" : " (" + age + " s ago; " + visible(sight.problem()) + ")") + "\n\n";
}

std::string picture(const Sight &sight, const Snapshot &first, const View &view, const Options &options) {
    Answer answer;
    view({*sight.last(), &first}, options, answer);
    for (const std::string &line : answer.words) {
        answer.text += visible(line) + '\n';
    }
    return options.has_utf8 ? answer.text : in_ascii(answer.text);
}

// Between two pictures in a pipe.
std::string gap(const Options &options) { return is_json(options.format) ? "" : "\n"; }

void watch(const View &view, double every, const Options &asked) {
    Options options = stream_options(asked);
    const auto source = open_changing(options.source);
    Follower follower(*source, in_milliseconds(every));
    Sight sight(*source);
    Teller teller;
    Screen screen;
    std::optional<Snapshot> first;
    // People see an age grow; for programs there is something new or nothing.
    const double patience = screen.is_terminal() ? 1 : 0;
    for (Wake wake = Wake::kLook; wake != Wake::kEnd; wake = follower.wait(after(patience))) {
        if (wake == Wake::kPause) {
            screen.leave();
            pause_here();
        }
        const bool is_new = wake != Wake::kTimeIsUp && sight.look();
        sight.grow_old();
        if (!first) {
            first = sight.last();
        }
        options.width = screen.is_terminal() ? screen.columns() : 0;
        if (!sight.last()) {
            teller.tell(sight.problem());
        } else if (screen.is_terminal()) {
            screen.draw(heading(sight, options) + picture(sight, *first, view, options));
        } else if (is_new) {
            put_now(picture(sight, *first, view, options) + gap(options));
        }
    }
    screen.leave();
    die_of(follower.signal());
}

void add_watch(CLI::App &app, Question &question) {
    const auto every = std::make_shared<double>(kPause);
    CLI::App *verb =
        app.add_subcommand("watch", "Draws a view again whenever something has changed; status if none is named");
    verb->add_option("--every", *every, "Seconds between two questions to an address")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 1e6));
    verb->require_subcommand(0, 1);
    add_views(*verb, question);
    verb->callback([&question, every] {
        question.deed = [&question, every](Answer &) {
            watch(question.view ? question.view : status_view(), *every, question.options);
        };
    });
}

}  // namespace

void add_following(CLI::App &app, Question &question) {
    add_events(app, question);
    add_watch(app, question);
}

}  // namespace cli
