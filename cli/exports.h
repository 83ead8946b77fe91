// A moment of a mesh in the formats of others.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "cli/answer.h"
#include "cli/tone.h"

namespace cli {

// Which stations get series of their own: none, those that can be told apart for long (no random MAC), all.
enum class Series { kNone, kKnown, kAll };

struct SeriesName {
    const char *name;  // as people type it
    Series series;
};
inline constexpr SeriesName kSeries[] = {{"off", Series::kNone}, {"known", Series::kKnown}, {"all", Series::kAll}};

struct PrometheusOptions {
    Series stations = Series::kNone;
    std::size_t max_stations = 1000;
    int weak_below = kWeakSignal;
};

// Prometheus' text format: what a moment tells. Counters need more than that, and are not here.
std::string prometheus_text(const reader::Snapshot &snapshot, const PrometheusOptions &options);

// For graphviz: devices and their links, with their stations if wanted.
std::string dot_text(const reader::Snapshot &snapshot, const Options &options, bool with_stations);

// A NetJSON NetworkGraph of the same.
nlohmann::ordered_json netjson(const reader::Snapshot &snapshot, bool with_stations);

// `export` as a subcommand of `app`.
void add_exports(CLI::App &app, Question &question);

}  // namespace cli
