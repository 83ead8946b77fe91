// The REST server of a lab's Controller: what `qo1905 serve` is, for this device's own files. Writes its process id
// where the module looks for it, and its address beside it.

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "cli/serving.h"

namespace {

constexpr const char *kPidFile = "/var/run/rest_api_server.pid";
constexpr const char *kUrlFile = "/var/run/rest_api_server.url";

}  // namespace

int main() {
    const cli::EndingSignals signals;
    auto source = reader::open_source(reader::kOwnRoot);
    const auto server = cli::make_server(std::move(std::get<std::unique_ptr<reader::Source>>(source)), serve::Wanted());
    if (!server->start()) {
        (void)std::fprintf(stderr, "ohttpd_rest: no free port from %d on\n", serve::kFirstPort);
        return 1;
    }
    std::ofstream(kUrlFile) << server->url();
    std::ofstream(kPidFile) << getpid() << '\n';
    std::printf("ohttpd_rest %d: serving %s\n", static_cast<int>(getpid()), server->url().c_str());
    (void)std::fflush(stdout);
    (void)signals.wait();
}
