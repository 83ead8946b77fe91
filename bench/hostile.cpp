// What hostile input costs: for each shape, at three sizes, a cycle's time, its ratio to json-c parsing the same bytes
// and freeing them again, how much both grow per byte, the most memory that the process had, and the size of the model.
// Each measurement has a process of its own.

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

void print_head(std::FILE *table) {
    (void)std::fprintf(table, "%-40s", "");
    for (const char *size : {"64 KiB", "1 MiB", "4 MiB"}) {
        (void)std::fprintf(table, " %42s", size);
    }
    (void)std::fprintf(table, "\n%-40s", "shape");
    for (std::size_t i = 0; i < std::size(kSizes); ++i) {
        (void)std::fprintf(table, " %10s %5s %11s %7s %5s", "time", "ratio", "grows parse", "MiB", "model");
    }
    (void)std::fprintf(table, "\n");
}

void print_row(std::FILE *table, const hostile::Shape &shape) {
    (void)std::fprintf(table, "%-40s", shape.name);
    Cost before{};
    for (const std::size_t size : kSizes) {
        const Cost cost = measure_apart(shape, size);
        char growth[32] = "-     -";
        if (before.bytes > 0) {
            const double bytes = static_cast<double>(cost.bytes) / static_cast<double>(before.bytes);
            (void)std::snprintf(growth, sizeof(growth), "%.2f  %.2f", cost.cycle_ns / before.cycle_ns / bytes,
                                cost.parse_ns / before.parse_ns / bytes);
        }
        (void)std::fprintf(table, " %7.2f ms %5.2f %11s %7.1f %5.1f", cost.cycle_ns / 1e6,
                           cost.cycle_ns / cost.parse_ns, growth, static_cast<double>(cost.peak_kib) / 1024,
                           static_cast<double>(cost.model_size) / 1024 / 1024);
        before = cost;
    }
    (void)std::fprintf(table, "\n");
    (void)std::fflush(table);
}

// One cycle of one shape, for whoever counts what it does.
int run_once(const char *name, std::size_t bytes) {
    for (const hostile::Shape &shape : hostile::shapes()) {
        if (std::strcmp(shape.name, name) == 0) {
            const hostile::Input input = shape.make(bytes);
            bench::write_file(qo1905::kDumpFile, input.dump);
            bench::write_file(qo1905::kLeaseFile, input.leases);
            cycle(input);
            return 0;
        }
    }
    return 1;
}

}  // namespace

// qo1905-hostile [WORD]: with a word, only the shapes whose names have it. --list names them; --once NAME BYTES runs
// one.
int main(int argc, char **argv) {
    std::FILE *table = fdopen(dup(STDOUT_FILENO), "w");
    if (table == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    if (argc == 4 && std::strcmp(argv[1], "--once") == 0) {
        return run_once(argv[2], std::strtoul(argv[3], nullptr, 10));
    }
    const bool only_names = argc == 2 && std::strcmp(argv[1], "--list") == 0;
    if (!only_names) {
        print_head(table);
    }
    for (const hostile::Shape &shape : hostile::shapes()) {
        if (only_names) {
            (void)std::fprintf(table, "%s\n", shape.name);
        } else if (argc < 2 || std::strstr(shape.name, argv[1]) != nullptr) {
            print_row(table, shape);
        }
    }
    (void)std::fclose(table);
    return 0;
}
