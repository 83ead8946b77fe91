// What a server tells of the past: questions of the page and of programs to a database that `record` writes.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "history/past.h"

namespace serve {

// Where the past is kept.
struct Memory {
    std::string file;         // empty: nothing is remembered
    std::string home;         // which of several
    bool is_certain = false;  // else the only one is meant, whatever it is called
};

// Why a question has no answer: a status of HTTP and words.
struct Refusal {
    int status;
    std::string words;
};

// What a question asks for.
struct Question {
    std::string mac;
    bool is_station = true;
    std::optional<history::Number> from, until, at;  // seconds since the epoch
};

// Opens the database for every question, so that it may come, go and be replaced. Any number of threads may ask; all
// throw Refusal.
class Chronicle {
public:
    explicit Chronicle(Memory memory) : memory_(std::move(memory)) {}

    using Json = nlohmann::ordered_json;

    Json span() const;                              // what is recorded: {"source", "first", "last"}
    Json mesh(const Question &question) const;      // a snapshot of `at`
    Json somebody(const Question &question) const;  // sessions and curve of one station or device
    Json counts(const Question &question) const;
    Json gaps(const Question &question) const;
    Json roamers(const Question &question) const;
    Json sticky(const Question &question) const;

private:
    struct Open;
    template <class Answer>
    Json ask(const Question &question, Answer answer) const;

    const Memory memory_;
};

}  // namespace serve
