// What a run of the command comes to: what goes to standard output, what is said beside it, and the status.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/output.h"
#include "reader/snapshot.h"
#include "reader/source.h"

namespace cli {

enum Status { kDone = 0, kNothingMatched = 1, kUsage = 2, kNoModel = 3, kUnreadable = 4, kTimeIsUp = 5 };

// What ends the program early, with its status; what is to be said has been said.
struct Stop {
    int status;
};

struct Answer {
    std::string text;                // data
    std::vector<std::string> words;  // a line each
    int status = kDone;

    void say(const std::string &line) { words.push_back(line); }

    // The first thing that is wrong is what the status tells.
    void end_with(int other) { status = status == kDone ? other : status; }
};

// The moment that is asked about, and the one that "what has changed" is about, if there is one.
struct Moment {
    const reader::Snapshot &now;
    const reader::Snapshot *since = nullptr;
};

// What a verb has to say of one moment of a mesh.
using View = std::function<void(const Moment &moment, const Options &options, Answer &answer)>;

// What was asked: one of the two is set by the verb.
struct Question {
    Options options;
    View view;
    std::function<void(Answer &)> deed;  // of a verb that is more than a view
};

// One line to standard error.
void say(const std::string &text);

// Status for why something cannot be had.
int status_of(const reader::Problem &problem);

// A source; says what is wrong and throws Stop.
std::unique_ptr<reader::Source> open_source(const std::string &name);

// One that is followed: what says the same for ever is refused.
std::unique_ptr<reader::Source> open_changing(const std::string &name);

// Says once that a source is gone, and once that it is back.
class Teller {
public:
    // `who`: what goes before it, where several are followed.
    explicit Teller(std::string who = "") : who_(std::move(who)) {}

    void tell(const std::string &problem);

private:
    std::string who_;
    std::string said_;
};

// What cannot be compared: two moments whose names are not from the same table. Says so and throws Stop.
void refuse_other_names(const reader::Snapshot &before, const reader::Snapshot &after);

// What one reading of a source gives, with the status for what is wrong with it. Without a model the dump alone may
// tell a part; throws Stop when there is nothing to show. `max_age`: seconds, 0 for any.
struct Loaded {
    reader::Snapshot snapshot;
    int status = kDone;
};
Loaded load(const std::string &name, double max_age);

// Says when a model is older than `max_age`; the status that follows.
int status_of_age(const std::string &name, double age, double max_age);

// People are told on the side what a picture lacks; programs find it in the JSON.
void tell_missing(const reader::Snapshot &snapshot, const Options &options, Answer &answer);

}  // namespace cli
