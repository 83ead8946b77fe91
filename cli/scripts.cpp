#include "cli/scripts.h"

#include <chrono>
#include <memory>

#include "cli/check.h"
#include "cli/happenings.h"
#include "cli/ranges.h"
#include "cli/schemas.h"
#include "cli/text.h"
#include "cli/wait.h"
#include "reader/json_form.h"
#include "reader/model_paths.h"

namespace cli {

using reader::Snapshot;

namespace {

// --- get ---

// "path => value", as TR-181 tools print them; bare for scripts.
std::string values_text(const Table &table, const Options &options) {
    if (is_for_people(options.format) && options.columns.empty()) {
        std::string text;
        for (const auto &row : table.rows) {
            text += visible(row[0]) + " => " + visible(row[1]) + '\n';
        }
        return text;
    }
    Options bare = options;
    if (options.format == Format::kValue && options.columns.empty()) {
        bare.columns = {"value"};
    }
    return print(table, bare, {{"schema", reader::kSchema}}, "values");
}

void add_get(CLI::App &app, Question &question) {
    const auto pattern = std::make_shared<std::string>();
    CLI::App *verb = app.add_subcommand("get", "Values of the model by TR-181 path; * is any one part of it");
    verb->add_option("PATH", *pattern, "Such as Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.IEEE1905Device.*.Hostname")
        ->required();
    verb->callback([&question, pattern] {
        question.deed = [&question, pattern](Answer &answer) { get_values(*pattern, question.options, answer); };
    });
}

// --- diff ---

// How many of what; signals alone are not "nothing".
std::string in_short(const std::vector<reader::Event> &events, const std::vector<SignalChange> &signals) {
    const std::string loud = signals.empty() ? "" : counted(signals.size(), "signal") + " changed by 10 dB or more";
    return events.empty() && !loud.empty() ? loud : summary_text(events) + (loud.empty() ? "" : ", " + loud);
}

nlohmann::ordered_json heading(const Snapshot &before, const Snapshot &after,
                               const std::vector<SignalChange> &signals) {
    nlohmann::ordered_json whole = {{"schema", reader::kSchema},
                                    {"before", reader::heading_json(before)},
                                    {"after", reader::heading_json(after)},
                                    {"signals", nlohmann::ordered_json::array()}};
    for (const SignalChange &change : signals) {
        whole["signals"].push_back(to_json(change));
    }
    return whole;
}

void tell_differences(const Snapshot &before, const Snapshot &after, const Options &options, Answer &answer) {
    const auto events = reader::events(before, after);
    const auto signals = signal_changes(before, after);
    if (is_json(options.format) || !events.empty()) {
        answer.text += print_events(after, events, options, heading(before, after, signals));
    }
    if (!options.format_is_chosen) {
        for (const SignalChange &change : signals) {
            answer.text += signal_text(change, options) + '\n';
        }
    }
    if (is_for_people(options.format)) {
        answer.say(in_short(events, signals));
    }
}

void compare(const std::string &before_name, const std::string &after_name, const Options &options, Answer &answer) {
    const Loaded before = load(before_name, 0);
    const Loaded after = load(after_name, options.max_age);
    refuse_other_names(before.snapshot, after.snapshot);
    answer.end_with(std::max(before.status, after.status));
    if (!before.snapshot.knows_local_stations || !after.snapshot.knows_local_stations) {
        answer.say(
            "stations of the device that wrote the model are not compared: they stand in dump.txt, which is not there "
            "for both");
    }
    tell_differences(before.snapshot, after.snapshot, options, answer);
}

void add_diff(CLI::App &app, Question &question) {
    struct Sources {
        std::string before, after;
    };
    const auto sources = std::make_shared<Sources>();
    CLI::App *verb = app.add_subcommand("diff", "What happened between two sources");
    verb->footer(
        "Example:\n  qo1905 bundle before.tar.gz    keeps a moment\n  qo1905 diff before.tar.gz      what has happened "
        "since");
    verb->add_option("BEFORE", sources->before, "A source, as --source takes it")->required();
    verb->add_option("AFTER", sources->after, "Another; without, the one of --source");
    verb->callback([&question, sources] {
        question.deed = [&question, sources](Answer &answer) {
            compare(sources->before, sources->after.empty() ? question.options.source : sources->after,
                    question.options, answer);
        };
    });
}

// --- check and wait ---

void add_check(CLI::App &app, Question &question) {
    const auto limits = std::make_shared<Limits>();
    CLI::App *verb = app.add_subcommand(
        "check",
        "For monitoring systems: one line, and a status from 0 to 3; a model is too old after 120 s, or --max-age");
    verb->add_option("--min-devices", limits->min_devices, "Critical below")
        ->capture_default_str()
        ->check(count_range());
    verb->add_option("--max-weak", limits->max_weak, "Warning if more stations are weak")
        ->capture_default_str()
        ->check(count_range());
    verb->add_option("--weak-below", limits->weak_below, "What is weak, in dBm")
        ->capture_default_str()
        ->check(signal_range());
    verb->callback([&question, limits] {
        question.deed = [&question, limits](Answer &answer) {
            refuse_format("check", question.options);
            if (question.options.max_age > 0) {
                limits->max_age = question.options.max_age;
            }
            const Checked checked = check(question.options.source, *limits);
            answer.text = checked.line;
            answer.status = checked.state;
        };
    });
}

void wait_for(const std::string &words, double timeout, const std::string &source, Answer &answer) {
    Wanted wanted;
    const std::string mistake = read_wanted(words, wanted);
    if (!mistake.empty()) {
        answer.say("--for " + words + ": " + mistake);
        answer.status = kUsage;
        return;
    }
    const Waited waited = wait_until(*open_source(source), wanted, timeout);
    if (!waited.is_fulfilled) {
        answer.say("not within the time: " + words + (waited.problem.empty() ? "" : "; " + waited.problem));
        answer.status = kTimeIsUp;
    }
}

void add_wait(CLI::App &app, Question &question) {
    struct Wish {
        std::string words;
        double timeout = 60;
    };
    const auto wish = std::make_shared<Wish>();
    CLI::App *verb = app.add_subcommand("wait", "Until the mesh is as wanted");
    verb->footer("Example:\n  qo1905 wait --for station=tv@attic --timeout 30 && echo there");
    verb->add_option("--for", wish->words,
                     "station=NAME, station=NAME@DEVICE, device=NAME, or devices=N, which is N or more")
        ->required();
    verb->add_option("--timeout", wish->timeout, "Status 5 after so many seconds")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 1e9));
    verb->callback([&question, wish] {
        question.deed = [&question, wish](Answer &answer) {
            refuse_format("wait", question.options);
            wait_for(wish->words, wish->timeout, question.options.source, answer);
        };
    });
}

