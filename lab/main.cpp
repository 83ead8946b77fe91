// qo1905-lab: runs a mesh of real modules on this machine, and gives a running one its orders.

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>
#include <thread>

#include "lab/common/error.h"
#include "lab/common/input.h"
#include "lab/common/text.h"
#include "lab/mesh/lab_folder.h"
#include "lab/mesh/mesh.h"
#include "lab/mesh/order_client.h"
#include "lab/mesh/order_server.h"
#include "lab/replay/replay.h"
#include "lab/world/generate.h"
#include "lab/world/views.h"

namespace {

namespace fs = std::filesystem;

constexpr int kSignalled = 128;

// --- run ---

struct RunOptions {
    std::string scenario = "home";
    int log_level = 0;
    bool keep = false;
    lab::MeshOptions mesh;
};

std::string build_folder() { return fs::read_symlink("/proc/self/exe").parent_path(); }

// Where the sandbox and the scenarios are: around the folder that this was built into, also when both have been moved.
std::string project_folder() {
    const fs::path around = fs::path(build_folder()).parent_path();
    return fs::exists(around / "lab/sandbox.sh") ? around.string() : QO1905_SOURCE_DIR;
}

std::set<std::string> own_scenarios(const fs::path &folder) {
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().stem());
    }
    return names;
}

// One of the lab's own by its name, or any file; a file in the way of a name needs its folder before it.
std::string scenario_file(const std::string &name) {
    const fs::path folder = project_folder() + "/lab/scenarios";
    const std::set<std::string> own = own_scenarios(folder);
    if (own.count(name) != 0) {
        if (fs::is_regular_file(name)) {
            std::cerr << "== " << name << " is the lab's own; for the file of that name: ./" << name << '\n';
        }
        return folder / (name + ".json");
    }
    if (name == "-" || fs::exists(name)) {
        return name;
    }
    std::string text = name + ": no such file, and no scenario of the lab's:";
    for (const std::string &item : own) {
        text += ' ' + item;
    }
    throw lab::Error(text);
}

// What is killed in a sandbox ends a moment later, as this process's child; nothing of it is left after this.
struct SandboxesEnded {
    SandboxesEnded() = default;
    ~SandboxesEnded() {
        constexpr int kTries = 500;
        for (int i = 0; i < kTries; ++i) {
            const pid_t ended = waitpid(-1, nullptr, WNOHANG);
            if (ended < 0) {
                return;
            }
            if (ended == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        }
    }
    SandboxesEnded(const SandboxesEnded &) = delete;
    SandboxesEnded &operator=(const SandboxesEnded &) = delete;
};

// A device takes half a dozen.
void raise_descriptor_limit() {
    rlimit limit = {};
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

// A number, or "max" for none.
std::optional<double> read_speed(const std::string &text) {
    constexpr double kLeast = 0.05;
    constexpr double kMost = 1000;
    if (text == "max") {
        return std::nullopt;
    }
    char *end = nullptr;
    const double speed = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !(speed >= kLeast && speed <= kMost)) {  // also for "nan"
        throw CLI::ValidationError("--speed", "must be max, or a number from 0.05 to 1000");
    }
    return speed;
}

// Ends the loop on a signal that asks to. Lives longer than all that has to be cleaned up, so that an impatient second
// signal does not end the cleaning.
class EndSignals {
public:
    explicit EndSignals(asio::io_context &io) : signals_(io) {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            struct sigaction before = {};
            (void)sigaction(signal, nullptr, &before);
            if (before.sa_handler != SIG_IGN) {  // nohup, or a shell that has put this into the background
                signals_.add(signal);
            }
        }
        signals_.async_wait([this, &io](const asio::error_code &error, int signal) {
            if (!error) {
                signal_ = signal;
                io.stop();
            }
        });
    }

    int signal() const { return signal_; }

private:
    asio::signal_set signals_;
    int signal_ = 0;
};

class ChildSignals {
public:
    ChildSignals(asio::io_context &io, lab::Mesh &mesh) : signals_(io, SIGCHLD), mesh_(mesh) { wait(); }

private:
    void wait() {
        signals_.async_wait([this](const asio::error_code &error, int) {
            if (!error) {
                mesh_.look_for_ends();
                wait();
            }
        });
    }

    asio::signal_set signals_;
    lab::Mesh &mesh_;
};

int run_mesh(asio::io_context &io, lab::Scenario scenario, const std::string &folder, const RunOptions &options) {
    lab::Mesh mesh(io, std::move(scenario), {project_folder(), build_folder(), folder, options.log_level},
                   options.mesh);
    const ChildSignals children(io, mesh);
    const lab::OrderServer orders(io, mesh, folder + lab::kOrderSocket);
    mesh.start();
    (void)io.run();
    return mesh.status();
}

