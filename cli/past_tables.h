// What a history answers, as rows; and a curve drawn with letters.
#pragma once

#include <string>
#include <vector>

#include "cli/output.h"
#include "history/past.h"

namespace cli {

Table sessions_table(const std::vector<history::Session> &sessions, const history::Somebody &whose,
                     const Options &options);
Table roams_table(const std::vector<history::Roam> &roams, const Options &options);

// `days`: of the span that was asked about.
Table roamers_table(const std::vector<history::Roamer> &roamers, double days, const Options &options);

// With the places that each bounced between last.
struct Bouncer {
    history::Roamer roamer;
    std::optional<history::Roam> last;
};
Table bouncers_table(const std::vector<Bouncer> &bouncers, double days, const Options &options);

Table sticky_table(const std::vector<history::Sticky> &sticky, const Options &options);
Table gaps_table(const std::vector<history::Gap> &gaps, const Options &options);
Table happenings_table(const std::vector<history::Happening> &happenings, const Options &options);
Table homes_table(const std::vector<history::HomeRow> &homes, const Options &options);

// "phone-anna (02:57:00:00:00:24)"; whoever has no name is their MAC.
std::string who_text(const history::Somebody &somebody, const Options &options);
std::string device_text(const history::Spot &spot, const Options &options);

// A curve of signals over a span, with the times below it and a line that tells which device it was; empty without
// signals.
std::string curve_text(const history::Curve &curve, const std::vector<history::Session> &sessions,
                       const history::Span &span, const Options &options);

}  // namespace cli
