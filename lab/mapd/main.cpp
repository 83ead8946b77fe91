// The multi-AP daemon of the lab: serves the control socket of one device and replays a topology dump on it.

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

#include "lab/common/error.h"
#include "lab/mapd/control_server.h"
#include "lab/mapd/replay_service.h"
#include "lab/mapd/wire.h"

namespace {

constexpr int kPollMs = 200;
constexpr std::uint8_t kProtocol = 1;

volatile std::sig_atomic_t stopping = 0;

void stop(int) { stopping = 1; }

struct Options {
    std::string dump;
    std::string dump_path = "/tmp/dump.txt";
    std::string reports;
    std::string record = "/tmp/mapd.log";
    std::string socket = "/tmp/mapd_ctrl";
};

void serve(const Options &options) {
    lab::ReplayService service(options.dump, options.dump_path, options.reports, options.record);
    lab::ControlServer server(options.socket, service);
    while (stopping == 0) {
        server.serve_once(kPollMs);
        for (const std::string &report : service.due_reports()) {
            (void)server.broadcast(lab::encode_higher_layer_event(kProtocol, report));
        }
    }
}

int parse_and_serve(int argc, char **argv) {
    Options options;
    CLI::App app("Multi-AP daemon of the lab: replays a topology dump on a control socket.", "qo1905-mapd");
    app.add_option("--dump", options.dump, "Topology dump to replay, as it is")->required();
    app.add_option("--reports", options.reports, "JSON array of payloads that arrive after every dump");
    app.add_option("--dump-path", options.dump_path, "Where the dump is written")->capture_default_str();
    app.add_option("--record", options.record, "File that what is sent and blocked is written down in")
        ->capture_default_str();
    app.add_option("--socket", options.socket, "Control socket")->capture_default_str();
    app.set_version_flag("--version", QO1905_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : lab::kUserError;
    }
    (void)std::signal(SIGINT, stop);
    (void)std::signal(SIGTERM, stop);
    serve(options);
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return parse_and_serve(argc, argv);
    } catch (const std::exception &error) {
        (void)std::fprintf(stderr, "qo1905-mapd: %s\n", error.what());
    }
    return lab::kUserError;
}
