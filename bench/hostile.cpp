// What hostile input costs: for each shape, at three sizes, a cycle's time, its ratio to json-c parsing the same bytes
// and freeing them again, the growth of its time per byte, and the most memory that the process had. Each measurement
// has a process of its own.

#include <json-c/json.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

#include "bench/host.h"
#include "module/base/paths.h"
#include "qo1905.h"
#include "tests/support/hostile_shapes.h"
#include "tests/support/stub_platform.h"

namespace {

constexpr std::size_t kSizes[] = {std::size_t{64} << 10U, std::size_t{1} << 20U, std::size_t{4} << 20U};

double now_ns() {
    timespec now{};
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

std::size_t peak_kib() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stoul(line.substr(6));
        }
    }
    return 0;
}

// json-c on all that came in; the leases, which are no JSON, as one long text.
void parse(const hostile::Input &input, const std::string &leases_as_json) {
    json_object_put(json_object_from_file(qo1905::kDumpFile));
    for (const std::string &report : input.reports) {
        json_object_put(json_tokener_parse(report.c_str()));
    }
    if (!input.command.empty()) {
        json_object_put(json_tokener_parse(input.command.c_str()));
    }
    if (!input.leases.empty()) {
        json_object_put(json_tokener_parse(leases_as_json.c_str()));
    }
}

void cycle(const hostile::Input &input) {
    stub.role = "1";
    for (const std::string &report : input.reports) {
        (void)higherLayerDataRcvHandle(report.c_str(), static_cast<int32_t>(report.size()));
    }
    if (!input.command.empty()) {
        stub.role = "2";
        (void)higherLayerDataRcvHandle(input.command.c_str(), static_cast<int32_t>(input.command.size()));
    }
    (void)initALTable();
    (void)writeJsonDataModel();
    (void)updateWifiAssocList();
}

struct Cost {
    double parse_ns;
    double cycle_ns;
    std::size_t bytes;       // of the input
    std::size_t peak_kib;    // with the input that the benchmark itself holds taken off
    std::size_t model_size;  // of /tmp/qo1905.json
};

// By turns, the fastest of several each.
Cost measure(const hostile::Input &input) {
    const std::string leases_as_json = '"' + input.leases + '"';
    Cost cost{1e18, 1e18, input.dump.size() + input.leases.size() + input.command.size(), 0, 0};
    for (const std::string &report : input.reports) {
        cost.bytes += report.size();
    }
    bench::write_file(qo1905::kDumpFile, input.dump);
    bench::write_file(qo1905::kLeaseFile, input.leases);
    const std::size_t before = peak_kib();
    const int rounds = cost.bytes < (std::size_t{1} << 19U) ? 20 : 5;
    for (int i = 0; i < rounds; ++i) {
        const double start = now_ns();
        parse(input, leases_as_json);
        const double middle = now_ns();
        cycle(input);
        cost.parse_ns = std::min(cost.parse_ns, middle - start);
        cost.cycle_ns = std::min(cost.cycle_ns, now_ns() - middle);
    }
    cost.peak_kib = peak_kib() - before;
    cost.model_size = bench::read_file(qo1905::kModelFile).size();
    return cost;
}

Cost measure_apart(const hostile::Shape &shape, std::size_t bytes) {
    int ends[2];
    Cost cost{};
    if (pipe(ends) != 0) {
        return cost;
    }
    const pid_t child = fork();
    if (child == 0) {
        const Cost measured = measure(shape.make(bytes));
        const bool told = write(ends[1], &measured, sizeof(measured)) == sizeof(measured);
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &cost, sizeof(cost)) != sizeof(cost)) {
        cost = {};
    }
    close(ends[0]);
    (void)waitpid(child, nullptr, 0);
    return cost;
}

void print_row(std::FILE *table, const hostile::Shape &shape) {
    (void)std::fprintf(table, "%-40s", shape.name);
    double per_byte_before = 0;
    for (const std::size_t size : kSizes) {
        const Cost cost = measure_apart(shape, size);
        const double per_byte = cost.cycle_ns / static_cast<double>(cost.bytes);
        char growth[16] = "-";
        if (per_byte_before > 0) {
            (void)std::snprintf(growth, sizeof(growth), "%.2f", per_byte / per_byte_before);
        }
        (void)std::fprintf(table, " %8.2f ms %5.2f %5s %7.1f %6.1f", cost.cycle_ns / 1e6, cost.cycle_ns / cost.parse_ns,
                           growth, static_cast<double>(cost.peak_kib) / 1024,
                           static_cast<double>(cost.model_size) / 1024 / 1024);
        per_byte_before = per_byte;
    }
    (void)std::fprintf(table, "\n");
    (void)std::fflush(table);
}

}  // namespace

// With a word, only the shapes whose names have it.
int main(int argc, char **argv) {
    std::FILE *table = fdopen(dup(STDOUT_FILENO), "w");
    if (table == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    (void)std::fprintf(table, "%-40s", "");
    for (const char *size : {"64 KiB", "1 MiB", "4 MiB"}) {
        (void)std::fprintf(table, " %38s", size);
    }
    (void)std::fprintf(table, "\n%-40s", "shape");
    for (std::size_t i = 0; i < std::size(kSizes); ++i) {
        (void)std::fprintf(table, " %11s %5s %5s %7s %6s", "time", "ratio", "grows", "MiB", "model");
    }
    (void)std::fprintf(table, "\n");
    for (const hostile::Shape &shape : hostile::shapes()) {
        if (argc < 2 || std::strstr(shape.name, argv[1]) != nullptr) {
            print_row(table, shape);
        }
    }
    return 0;
}
