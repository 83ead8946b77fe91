// qo1905: answers questions about a mesh from what its gateway writes.

#include <langinfo.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#include "cli/check.h"
#include "cli/health.h"
#include "cli/mesh.h"
#include "cli/output.h"
#include "cli/pictures.h"
#include "cli/tables.h"
#include "cli/text.h"
#include "cli/wait.h"
#include "reader/json_form.h"
#include "reader/model_paths.h"
#include "reader/source.h"
#include "reader/words.h"

namespace {

using cli::Options;
using reader::Snapshot;

enum Status { kDone = 0, kNothingMatched = 1, kUsage = 2, kNoModel = 3, kUnreadable = 4, kTimeIsUp = 5 };

void say(const std::string &text) { std::cerr << "qo1905: " << cli::visible(text) << '\n'; }

// What ends the program early, with its status.
struct Stop {
    int status;
};

// Bars are for eyes, and for terminals that can draw them.
bool can_draw() {
    const char *terminal = std::getenv("TERM");
    const std::string encoding = nl_langinfo(CODESET);
    return isatty(STDOUT_FILENO) != 0 && terminal != nullptr && std::string(terminal) != "dumb" && encoding == "UTF-8";
}

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

// A snapshot, and the status that the program ends with if nothing else happens.
struct Loaded {
    Snapshot snapshot;
    int status = kDone;
};

// Without a model the dump alone may tell a part; without both there is nothing to show.
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

// People are told on the side what the picture lacks; programs find it in the JSON.
void tell_missing(const Snapshot &snapshot, const Options &options) {
    if (options.format != cli::Format::kTable && options.format != cli::Format::kWide) {
        return;
    }
    const struct {
        reader::Missing::Part part;
        const char *lacks;
    } known[] = {{reader::Missing::Part::kDump, "the stations of the device that wrote the model"},
                 {reader::Missing::Part::kLeases, "names and addresses of stations"}};
    for (const auto &item : known) {
        if (const reader::Problem *problem = snapshot.problem_with(item.part)) {
            say("without " + problem->file + " (" + problem->reason + ") what is missing is: " + item.lacks);
        }
    }
}

// --- verbs ---

class Program {
public:
    Program() : app_("Answers questions about an EasyMesh network from what its gateway writes.", "qo1905") {
        app_.set_version_flag("--version", QO1905_VERSION);
        app_.require_subcommand(1);
        app_.fallthrough();
        add_options();
        add_lists();
        add_texts();
        add_scripts();
    }

    int run(int argc, char **argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::RequiredError &error) {
            const std::vector<std::string> extras = app_.remaining();
            if (extras.empty()) {
                return app_.exit(error) == 0 ? kDone : kUsage;
            }
            say("there is no verb " + extras[0] + "; qo1905 --help lists them");
            return kUsage;
        } catch (const CLI::ParseError &error) {
            return app_.exit(error) == 0 ? kDone : kUsage;
        } catch (const Stop &stop) {
            return stop.status;
        }
        return status_;
    }

private:
    void add_options() {
        app_.add_option("-s,--source", options_.source,
                        "Folder like a device's root, model file, - , http://HOST:PORT/ or lab:DEVICE")
            ->take_last()
            ->default_str("this machine");
        const std::map<std::string, cli::Format> formats = {
            {"table", cli::Format::kTable},   {"wide", cli::Format::kWide}, {"json", cli::Format::kJson},
            {"ndjson", cli::Format::kNdjson}, {"tsv", cli::Format::kTsv},   {"value", cli::Format::kValue}};
        app_.add_option_function<std::string>(
                "-o,--output", [this, formats](const std::string &name) { options_.format = formats.at(name); },
                "table, wide, json, ndjson, tsv or value")
            ->check(CLI::IsMember({"table", "wide", "json", "ndjson", "tsv", "value"}));
        app_.add_option("--columns", options_.columns, "Which columns, by their names in tsv")->delimiter(',');
        app_.add_flag_callback(
            "--no-header", [this] { options_.header = false; }, "No line with the names of the columns");
        app_.add_flag_callback(
            "--mac", [this] { options_.names = false; }, "MACs instead of names");
        app_.add_option("--max-age", options_.max_age, "Status 3 if the model is older than so many seconds")
            ->check(CLI::Range(0.1, 1e9));
    }