int run(RunOptions options) {
    const std::string file = scenario_file(options.scenario);
    lab::Scenario scenario = lab::Scenario::read(lab::JsonValue::read_file(file));
    (void)std::signal(SIGPIPE, SIG_IGN);  // a reader of our output that goes is no reason to leave things behind
    (void)prctl(PR_SET_CHILD_SUBREAPER, 1);
    options.mesh.scenario = file == "-" ? lab::input_name(file) : fs::path(file).stem().string();
    asio::io_context io;
    const EndSignals end(io);
    raise_descriptor_limit();
    const lab::LabFolder folder(options.keep);
    const SandboxesEnded at_the_end;
    // Every process of this lab can be told by it, whatever it becomes.
    (void)setenv("QO1905_LAB", folder.path().c_str(), 1);
    const int status = run_mesh(io, std::move(scenario), folder.path(), options);
    return end.signal() != 0 ? kSignalled + end.signal() : std::max(status, 0);
}

void add_run(CLI::App &app, int &status) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App *run_command = app.add_subcommand("run", "Run a mesh in the foreground");
    run_command
        ->add_option("SCENARIO", options->scenario, "home, villa, office, a scenario file, or - for standard input")
        ->capture_default_str();
    run_command->add_option("--cycles", options->mesh.cycles, "End after so many cycles; without, at Ctrl-C")
        ->check(CLI::Range(1, INT32_MAX));
    run_command
        ->add_option_function<std::string>(
            "--speed", [options](const std::string &text) { options->mesh.speed = read_speed(text); },
            "Times real speed, 0.05 to 1000; a cycle takes 20 s at 1. Or max: the next cycle begins when all devices "
            "have done the last")
        ->default_str("20");
    run_command
        ->add_option("--log-level", options->log_level, "At 7 and above the modules trace, and all they say is shown")
        ->capture_default_str()
        ->check(CLI::Range(0, 9));
    run_command->add_flag("--still", options->mesh.still, "Nothing changes by itself");
    run_command->add_flag("--keep", options->keep, "Keep the devices' folders at the end");
    run_command->callback([options, &status] {
        constexpr int kTraces = 7;
        options->mesh.trace = options->log_level >= kTraces;
        status = run(*options);
    });
}

// --- replay ---

void add_replay(CLI::App &app, int &status) {
    const auto options = std::make_shared<lab::ReplayOptions>();
    CLI::App *command = app.add_subcommand("replay", "Run the module on one device, on a topology dump from the field");
    command->add_option("--dump", options->dump, "The dump, - for standard input; without, a sample of the lab's");
    command->add_option("--reports", options->reports, "What Agents reported: a JSON array of payloads");
    command->add_option("--leases", options->leases, "DHCP leases, as dnsmasq writes them");
    command->add_option("--device", options->device, "Device description; without, what the dump tells of its device");
    command->add_option("--out", options->out, "Folder for the files; without, a new one in /tmp");
    command->add_option("--cycles", options->cycles, "How many; without, as many as it takes: 1, with reports 2")
        ->check(CLI::Range(1, INT32_MAX));
    command->add_flag("--stay", options->stay, "Until Ctrl-C, with the REST server that a Controller starts")
        ->excludes("--cycles");
    command->add_option("--unit", options->unit_seconds, "Seconds in a timer unit; a cycle takes 20")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 3600.0));
    command->add_option("--log-level", options->log_level, "At 7 and above the module traces, and all it says is shown")
        ->capture_default_str()
        ->check(CLI::Range(0, 9));
    command->callback([options, &status] { status = lab::replay(*options, project_folder(), build_folder()); });
}

// --- generate ---

void print_generated(const lab::Scenario &scenario) {
    std::cout << scenario.text();
    const std::size_t count = lab::devices_with_long_reports(lab::World(scenario)).size();
    if (count != 0) {
        std::cerr << "== of " << lab::plural(static_cast<long>(scenario.devices.size() - 1), "Agent") << ' ' << count
                  << " will have a report longer than the " << lab::kMaxMessage
                  << " bytes that the air carries, which gets lost: fewer stations for each show everything\n";
    }
}

void add_generate(CLI::App &app) {
    const auto plan = std::make_shared<lab::Plan>();
    CLI::App *command = app.add_subcommand("generate", "Print a scenario of any size");
    command->add_option("AGENTS", plan->agents, "Number of Agents")->required()->check(CLI::Range(0, 200));
    command->add_option("STATIONS", plan->stations, "Number of stations")->required()->check(CLI::Range(0, 60000));
    const std::map<std::string, lab::Shape> shapes = {
        {"star", lab::Shape::kStar}, {"chain", lab::Shape::kChain}, {"tree", lab::Shape::kTree}};
    command->add_option("--shape", plan->shape, "How the Agents are linked: star, chain or tree (the default)")
        ->transform(CLI::CheckedTransformer(shapes));
    command->add_option("--seed", plan->seed, "Another seed, another mesh")
        ->capture_default_str()
        ->check(CLI::Range(0, INT32_MAX));
    command->add_option("--roam", plan->pace.roam, "Percent of the stations that roam in a cycle")
        ->capture_default_str()
        ->check(CLI::Range(0, 100));
    command->callback([plan] { print_generated(lab::generate(*plan)); });
}

