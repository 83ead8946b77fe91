#include "cli/program.h"

#include <langinfo.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "cli/bundling.h"
#include "cli/check.h"
#include "cli/completion.h"
#include "cli/exports.h"
#include "cli/following.h"
#include "cli/recording.h"
#include "cli/remembering.h"
#include "cli/screen.h"
#include "cli/scripts.h"
#include "cli/serving.h"
#include "cli/text.h"
#include "cli/views.h"

namespace cli {
namespace {

std::string environment(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// Bars and colours are for eyes, and for terminals that can show them.
void look_at_terminal(Options &options) {
    const bool is_terminal = Screen().is_terminal();
    options.has_utf8 = std::string(nl_langinfo(CODESET)) == "UTF-8";
    options.bars = is_terminal && options.has_utf8;
    options.colour = is_terminal && environment("NO_COLOR").empty();
    options.width = is_terminal ? Screen().columns() : 0;
}

constexpr const char *kExamples = R"(
Examples:
  qo1905 status                            is my mesh all right?
  qo1905 path tv                           how does the television reach the gateway?
  qo1905 stations --weak                   who is heard badly?
  qo1905 -s http://192.168.1.1:8905/ tree  of another gateway
  qo1905 bundle --anonymise ticket.tar.gz  everything, for a ticket
  qo1905 -s ticket.tar.gz status           and what it says

Ends with 0: done, 1: nothing matched, 2: wrong words, 3: no model or too old a one, 4: it cannot be read, 5: the time is
up; check with 0: OK, 1: warning, 2: critical, 3: unknown.)";

}  // namespace

Program::Program() : app_("Answers questions about an EasyMesh network from what its gateway writes.", "qo1905") {
    app_.set_version_flag("--version", QO1905_VERSION);
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.footer("Options of qo1905 itself, such as -s and -o, can stand behind the verb, too.");
    question_.options.source = reader::kOwnRoot;
    look_at_terminal(question_.options);
    add_options();
    add_views(app_, question_);
    add_following(app_, question_);
    add_scripts(app_, question_);
    add_exports(app_, question_);
    add_bundling(app_, question_);
    add_serving(app_, question_);
    add_recording(app_, question_);
    add_history(app_, question_);
    add_completion(app_, question_);
    app_.footer(kExamples);  // of the whole alone: verbs take over what stands here before them
}

void Program::add_options() {
    Options &options = question_.options;
    app_.add_option("-s,--source", options.source,
                    "Folder like a device's root, model file, bundle, - , http://HOST:PORT/ or lab:DEVICE")
        ->type_name("SOURCE")
        ->take_last()
        ->each([&options](const std::string &) { options.source_is_chosen = true; })
        ->default_str("this machine");
    const auto choose = [&options](const std::string &name) {
        options.format = row_of(kFormats, name).format;
        options.format_is_chosen = true;
    };
    app_.add_option_function<std::string>("-o,--output", choose, "What the answer looks like")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(names_in(kFormats)));
    app_.add_option("--columns", options.columns, "Which columns, by their names in tsv")
        ->type_name("NAME,...")
        ->delimiter(',');
    app_.add_flag_callback(
        "--no-header", [&options] { options.header = false; }, "No line with the names of the columns");
    app_.add_flag_callback(
        "--mac", [&options] { options.names = false; }, "MACs instead of names");
    app_.add_flag("--utc", options.in_utc, "Times in UTC, for people too; scripts get them so anyway");
    app_.add_option("--max-age", options.max_age, "Status 3 if the model is older than so many seconds")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 1e9));
}

namespace {

// The words that have no place, as they were typed.
void tell_extras(const std::vector<std::string> &extras) {
    std::string words;
    std::string source;
    for (const std::string &word : extras) {
        words += ' ' + word;
        source = access(word.c_str(), F_OK) == 0 ? word : source;
    }
    say("not expected here:" + words + (source.empty() ? "" : "; a source is named by -s " + source));
}

}  // namespace

// A monitoring system would take 2 for a broken mesh.
int Program::status_of_wrong_words() const { return app_.got_subcommand("check") ? kStateUnknown : int{kUsage}; }

int Program::parse(int argc, const char *const *argv) {
    try {
        app_.parse(argc, argv);
    } catch (const CLI::RequiredError &error) {
        const std::vector<std::string> extras = app_.remaining();
        if (std::string(error.what()).find("subcommand") == std::string::npos) {
            say(std::string(error.what()) + "; --help tells more");
            return status_of_wrong_words();
        }
        say(extras.empty() ? std::string("a verb is missing; --help lists them")
                           : "there is no verb " + extras[0] + " here; --help lists them");
        return status_of_wrong_words();
    } catch (const CLI::ExtrasError &) {
        tell_extras(app_.remaining(true));
        return status_of_wrong_words();
    }
    return kDone;
}

void Program::answer(Answer &answer) {
    if (question_.deed) {
        question_.deed(answer);
    } else if (question_.view) {
        const Loaded loaded = load(question_.options.source, question_.options.max_age);
        answer.end_with(loaded.status);
        question_.view({loaded.snapshot}, question_.options, answer);
    }
}

// The shells' own question is not for the parser: their words are not whole yet.
bool Program::complete(int argc, const char *const *argv) const {
    if (argc < 2 || std::string(argv[1]) != "complete") {
        return false;
    }
    std::vector<std::string> words(argv + 2, argv + argc);
    if (!words.empty() && words[0] == "--") {
        words.erase(words.begin());
    }
    for (const std::string &line : completions(app_, words)) {
        std::cout << line << '\n';
    }
    return true;
}

int Program::run(int argc, const char *const *argv) {
    if (complete(argc, argv)) {
        return kDone;
    }
    Answer whole;
    try {
        whole.status = parse(argc, argv);
        if (whole.status == kDone) {
            answer(whole);
        }
    } catch (const CLI::ParseError &error) {
        return app_.exit(error) == 0 ? int{kDone} : status_of_wrong_words();
    } catch (const Stop &stop) {
        return stop.status;
    }
    const bool draws = is_for_people(question_.options.format) && !question_.options.has_utf8;
    std::cout << (draws ? in_ascii(whole.text) : whole.text);
    for (const std::string &line : whole.words) {
        say(line);
    }
    return whole.status;
}

}  // namespace cli