    // A verb that answers about one snapshot.
    template <class Answer>
    CLI::App *add(const std::string &name, const std::string &help, Answer answer) {
        CLI::App *verb = app_.add_subcommand(name, help);
        verb->callback([this, answer] {
            const Loaded loaded = load(options_.source, options_.max_age);
            status_ = loaded.status;
            answer(loaded.snapshot);
        });
        return verb;
    }

    void put(const std::string &text) { std::cout << text; }

    void put(const cli::Table &table, const Snapshot &snapshot, const std::string &key) {
        put(cli::print(table, options_, reader::heading_json(snapshot), key));
        tell_missing(snapshot, options_);
        if (table.rows.empty() && status_ == kDone) {
            status_ = kNothingMatched;
        }
    }

    void add_lists() {
        add("devices", "The devices of the mesh, from the gateway outwards",
            [this](const Snapshot &snapshot) { put(cli::devices_table(snapshot, options_), snapshot, "devices"); });
        add("links", "How each device is linked to the one before it",
            [this](const Snapshot &snapshot) { put(cli::links_table(snapshot, options_), snapshot, "links"); });
        CLI::App *stations = add("stations", "Who is connected, where and how well", [this](const Snapshot &snapshot) {
            if (!filter_.device.empty() && cli::find(snapshot, filter_.device).devices.empty()) {
                say("there is no device " + filter_.device);
            }
            put(cli::stations_table(snapshot, filter_, options_), snapshot, "stations");
        });
        stations->add_option("--device", filter_.device, "Only at this device: name, MAC or address");
        stations->add_option("--band", filter_.band, "Only on this: 2.4, 5 or wired")
            ->check(CLI::IsMember({"2.4", "5", "wired"}));
        stations->add_option("--name", filter_.name, "Only those with this in their names");
        stations->add_flag("--weak", filter_.weak, "Only those with a weak signal");
        stations->add_option("--weak-below", filter_.weak_below, "What is weak, in dBm")->capture_default_str();
    }

    void add_texts() {
        CLI::App *status = add("status", "One screen: is the mesh all right?", [this](const Snapshot &snapshot) {
            refuse_rows("status");
            const cli::Health health = cli::health_of(snapshot, filter_.weak_below);
            put(cli::is_json(options_.format) ? cli::print(cli::to_json(snapshot, health), options_.format)
                                              : cli::status_text(snapshot, health, options_));
        });
        status->add_option("--weak-below", filter_.weak_below, "What is weak, in dBm")->capture_default_str();
        CLI::App *tree = add("tree", "The devices as a tree", [this](const Snapshot &snapshot) {
            refuse_rows("tree");
            put(cli::is_json(options_.format) ? cli::print(reader::to_json(snapshot), options_.format)
                                              : cli::tree_text(snapshot, options_, with_stations_, can_draw()));
            tell_missing(snapshot, options_);
        });
        tree->add_flag("--stations", with_stations_, "With their stations");
        CLI::App *show = add("show", "All that is known of a device or a station", [this](const Snapshot &snapshot) {
            refuse_rows("show");
            show_one(snapshot);
        });
        show->add_option("WHO", who_, "A name, MAC or address")->required();
        CLI::App *path =
            add("path", "The way from a station to the gateway, hop by hop", [this](const Snapshot &snapshot) {
                refuse_rows("path");
                show_path(snapshot);
            });
        path->add_option("STATION", who_, "A name, MAC or address")->required();
    }

