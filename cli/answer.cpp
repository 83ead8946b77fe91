#include "cli/answer.h"

#include <iostream>

#include "cli/text.h"

namespace cli {

using reader::Missing;
using reader::Problem;
using reader::Snapshot;

void say(const std::string &text) { std::cerr << "qo1905: " << visible(text) << '\n'; }

int status_of(const Problem &problem) { return problem.kind == Problem::Kind::kMissing ? kNoModel : kUnreadable; }

std::unique_ptr<reader::Source> open_source(const std::string &name) {
    auto source = reader::open_source(name);
    if (const auto *problem = std::get_if<Problem>(&source)) {
        say(problem->text());
        throw Stop{status_of(*problem)};
    }
    return std::move(std::get<std::unique_ptr<reader::Source>>(source));
}

std::unique_ptr<reader::Source> open_changing(const std::string &name) {
    auto source = open_source(name);
    if (!source->can_change()) {
        say(name + ": is of one moment, and will not change; diff compares two, history import remembers several");
        throw Stop{kUsage};
    }
    return source;
}

void Teller::tell(const std::string &problem) {
    if (problem.empty() != said_.empty()) {
        say(who_ + (problem.empty() ? "it is there again" : problem + "; waiting for it"));
    }
    said_ = problem;
}

void refuse_other_names(const Snapshot &before, const Snapshot &after) {
    if (before.anonymous != after.anonymous) {
        say("the two have other names for the same: they were made anonymous by different tables, or one of them was "
            "not (bundle --anonymise --table FILE)");
        throw Stop{kUsage};
    }
}

int status_of_age(const std::string &name, double age, double max_age) {
    if (max_age <= 0 || age <= max_age) {
        return kDone;
    }
    say("the model of " + name + " is " + std::to_string(static_cast<long>(age)) + " s old, more than --max-age");
    return kNoModel;
}

Loaded load(const std::string &name, double max_age) {
    Loaded loaded{reader::make_snapshot(open_source(name)->read())};
    if (const Problem *problem = loaded.snapshot.problem_with(Missing::Part::kModel)) {
        say(problem->text());
        loaded.status = status_of(*problem);
        if (loaded.snapshot.devices.empty()) {
            throw Stop{loaded.status};
        }
    } else {
        loaded.status = status_of_age(name, loaded.snapshot.age(), max_age);
    }
    return loaded;
}

void tell_missing(const Snapshot &snapshot, const Options &options, Answer &answer) {
    if (!is_for_people(options.format)) {
        return;
    }
    const Problem *dump = snapshot.problem_with(Missing::Part::kDump);
    if (!snapshot.knows_local_stations) {
        answer.say((dump != nullptr ? dump->text() + "; without it" : std::string("dump.txt has no entry for it:")) +
                   " the stations of the device that wrote the model are missing");
    }
    if (const Problem *problem = snapshot.problem_with(Missing::Part::kLeases)) {
        answer.say(problem->text() + "; without it names and addresses of stations are missing");
    }
}

}  // namespace cli
