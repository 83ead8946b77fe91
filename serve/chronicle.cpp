#include "serve/chronicle.h"

#include <algorithm>

#include "history/json_form.h"
#include "reader/json_form.h"

namespace serve {

using history::Number;
using history::Past;
using history::Span;
using Json = Chronicle::Json;

namespace {

constexpr std::size_t kPoints = 600;  // of a curve: as many as a page shows side by side
constexpr std::size_t kMost = 50;     // of a list

template <class Item>
Json list(const std::vector<Item> &items, std::size_t most) {
    Json json = Json::array();
    for (std::size_t i = 0; i < std::min(items.size(), most); ++i) {
        json.push_back(history::to_json(items[i]));
    }
    return json;
}

const history::HomeRow &choose(const std::vector<history::HomeRow> &homes, const Memory &memory) {
    for (const history::HomeRow &home : homes) {
        if (home.name == memory.home || (homes.size() == 1 && !memory.is_certain)) {
            return home;
        }
    }
    throw Refusal{404, homes.empty() ? "nothing was recorded yet" : "nothing was recorded of " + memory.home};
}

// With what stands around every answer.
Json with_heading(const history::HomeRow &home, const Span &span, const Json &answer) {
    Json json = {{"schema", reader::kSchema},
                 {"source", home.name},
                 {"from", history::utc(span.from)},
                 {"until", history::utc(span.until)}};
    json.update(answer);
    return json;
}

// ": the model was not written"; empty where there is no gap.
std::string why_not(const Past &past, const history::HomeRow &home, Number time) {
    for (const history::Gap &gap : past.gaps(home.id, {time, time + 1})) {
        if (gap.part == "model" && gap.until) {
            return ": " + gap.cause;
        }
    }
    return "";
}

// The last day, if nobody says otherwise; never more than was recorded.
Span span_of(const Question &question, const history::HomeRow &home) {
    const Number until = question.until.value_or(home.last + 1);
    const Number from = question.from.value_or(until - history::kDay - 1);
    if (from >= until) {
        throw Refusal{400, "from has to be before until, in seconds since 1970"};
    }
    return {std::max(from, home.first - history::kDay), std::min(until, home.last + history::kDay)};
}

}  // namespace

// One question's view of the database.
struct Chronicle::Open {
    explicit Open(const Memory &memory) : past(memory.file), homes(past.homes()), home(choose(homes, memory)) {}
    const Past past;
    const std::vector<history::HomeRow> homes;
    const history::HomeRow &home;
};

template <class Answer>
Json Chronicle::ask(const Question &question, Answer answer) const {
    if (memory_.file.empty()) {
        throw Refusal{404, "nothing is remembered here: serve --db FILE says where, and record writes it"};
    }
    try {
        const Open open(memory_);
        const Span span = span_of(question, open.home);
        return answer(open.past, open.home, span);
    } catch (const history::Failure &failure) {
        const bool is_missing = failure.kind() == history::Failure::Kind::kMissing;
        throw Refusal{is_missing ? 404 : 503, failure.what()};
    }
}

Json Chronicle::span() const {
    return ask({}, [](const Past &, const history::HomeRow &home, const Span &span) {
        return with_heading(home, span, history::to_json(home));
    });
}

Json Chronicle::mesh(const Question &question) const {
    return ask({}, [&](const Past &past, const history::HomeRow &home, const Span &) {
        if (!question.at) {
            throw Refusal{400, "at is missing: seconds since 1970"};
        }
        const auto moment = past.at(home.id, *question.at);
        if (!moment) {
            throw Refusal{404, "nothing is known of that time" + why_not(past, home, *question.at)};
        }
        return reader::to_json(*moment);
    });
}

Json Chronicle::somebody(const Question &question) const {
    return ask(question, [&](const Past &past, const history::HomeRow &home, const Span &span) {
        const auto mac = reader::Mac::parse(question.mac);
        if (!mac) {
            throw Refusal{400, "mac is missing: of a station, or with kind=device an AL MAC"};
        }
        const auto somebody = past.find(home.id, *mac, question.is_station);
        if (!somebody) {
            throw Refusal{404, "nobody of that MAC was ever there"};
        }
        constexpr std::size_t kMostSessions = 2000;
        auto sessions = past.sessions(somebody->node, span);
        const bool has_more = sessions.size() > kMostSessions;
        if (has_more) {
            sessions.erase(sessions.begin(), sessions.end() - static_cast<std::ptrdiff_t>(kMostSessions));
        }
        Json json = {{"who", history::to_json(*somebody)},
                     {"sessions", list(sessions, kMostSessions)},
                     {"curve", history::to_json(past.curve(home.id, somebody->node, span, kPoints))}};
        if (has_more) {
            json["left_out"] = true;  // earlier sessions
        }
        return with_heading(home, span, json);
    });
}

Json Chronicle::counts(const Question &question) const {
    return ask(question, [](const Past &past, const history::HomeRow &home, const Span &span) {
        return with_heading(home, span, {{"counts", list(past.counts(home.id, span, kPoints), 2 * kPoints)}});
    });
}

Json Chronicle::gaps(const Question &question) const {
    return ask(question, [](const Past &past, const history::HomeRow &home, const Span &span) {
        return with_heading(home, span, {{"gaps", list(past.gaps(home.id, span), kPoints)}});
    });
}

Json Chronicle::roamers(const Question &question) const {
    return ask(question, [](const Past &past, const history::HomeRow &home, const Span &span) {
        return with_heading(home, span, {{"roamers", list(past.roamers(home.id, span), kMost)}});
    });
}

Json Chronicle::sticky(const Question &question) const {
    return ask(question, [](const Past &past, const history::HomeRow &home, const Span &span) {
        return with_heading(home, span, {{"sticky", list(past.sticky(home.id, span, history::kSticks, kMost), kMost)}});
    });
}

}  // namespace serve
