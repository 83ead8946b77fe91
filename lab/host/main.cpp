// The host: loads the module as the gateway's monitoring daemon does, gives it the platform's functions from a device
// description (lab/host/platform.cpp) and runs the timer service. The description comes from a file, or from a mesh,
// which then also sets the pace. The timer thread is this program's own; the module's receiver thread runs beside it.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

#include "lab/common/error.h"
#include "lab/common/summary.h"
#include "lab/host/device.h"
#include "lab/host/mesh_link.h"
#include "lab/host/module.h"
#include "lab/host/platform.h"
#include "lab/host/timer.h"
#include "module/platform/lanmon.h"

namespace {

struct Options {
    std::string device;
    std::string mesh;
    std::string module;
    double unit_seconds = 1.0;
    unsigned cycles = 0;
};

std::string default_module() {
    std::string path(4096, '\0');
    const ssize_t size = readlink("/proc/self/exe", path.data(), path.size());
    path.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return path.substr(0, path.rfind('/') + 1) + "qo1905.so";
}

// At once, whatever the threads are doing.
void end_on_signal(int signal) { _exit(128 + signal); }

void run_alone(const Options &options, lab::Device &device) {
    device.become(lab::DeviceDescription::read(lab::JsonValue::read_file(options.device)));
    lab::Module module(options.module);
    lab::FileReader files("/tmp");
    lab::run_timer(std::chrono::duration<double>(options.unit_seconds), options.cycles, [&](unsigned cycle) {
        module.write_change_log();
        std::cout << "cycle " << cycle << ": " << files.read().text() << std::endl;
    });
}

void run_in_mesh(const Options &options, lab::Device &device) {
    lab::MeshLink link(options.mesh, device);
    lab::Module module(options.module);
    link.run([&module] { module.write_change_log(); });
}

void run(const Options &options) {
    std::signal(SIGINT, end_on_signal);
    std::signal(SIGTERM, end_on_signal);
    static lab::Device device;  // as long as the module, whose thread never ends by itself
    lab::answer_for(device);
    if (options.mesh.empty()) {
        run_alone(options, device);
    } else {
        run_in_mesh(options, device);
    }
}

int parse_and_run(int argc, char **argv) {
    Options options;
    options.module = default_module();
    CLI::App app("Host of the 1905 module: one device, from a description file or as part of a mesh.", "qo1905-host");
    auto *what = app.add_option_group("what");
    what->add_option("DEVICE", options.device, "Device description, JSON");
    what->add_option("--mesh", options.mesh, "Socket of the mesh that this device is part of");
    what->require_option(1);
    app.add_option("--module", options.module, "Module to load")->capture_default_str();
    app.add_option("--unit", options.unit_seconds, "Seconds in one unit of the timer service; a cycle takes 20")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 3600.0));
    app.add_option("--cycles", options.cycles, "End after so many cycles, 0 for never")->capture_default_str();
    app.add_option("--log-level", log_level, "The module traces at 7 and above")
        ->capture_default_str()
        ->check(CLI::Range(0, 9));
    app.set_version_flag("--version", QO1905_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : lab::kUserError;
    }
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    run(options);
    return 0;
}

}  // namespace

// Ends without destructors: the module's receiver thread never ends by itself.
int main(int argc, char **argv) {
    int status = lab::kUserError;
    try {
        status = parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        (void)std::fprintf(stderr, "qo1905-host: %s\n", error.what());
    }
    (void)std::fflush(nullptr);
    std::_Exit(status);
}
