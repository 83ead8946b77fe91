#include "cli/exports.h"

#include <memory>

#include "cli/ranges.h"
#include "cli/scripts.h"
#include "reader/json_form.h"
#include "serve/saved_page.h"

namespace cli {
namespace {

CLI::App *add_format(CLI::App &parent, Question &question, const char *name, const char *help, const View &view) {
    CLI::App *format = parent.add_subcommand(name, help);
    format->callback([&question, name, view] {
        question.view = [name, view](const Moment &moment, const Options &options, Answer &answer) {
            refuse_format(name, options);
            view(moment, options, answer);
            tell_missing(moment.now, options, answer);
        };
    });
    return format;
}

void add_prometheus(CLI::App &parent, Question &question) {
    const auto wanted = std::make_shared<PrometheusOptions>();
    CLI::App *format = add_format(parent, question, "prometheus", "Metrics in Prometheus' text format",
                                  [wanted](const Moment &moment, const Options &, Answer &answer) {
                                      answer.text += prometheus_text(moment.now, *wanted);
                                  });
    format
        ->add_option_function<std::string>(
            "--stations", [wanted](const std::string &word) { wanted->stations = row_of(kSeries, word).series; },
            "Series for each station: off, known (no nameless one with a random MAC) or all")
        ->check(CLI::IsMember(names_in(kSeries)))
        ->default_str("off");
    format->add_option("--max-stations", wanted->max_stations, "Not for more than so many; the rest is counted")
        ->capture_default_str();
    format->add_option("--weak-below", wanted->weak_below, "What is weak, in dBm")
        ->capture_default_str()
        ->check(signal_range());
}

void add_graphs(CLI::App &parent, Question &question) {
    const auto with_stations = std::make_shared<bool>(false);
    add_format(parent, question, "dot", "A graph for graphviz",
               [with_stations](const Moment &moment, const Options &options, Answer &answer) {
                   answer.text += dot_text(moment.now, options, *with_stations);
               })
        ->add_flag("--stations", *with_stations, "With their stations");
    add_format(parent, question, "netjson", "A NetJSON NetworkGraph",
               [with_stations](const Moment &moment, const Options &, Answer &answer) {
                   answer.text += print(netjson(moment.now, *with_stations), Format::kJson);
               })
        ->add_flag("--stations", *with_stations, "With their stations");
}

void add_page(CLI::App &parent, Question &question) {
    const auto folder = std::make_shared<std::string>(serve::page_folder());
    add_format(parent, question, "html", "The page with this moment in it: one file, for a browser without a server",
               [folder](const Moment &moment, const Options &, Answer &answer) {
                   const auto text = serve::saved_page(serve::Page(*folder), reader::to_json(moment.now));
                   if (!text) {
                       answer.say("the page is not there (" + *folder + "); --page FOLDER tells where it is");
                       answer.status = kUnreadable;
                       return;
                   }
                   answer.text += *text;
               })
        ->add_option("--page", *folder, "Folder of the page, if it is not where it was installed");
}

}  // namespace

void add_exports(CLI::App &app, Question &question) {
    CLI::App *verb = app.add_subcommand("export", "The mesh in the formats of others");
    verb->require_subcommand(1);
    verb->add_subcommand("tr181", "Every value of the model: path => value")->callback([&question] {
        question.deed = [&question](Answer &answer) { get_values("Device.", question.options, answer); };
    });
    add_prometheus(*verb, question);
    add_graphs(*verb, question);
    add_page(*verb, question);
}

}  // namespace cli