// --- schema ---

void add_schema(CLI::App &app, Question &question) {
    const auto name = std::make_shared<std::string>();
    std::string names;
    for (const Schema &schema : kSchemas) {
        names += (names.empty() ? "" : ", ") + std::string(schema.name);
    }
    CLI::App *verb = app.add_subcommand("schema", "The JSON Schema of a format");
    verb->add_option("NAME", *name, "One of " + names)->required();
    verb->callback([&question, name, names] {
        question.deed = [&question, name, names](Answer &answer) {
            refuse_format("schema", question.options);
            for (const Schema &schema : kSchemas) {
                answer.text += *name == schema.name ? schema.text : "";
            }
            if (answer.text.empty()) {
                answer.say("there is no schema " + *name + "; there are: " + names);
                answer.status = kUsage;
            }
        };
    });
}

}  // namespace

void get_values(const std::string &pattern, const Options &options, Answer &answer) {
    const reader::Inputs inputs = open_source(options.source)->read();
    if (inputs.model.problem) {
        answer.say(inputs.model.problem->text());
        answer.status = status_of(*inputs.model.problem);
        return;
    }
    Table table;
    table.columns = {{"path", "PATH"}, {"value", "VALUE"}};
    const auto take = [&](const std::string &path, const nlohmann::json &value) {
        if (reader::matches_path(pattern, path)) {
            table.rows.push_back({path, value.is_string() ? value.get<std::string>() : value.dump()});
            table.items.push_back({{"path", path}, {"value", value}});
        }
    };
    std::string reason;
    if (!reader::walk_paths(inputs.model.text, take, reason)) {
        answer.say(inputs.model.file + ": " + reason);
        answer.status = kUnreadable;
        return;
    }
    answer.text += values_text(table, options);
    const std::chrono::duration<double> age = inputs.read_at - inputs.model.time;
    answer.end_with(status_of_age(options.source, age.count(), options.max_age));
    if (table.rows.empty()) {
        answer.say("the model has no " + pattern);
        answer.end_with(kNothingMatched);
    }
}

void add_scripts(CLI::App &app, Question &question) {
    add_get(app, question);
    add_diff(app, question);
    add_check(app, question);
    add_wait(app, question);
    add_schema(app, question);
}

}  // namespace cli