    // A picture has no rows.
    void refuse_rows(const std::string &verb) const {
        const bool rows = options_.format == cli::Format::kTsv || options_.format == cli::Format::kValue;
        if (rows || !options_.columns.empty()) {
            throw CLI::ValidationError(verb, "has no rows and columns; table and json are its outputs");
        }
    }

    void nothing_matches() {
        say("nothing here goes by " + who_);
        status_ = status_ == kDone ? kNothingMatched : status_;
    }

    void show_one(const Snapshot &snapshot) {
        const cli::Found found = cli::find(snapshot, who_);
        if (found.devices.empty() && found.stations.empty()) {
            nothing_matches();
        } else if (cli::is_json(options_.format)) {
            nlohmann::ordered_json whole = reader::heading_json(snapshot);
            whole["devices"] = nlohmann::ordered_json::array();
            whole["stations"] = nlohmann::ordered_json::array();
            for (const reader::Device *device : found.devices) {
                whole["devices"].push_back(reader::to_json(*device));
            }
            for (const reader::Station *station : found.stations) {
                whole["stations"].push_back(reader::to_json(*station));
            }
            put(cli::print(whole, options_.format));
        } else {
            put(cli::show_text(snapshot, found, options_));
        }
    }

    static nlohmann::ordered_json way_json(const Snapshot &snapshot, reader::Mac al_mac) {
        nlohmann::ordered_json whole = reader::heading_json(snapshot);
        whole["hops"] = nlohmann::ordered_json::array();
        for (const reader::Device *device : cli::way_of(snapshot, al_mac)) {
            whole["hops"].push_back(reader::to_json(*device));
        }
        return whole;
    }

    void show_path(const Snapshot &snapshot) {
        const cli::Found found = cli::find(snapshot, who_);
        if (found.stations.empty() && found.devices.empty()) {
            nothing_matches();
            return;
        }
        for (const reader::Device *device :
             found.stations.empty() ? found.devices : std::vector<const reader::Device *>()) {
            put(cli::is_json(options_.format) ? cli::print(way_json(snapshot, device->al_mac), options_.format)
                                              : cli::path_text(snapshot, *device, options_, can_draw()));
        }
        for (const reader::Station *station : found.stations) {
            if (cli::is_json(options_.format)) {
                nlohmann::ordered_json whole = way_json(snapshot, station->device);
                whole["station"] = reader::to_json(*station);
                put(cli::print(whole, options_.format));
            } else {
                put(cli::path_text(snapshot, *station, options_, can_draw()));
            }
        }
    }

    void add_scripts() {
        CLI::App *get = app_.add_subcommand("get", "Values of the model by TR-181 path; * is any one part of it");
        get->add_option("PATH", who_, "Such as Device.X_0A3C5E_IEEE1905.AL.NetworkTopology.IEEE1905Device.*.Hostname")
            ->required();
        get->callback([this] { get_values(); });

        CLI::App *diff = app_.add_subcommand("diff", "What happened between two sources");
        diff->add_option("BEFORE", before_, "A source, as --source takes it")->required();
        diff->add_option("AFTER", after_, "Another; without, the one of --source");
        diff->callback([this] { compare(); });

        CLI::App *check = app_.add_subcommand("check", "For monitoring systems: one line, and a status from 0 to 3");
        check->add_option("--max-age", limits_.max_age, "Critical if the model is older than so many seconds")
            ->capture_default_str();
        check->add_option("--min-devices", limits_.min_devices, "Critical below")->capture_default_str();
        check->add_option("--max-weak", limits_.max_weak, "Warning if more stations are weak")->capture_default_str();
        check->add_option("--weak-below", limits_.weak_below, "What is weak, in dBm")->capture_default_str();
        check->callback([this] { status_ = cli::check(options_.source, limits_, std::cout); });

        CLI::App *wait = app_.add_subcommand("wait", "Until the mesh is as wanted");
        wait->add_option("--for", wanted_, "station=NAME, station=NAME@DEVICE, device=NAME or devices=N")->required();
        wait->add_option("--timeout", timeout_, "Status 5 after so many seconds")
            ->capture_default_str()
            ->check(CLI::Range(0.1, 1e9));
        wait->callback([this] { wait_for(); });
    }

