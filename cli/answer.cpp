#include "cli/answer.h"

#include <iostream>

#include "cli/text.h"

namespace cli {

void say(const std::string &text) { std::cerr << "qo1905: " << visible(text) << '\n'; }

int status_of(const reader::Problem &problem) {
    return problem.kind == reader::Problem::Kind::kMissing ? kNoModel : kUnreadable;
}

std::unique_ptr<reader::Source> open_source(const std::string &name) {
    auto source = reader::open_source(name);
    if (const auto *problem = std::get_if<reader::Problem>(&source)) {
        say(problem->text());
        throw Stop{status_of(*problem)};
    }
    return std::move(std::get<std::unique_ptr<reader::Source>>(source));
}

Loaded load(const std::string &name, double max_age) {
    Loaded loaded{reader::make_snapshot(open_source(name)->read())};
    if (const reader::Problem *problem = loaded.snapshot.problem_with(reader::Missing::Part::kModel)) {
        say(problem->text());
        loaded.status = status_of(*problem);
        if (loaded.snapshot.devices.empty()) {
            throw Stop{loaded.status};
        }
    } else if (max_age > 0 && loaded.snapshot.age() > max_age) {
        say("the model of " + name + " is " + std::to_string(static_cast<long>(loaded.snapshot.age())) +
            " s old, more than --max-age");
        loaded.status = kNoModel;
    }
    return loaded;
}

}  // namespace cli
