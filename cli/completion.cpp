#include "cli/completion.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <memory>

#include "cli/exports.h"
#include "cli/schemas.h"
#include "cli/tables.h"
#include "cli/text.h"

namespace cli {
namespace {

using Words = std::vector<std::string>;

constexpr const char *kFiles = ":files";

// --- the scripts of the shells ---

constexpr const char *kBash = R"(_qo1905() {
    local line words current prefix
    # As typed up to the cursor: bash itself would take MACs apart at their colons.
    read -a words <<<"${COMP_LINE:0:COMP_POINT}"
    case ${COMP_LINE:0:COMP_POINT} in *[[:space:]]) words+=('') ;; esac
    current=${words[-1]}
    # Of a word that bash takes apart it puts only the last part in place.
    prefix=${current%"$2"}
    COMPREPLY=()
    while IFS= read -r line; do
        if [ "$line" = :files ]; then
            compopt -o filenames 2>/dev/null
            while IFS= read -r line; do COMPREPLY+=("$line"); done < <(compgen -f -- "$current")
        else
            printf -v line %q "${line#"$prefix"}"
            COMPREPLY+=("$line")
        fi
    done < <("$1" complete -- "${words[@]:1}" 2>/dev/null)
}
complete -F _qo1905 qo1905
)";

constexpr const char *kZsh = R"(#compdef qo1905
_qo1905() {
    local -a lines
    lines=("${(@f)$("${words[1]}" complete -- "${(@Q)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ ${lines[1]} == :files ]]; then
        shift lines
        _files
    fi
    compadd -- ${lines:#}
}
if [[ ${funcstack[1]} == _qo1905 ]]; then
    _qo1905 "$@"
else
    compdef _qo1905 qo1905
fi
)";

constexpr const char *kFish = R"(function __qo1905_complete
    set -l words (commandline -opc)
    for line in ($words[1] complete -- $words[2..-1] (string unescape -- (commandline -ct)) 2>/dev/null)
        if test "$line" = :files
            __fish_complete_path (commandline -ct)
        else
            echo -- $line
        end
    end
end
complete -c qo1905 -f -a '(__qo1905_complete)'
)";

constexpr struct {
    const char *name;
    const char *script;
} kShells[] = {{"bash", kBash}, {"zsh", kZsh}, {"fish", kFish}};

// --- what may stand where ---

enum class Kind { kNothing, kSource, kFile, kDevice, kAnybody, kWish, kSchema, kFormat, kBand, kSeries, kShell };

struct Place {
    const char *name;  // of an option, or of a verb for what stands behind it
    Kind kind;
};

constexpr std::array<Place, 16> kPlaces = {{{"-s", Kind::kSource},
                                            {"--source", Kind::kSource},
                                            {"--since", Kind::kSource},
                                            {"diff", Kind::kSource},
                                            {"bundle", Kind::kFile},
                                            {"--table", Kind::kFile},
                                            {"--device", Kind::kDevice},
                                            {"show", Kind::kAnybody},
                                            {"path", Kind::kAnybody},
                                            {"--for", Kind::kWish},
                                            {"schema", Kind::kSchema},
                                            {"-o", Kind::kFormat},
                                            {"--output", Kind::kFormat},
                                            {"--band", Kind::kBand},
                                            {"--stations", Kind::kSeries},
                                            {"completion", Kind::kShell}}};

Kind kind_of(const std::string &name) {
    for (const Place &place : kPlaces) {
        if (name == place.name) {
            return place.kind;
        }
    }
    return Kind::kNothing;
}

// Where the names come from; nothing is said when there are none.
reader::Snapshot look(const Words &words) {
    std::string name = reader::kOwnRoot;
    for (std::size_t i = 0; i + 2 < words.size(); ++i) {
        name = words[i] == "-s" || words[i] == "--source" ? words[i + 1] : name;
    }
    constexpr const char *kInOne = "--source=";
    for (const std::string &word : words) {
        name = word.rfind(kInOne, 0) == 0 ? word.substr(std::strlen(kInOne)) : name;
    }
    auto source = reader::open_source(name == "-" ? reader::kOwnRoot : name);
    auto *opened = std::get_if<std::unique_ptr<reader::Source>>(&source);
    return opened != nullptr ? reader::make_snapshot((*opened)->read()) : reader::Snapshot();
}

// A name that is not just text would have to be typed by its MAC anyway.
std::string typed(const std::optional<std::string> &name, reader::Mac mac) {
    return name && !name->empty() && visible(*name) == *name ? *name : mac.text();
}

Words devices(const Words &words) {
    Words names;
    for (const reader::Device &device : look(words).devices) {
        names.push_back(typed(device.name, device.al_mac));
    }
    return names;
}

Words everybody(const Words &words) {
    Words names;
    const reader::Snapshot snapshot = look(words);
    for (const reader::Device &device : snapshot.devices) {
        names.push_back(typed(device.name, device.al_mac));
    }
    for (const reader::Station &station : snapshot.stations) {
        names.push_back(typed(station.name, station.mac));
    }
    return names;
}