// --- orders ---

class Orders {
public:
    explicit Orders(CLI::App &app) : app_(app) {
        app.add_option("--lab", folder_, "Folder of the lab, if several are running");
    }

    // Adds an order whose words are the command's arguments.
    CLI::App *add(const std::string &name, const std::string &help,
                  const std::vector<std::pair<std::string, std::string>> &arguments) {
        const auto words = std::make_shared<std::vector<std::string>>(arguments.size());
        CLI::App *command = app_.add_subcommand(name, help);
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            CLI::Option *option = command->add_option(arguments[i].first, (*words)[i], arguments[i].second)->required();
            if (arguments[i].first == "ROLE") {
                option->check(CLI::IsMember({"controller", "agent"}));
            } else if (arguments[i].first == "STATE") {
                option->check(CLI::IsMember({"on", "off"}));
            }
        }
        command->callback([this, name, words] { print(lab::give_order(folder(), name, *words)); });
        return command;
    }

    void add_status() {
        const auto json = std::make_shared<bool>(false);
        CLI::App *command = app_.add_subcommand("status", "Devices, roles, cycles, messages sent, received and lost");
        command->add_flag("--json", *json, "Everything, the stations included, for programs");
        command->callback([this, json] { print(lab::give_order(folder(), *json ? "data" : "status", {})); });
    }

    void add_stations() {
        CLI::App *command = app_.add_subcommand("stations", "Every station, where it is, and its address");
        command->callback([this] { print(lab::give_order(folder(), "stations", {})); });
    }

    void add_files() {
        const auto words = std::make_shared<std::vector<std::string>>(1);
        CLI::App *command = app_.add_subcommand("files", "Where the files of a device are");
        command->add_option("DEVICE", (*words)[0], "Its name")->required();
        command->callback([this, words] { print_files(lab::give_order(folder(), "folder", *words)); });
    }

private:
    std::string folder() const { return folder_.empty() ? lab::find_lab() : folder_; }

    static void print(const std::string &text) {
        std::cout << text << (text.empty() || text.back() != '\n' ? "\n" : "") << std::flush;
    }

    static void print_files(const std::string &device) {
        std::set<std::string> files = {device + "/host.log"};
        for (const char *part : {"/tmp", "/dnsmasq"}) {
            for (const auto &entry : fs::directory_iterator(device + part)) {
                if (entry.is_regular_file()) {
                    files.insert(entry.path());
                }
            }
        }
        for (const std::string &file : files) {
            print(file);
        }
    }

    CLI::App &app_;
    std::string folder_;
};

int parse_and_run(int argc, char **argv) {
    int status = 0;
    CLI::App app("A mesh of real 1905 modules on one machine.", "qo1905-lab");
    app.set_version_flag("--version", QO1905_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    add_run(app, status);
    add_replay(app, status);
    add_generate(app);
    Orders orders(app);
    const std::pair<std::string, std::string> device = {"DEVICE", "Its name, as status shows it"};
    orders.add_status();
    orders.add_stations();
    orders.add_files();
    orders.add("send",
               "Deliver a message (UTF-8; after -- if it begins with -) to a device, as if it came from the mesh",
               {device, {"JSON", R"(Such as '{"SrcAlMac": "02:c0:00:00:00:01", "Reboot": 1}')"}});
    orders.add("role", "Change a device's role; a new Controller makes the old one an Agent",
               {device, {"ROLE", "controller or agent"}});
    orders.add("down", "Take a device's power away", {device});
    orders.add("up", "Give it back", {device});
    orders.add("restart-mapd", "Restart the multi-AP daemon of a device", {device});
    orders.add("wifi", "Switch an interface at the device itself",
               {device, {"INTERFACE", "ra0, rai0, ..."}, {"STATE", "on or off"}});
    orders.add("move", "Take a station to another device",
               {{"STATION", "Its name or MAC, as stations shows them"}, device});
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : lab::kUserError;
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        const int status = parse_and_run(argc, argv);
        if (!std::cout.flush()) {
            throw lab::Error("what there is to say cannot be written to standard output");
        }
        return status;
    } catch (const lab::Refusal &refusal) {
        (void)std::fprintf(stderr, "qo1905-lab: %s\n", refusal.what());
        return lab::kRefused;
    } catch (const std::exception &error) {
        (void)std::fprintf(stderr, "qo1905-lab: %s\n", error.what());
    }
    return lab::kUserError;
}