    void get_values() {
        const reader::Inputs inputs = open_source(options_.source)->read();
        if (inputs.model.problem) {
            say(inputs.model.problem->text());
            throw Stop{status_of(*inputs.model.problem)};
        }
        cli::Table table;
        table.columns = {{"path", "PATH"}, {"value", "VALUE"}};
        const auto take = [&](const std::string &path, const nlohmann::json &value) {
            if (reader::matches_path(who_, path)) {
                table.rows.push_back({path, value.is_string() ? value.get<std::string>() : value.dump()});
                table.items.push_back({{"path", path}, {"value", value}});
            }
        };
        std::string reason;
        if (!reader::walk_paths(inputs.model.text, take, reason)) {
            say(inputs.model.file + ": " + reason);
            throw Stop{kUnreadable};
        }
        put_values(table);
        if (table.rows.empty()) {
            say("the model has no " + who_);
            status_ = kNothingMatched;
        }
    }

    // "path => value", as TR-181 tools print them; bare for scripts.
    void put_values(const cli::Table &table) {
        const bool is_for_people = options_.format == cli::Format::kTable || options_.format == cli::Format::kWide;
        if (!is_for_people || !options_.columns.empty()) {
            Options options = options_;
            options.columns = options.format == cli::Format::kValue && options.columns.empty()
                                  ? std::vector<std::string>{"value"}
                                  : options.columns;
            put(cli::print(table, options, {{"schema", reader::kSchema}}, "values"));
            return;
        }
        for (const auto &row : table.rows) {
            put(cli::visible(row[0]) + " => " + cli::visible(row[1]) + '\n');
        }
    }

    void compare() {
        const Loaded before = load(before_, 0);
        const Loaded after = load(after_.empty() ? options_.source : after_, 0);
        status_ = std::max(before.status, after.status);
        const auto events = reader::events(before.snapshot, after.snapshot);
        const cli::Table table = cli::events_table(after.snapshot, events, options_);
        if (!before.snapshot.knows_local_stations || !after.snapshot.knows_local_stations) {
            say("stations of the device that wrote the model are not compared: they stand in dump.txt, which is not "
                "there for both");
        }
        if (events.empty() && !cli::is_json(options_.format)) {
            say("nothing has changed");
        } else {
            put(cli::print(table, options_,
                           {{"schema", reader::kSchema},
                            {"before", reader::heading_json(before.snapshot)},
                            {"after", reader::heading_json(after.snapshot)}},
                           "events"));
        }
    }

    void wait_for() {
        cli::Wanted wanted;
        const std::string mistake = cli::read_wanted(wanted_, wanted);
        if (!mistake.empty()) {
            say("--for " + wanted_ + ": " + mistake);
            throw Stop{kUsage};
        }
        const auto source = open_source(options_.source);
        status_ = cli::wait_until(*source, wanted, timeout_) ? kDone : kTimeIsUp;
        if (status_ != kDone) {
            say("not within the time: " + wanted_);
        }
    }

    CLI::App app_;
    Options options_ = [] {
        Options options;
        options.source = reader::kOwnRoot;
        return options;
    }();
    cli::StationFilter filter_;
    cli::Limits limits_;
    std::string who_, before_, after_, wanted_;
    double timeout_ = 60;
    bool with_stations_ = false;
    int status_ = kDone;
};

}  // namespace

int main(int argc, char **argv) {
    try {
        (void)std::setlocale(LC_CTYPE, "");
        (void)std::signal(SIGPIPE, SIG_DFL);
        const int status = Program().run(argc, argv);
        if (std::cout.flush()) {
            return status;
        }
        (void)std::fputs("qo1905: standard output cannot be written\n", stderr);
    } catch (const std::exception &error) {
        (void)std::fprintf(stderr, "qo1905: %s\n", error.what());
    }
    return kUnreadable;
}