Words with_prefix(const char *prefix, Words words) {
    for (std::string &word : words) {
        word.insert(0, prefix);
    }
    return words;
}

Words sources() {
    Words names = with_prefix("lab:", reader::lab_devices());
    names.insert(names.begin(), {kFiles, "http://"});
    return names;
}

Words wishes(const Words &words) {
    Words names = with_prefix("device=", devices(words));
    for (const std::string &name : with_prefix("station=", everybody(words))) {
        names.push_back(name);
    }
    // Behind a station the device that it may be at.
    const std::size_t at = words.back().find('@');
    if (at != std::string::npos) {
        names = with_prefix(words.back().substr(0, at + 1).c_str(), devices(words));
    }
    names.emplace_back("devices=");
    return names;
}

Words values(Kind kind, const Words &words) {
    switch (kind) {
        case Kind::kSource:
            return sources();
        case Kind::kFile:
            return {kFiles};
        case Kind::kDevice:
            return devices(words);
        case Kind::kAnybody:
            return everybody(words);
        case Kind::kWish:
            return wishes(words);
        case Kind::kSchema: {
            Words names;
            for (const Schema &schema : kSchemas) {
                names.emplace_back(schema.name);
            }
            return names;
        }
        case Kind::kFormat:
            return names_in(kFormats);
        case Kind::kBand:
            return kBandWords;
        case Kind::kSeries:
            return names_in(kSeries);
        case Kind::kShell:
            return names_in(kShells);
        case Kind::kNothing:
            break;
    }
    return {};
}

// --- where in the command the last word stands ---

const CLI::App *verb_in(const CLI::App &app, const std::string &word) {
    for (const CLI::App *verb : app.get_subcommands([](const CLI::App *) { return true; })) {
        if (verb->check_name(word)) {
            return verb;
        }
    }
    return nullptr;
}

// Of the verb or one before it, as they fall through.
const CLI::Option *option_in(const CLI::App *app, const std::string &word) {
    for (; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option *option : app->get_options()) {
            if (word.size() > 1 && word[0] == '-' && option->check_name(word)) {
                return option;
            }
        }
    }
    return nullptr;
}

struct Position {
    const CLI::App *verb;
    const CLI::Option *open;  // an option that waits for its value
    std::string option;       // as it was typed
};

Position position(const CLI::App &app, const Words &words) {
    Position at{&app, nullptr, ""};
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (at.open != nullptr) {
            at.open = nullptr;
            continue;
        }
        const CLI::Option *option = option_in(at.verb, words[i]);
        const CLI::App *verb = option == nullptr ? verb_in(*at.verb, words[i]) : nullptr;
        at.verb = verb != nullptr ? verb : at.verb;
        if (option != nullptr && option->get_items_expected_max() > 0) {
            at.open = option;
            at.option = words[i];
        }
    }
    return at;
}

Words options_of(const CLI::App *app) {
    Words names;
    for (; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option *option : app->get_options()) {
            for (const std::string &name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

Words verbs_of(const CLI::App &app) {
    Words names;
    for (const CLI::App *verb : app.get_subcommands([](const CLI::App *) { return true; })) {
        if (!verb->get_group().empty()) {
            names.push_back(verb->get_name());
        }
    }
    return names;
}

Words candidates(const CLI::App &app, const Words &words) {
    const Position at = position(app, words);
    if (at.open != nullptr) {
        // The same word may be a flag of one verb and an option of another.
        return values(kind_of(at.option), words);
    }
    if (!words.back().empty() && words.back()[0] == '-') {
        return options_of(at.verb);
    }
    const Words verbs = verbs_of(*at.verb);
    return verbs.empty() ? values(kind_of(at.verb->get_name()), words) : verbs;
}

}  // namespace

Words completions(const CLI::App &app, const Words &words) {
    const Words nothing = {""};
    const Words &typed_words = words.empty() ? nothing : words;
    // An option with its value in one word is as two.
    const std::size_t equals = typed_words.back().find('=');
    if (typed_words.back().compare(0, 2, "--") == 0 && equals != std::string::npos) {
        Words two = typed_words;
        two.push_back(two.back().substr(equals + 1));
        two[two.size() - 2].resize(equals);
        return with_prefix((two[two.size() - 2] + '=').c_str(), completions(app, two));
    }
    Words fitting;
    for (const std::string &candidate : candidates(app, typed_words)) {
        const bool fits = candidate.compare(0, typed_words.back().size(), typed_words.back()) == 0;
        if (candidate == kFiles || fits) {
            fitting.push_back(candidate);
        }
    }
    return fitting;
}

void add_completion(CLI::App &app, Question &question) {
    const auto shell = std::make_shared<std::string>();
    CLI::App *verb = app.add_subcommand("completion", "A script that completes words, for bash, zsh or fish");
    verb->add_option("SHELL", *shell, "As in: source <(qo1905 completion bash)")
        ->required()
        ->check(CLI::IsMember(names_in(kShells)));
    verb->callback([&question, shell] {
        question.deed = [&question, shell](Answer &answer) {
            refuse_format("completion", question.options);
            answer.text = row_of(kShells, *shell).script;
        };
    });
}

}  // namespace cli
