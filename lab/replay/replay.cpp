#include "lab/replay/replay.h"

#include <deque>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <unordered_set>

#include "lab/common/error.h"
#include "lab/common/input.h"
#include "lab/common/json.h"
#include "lab/common/text.h"
#include "lab/host/device.h"
#include "lab/replay/child.h"
#include "lab/replay/dump_file.h"
#include "lab/replay/field_device.h"
#include "lab/replay/replay_folder.h"
#include "reader/json.h"
#include "reader/lists.h"
#include "reader/model_file.h"

namespace lab {
namespace {

namespace fs = std::filesystem;

constexpr int kNoModel = 1;
constexpr int kSignalled = 128;
constexpr int kTraces = 7;
constexpr std::size_t kMaxOddities = 10;
constexpr std::size_t kLastWords = 5;
constexpr const char *kModel = "/tmp/qo1905.json";

void say(const std::string &text) { std::cout << "== " << text << std::endl; }

void complain(const std::string &text) { std::cerr << "!! " << text << std::endl; }

// --- what goes in ---

struct Input {
    std::string name;  // of the dump, as the user knows it
    std::string bytes;
    DumpFile dump;
    std::string reports;  // JSON, empty for none
    std::string leases;
    std::string device;  // JSON
};

// An array; a single payload is as good. What has no sender is no report, perhaps another file.
std::string read_reports(const std::string &path) {
    const JsonValue file = JsonValue::read_file(path);
    for (const JsonValue &report : file.is_array() ? file.items() : std::vector{file}) {
        (void)report.at("SrcAlMac").text();
    }
    return file.is_array() ? file.dump() : '[' + file.dump() + ']';
}

std::string read_device(const std::string &path) {
    const JsonValue file = JsonValue::read_file(path);
    (void)DeviceDescription::read(file);  // throws at mistakes
    return file.dump();
}

Input read_all(const ReplayOptions &options) {
    Input input;
    input.name = input_name(options.dump);
    input.bytes = read_input(options.dump);
    input.dump = look_at_dump(input.bytes);
    input.reports = options.reports.empty() ? "" : read_reports(options.reports);
    input.leases = options.leases.empty() ? "" : read_input(options.leases);
    input.device = options.device.empty() ? field_device(input.dump).dump(1) + '\n' : read_device(options.device);
    return input;
}

ReplayOptions with_sample(ReplayOptions options, const std::string &project) {
    if (options.dump.empty()) {
        const std::string samples = project + "/lab/samples/";
        options.dump = samples + "home.dump.json";
        options.reports = options.reports.empty() ? samples + "home.reports.json" : options.reports;
        options.leases = options.leases.empty() ? samples + "home.leases" : options.leases;
        options.device = options.device.empty() ? samples + "controller.device.json" : options.device;
    }
    return options;
}

// --- what is said before ---

void tell_unknown(const ReplayOptions &options) {
    const struct {
        const std::string &given;
        const char *what;
    } sources[] = {
        {options.reports, "--reports FILE: firmware versions and names of other devices, PHY rates of stations"},
        {options.leases, "--leases FILE: addresses of other devices"},
        {options.device, "--device FILE: its own firmware version, address and Ethernet links"},
    };
    std::string missing;
    for (const auto &source : sources) {
        missing += source.given.empty() ? std::string("\n     ") + source.what : "";
    }
    if (!missing.empty()) {
        say("a dump does not tell all, and without these there are gaps:" + missing);
    }
}

// What stands beside the dump and says nothing about it.
void tell_useless(const Input &input, const ReplayOptions &options) {
    const reader::Leases leased = reader::parse_leases(input.leases);
    std::unordered_set<reader::Mac, reader::MacHash> senders;
    for (const JsonValue &report : JsonValue::parse(input.reports.empty() ? "[]" : input.reports, "reports").items()) {
        if (const auto sender = reader::Mac::parse(report.at("SrcAlMac").text())) {
            senders.insert(*sender);
        }
    }
    std::size_t reports = 0, leases = 0;
    for (const nlohmann::json &entry : input.dump.entries) {
        if (const auto al_mac = reader::mac_of(entry, "AL MAC")) {
            reports += senders.count(*al_mac);
            leases += leased.count(*al_mac);
        }
    }
    if (!options.reports.empty() && reports == 0) {
        complain(options.reports + ": no report of a device of this dump");
    }
    if (!options.leases.empty() && leases == 0) {
        complain(options.leases + ": no lease of a device of this dump");
    }
}

void tell_input(const Input &input, const ReplayOptions &options) {
    if (!input.dump.obstacle.empty()) {
        return;  // told when there is no model
    }
    const JsonValue device = JsonValue::parse(input.device, options.device);
    say(input.name + ": " + dump_contents(input.dump) + "; replayed on the " +
        (device.text_or("role", "") == "agent" ? "Agent " : "Controller ") + device.text_or("base_mac", ""));
    tell_unknown(options);
    tell_useless(input, options);
    const std::size_t told = std::min(input.dump.oddities.size(), kMaxOddities);
    for (std::size_t i = 0; i < told; ++i) {
        say("odd: " + input.dump.oddities[i]);
    }
    if (input.dump.oddities.size() > told) {
        say("odd: " + std::to_string(input.dump.oddities.size() - told) + " more of this kind");
    }
}

// --- the run ---

void prepare(const Input &input, const ReplayFolder &folder) {
    folder.write("device.json", input.device);
    folder.write("tmp/scratch/device.json", input.device);
    folder.write("tmp/scratch/dump.json", input.bytes);
    folder.write("tmp/scratch/reports.json", input.reports.empty() ? "[]" : input.reports);
    folder.write("tmp/scratch/leases", input.leases);
    folder.write("host.log", "");
}

std::vector<std::string> command_of(const ReplayOptions &options, const Input &input, const std::string &folder,
                                    const std::string &project, const std::string &build) {
    std::vector<std::string> command = {
        project + "/lab/sandbox.sh", "--root", folder, "--programs", project + "/lab/programs", "--programs",
        build + "/programs"};
    if (!input.leases.empty()) {
        command.insert(command.end(), {"--leases", folder + "/tmp/scratch/leases"});
    }
    const unsigned needed = input.reports.empty() ? 1 : 2;
    const unsigned cycles = options.stay ? 0 : options.cycles != 0 ? options.cycles : needed;
    command.insert(command.end(),
                   {"--", project + "/lab/device.sh", build, "--unit", std::to_string(options.unit_seconds), "--cycles",
                    std::to_string(cycles), "--log-level", std::to_string(options.log_level)});
    return command;
}

// What the host says of a cycle, what goes wrong, and with traces all.
bool is_shown(const std::string &line, const ReplayOptions &options) {
    const auto begins = [&line](const char *text) { return line.rfind(text, 0) == 0; };
    return options.log_level >= kTraces || begins("cycle ") || begins("qo1905-host: ") || begins("qo1905-mapd: ") ||
           begins("sandbox.sh: ");
}

struct Run {
    ChildEnd end;
    std::deque<std::string> last_words;
};

Run run_device(const std::vector<std::string> &command, const ReplayOptions &options, const std::string &log_path) {
    std::ofstream log(log_path, std::ios::app);
    Run run = {};
    run.end = run_child(command, [&](const std::string &line) {
        log << line << '\n';
        if (is_shown(line, options)) {
            std::cout << line << std::endl;
        }
        run.last_words.push_back(line);
        if (run.last_words.size() > kLastWords) {
            run.last_words.pop_front();
        }
    });
    if (!log.flush()) {
        throw Error(log_path + ": cannot be written");
    }
    return run;
}

// --- what came of it ---

std::string list_files(const std::string &folder) {
    std::string text;
    for (const char *name :
         {"qo1905.json", "qo1905_log.json", "ecnt_agent_assoc_list.24g", "ecnt_agent_assoc_list.5g"}) {
        if (fs::exists(folder + "/tmp/" + name)) {
            text += (text.empty() ? "" : ", ") + std::string(name);
        }
    }
    return text;
}

void explain(const Input &input, const Run &run) {
    complain(input.name + ": no model was made of it");
    if (!input.dump.obstacle.empty()) {
        complain("it " + input.dump.obstacle);
        return;
    }
    if (!JsonValue::parse(input.device, "device").boolean_or("easymesh", true)) {
        complain("the device description says \"easymesh\": false, and the module then does nothing");
        return;
    }
    complain("nothing wrong is known of it; the last that the module said:");
    for (const std::string &line : run.last_words) {
        complain("| " + line);
    }
}

// A model is made of whatever the module can read; how much of the dump that was is another question.
int judge_model(const Input &input, const std::string &folder) {
    std::string reason;
    const auto model = reader::parse_model(read_input(folder + kModel), reason);
    const std::size_t devices = model ? model->devices.size() + 1 : 0;
    if (!input.dump.obstacle.empty()) {
        complain(input.name + ' ' + input.dump.obstacle);
        complain("the module made a model all the same; which device it was on is not known");
    } else if (input.dump.entries.empty()) {
        complain(input.name + " holds no device: there is nothing in the model but what the module puts there itself");
    } else if (devices < input.dump.entries.size()) {
        complain("the model lacks " + std::to_string(input.dump.entries.size() - devices) + " of the dump's " +
                 plural(static_cast<long>(input.dump.entries.size()), "device"));
    } else {
        return 0;
    }
    return kNoModel;
}

int judge(const Input &input, const Run &run, const std::string &folder) {
    if (run.end.signal == 0 && run.end.status != 0) {
        complain("the host ended with status " + std::to_string(run.end.status) + "; all it said is in " + folder +
                 "/host.log");
        return run.end.status;
    }
    if (!fs::exists(folder + kModel)) {
        explain(input, run);
        return kNoModel;
    }
    const int status = judge_model(input, folder);
    say("in " + folder + "/tmp: " + list_files(folder));
    return run.end.signal == 0 ? status : kSignalled + run.end.signal;
}

}  // namespace

int replay(const ReplayOptions &wishes, const std::string &project, const std::string &build) {
    const ReplayOptions options = with_sample(wishes, project);
    const Input input = read_all(options);
    ReplayFolder folder(options.out);
    prepare(input, folder);
    tell_input(input, options);
    const Run run =
        run_device(command_of(options, input, folder.path(), project, build), options, folder.path() + "/host.log");
    const int status = judge(input, run, folder.path());
    if (options.out.empty() && !fs::exists(folder.path() + kModel) && !input.dump.obstacle.empty()) {
        folder.throw_away();  // there is nothing in it that was not said
    } else {
        say("all that was said: " + folder.path() + "/host.log");
    }
    if (!std::cout.flush()) {
        throw Error("standard output cannot be written");
    }
    return status;
}

}  // namespace lab
