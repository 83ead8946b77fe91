// How long each step of a cycle takes, against json-c parsing the same dump and freeing it again, which no reader of
// the dump can do without. Prints one table; figures of one line come from one run, interleaved, the fastest of several
// each.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <json-c/json.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <memory>

#include "bench/host.h"
#include "bench/mesh.h"
#include "module/base/json.h"
#include "module/base/paths.h"
#include "module/model/al_table.h"
#include "module/model/high_layer_table.h"
#include "qo1905.h"
#include "tests/support/stub_platform.h"

namespace {

struct Size {
    std::size_t devices;
    std::size_t stations;
};
constexpr Size kSizes[] = {{3, 15}, {16, 500}, {64, 4000}, {256, 16000}, {1000, 64000}};
using qo1905::kDumpFile;
using qo1905::kLeaseFile;

const bench::Mesh &mesh(const Size &size) {
    static std::map<std::size_t, bench::Mesh> meshes;
    auto found = meshes.find(size.devices);
    if (found == meshes.end()) {
        found = meshes.emplace(size.devices, bench::make_mesh(size.devices, size.stations)).first;
    }
    return found->second;
}

// The world of one size, until the next: the dump, and for `reported` the leases and every Agent's report.
void prepare(const Size &size, bool reported) {
    static std::size_t devices = 0;
    static bool was_reported = false;
    if (devices == size.devices && was_reported == reported) {
        return;
    }
    devices = size.devices;
    was_reported = reported;
    qo1905::destroy_al_table();
    qo1905::destroyDupEcnt1905Table();
    bench::write_file(kDumpFile, mesh(size).dump);
    bench::write_file(kLeaseFile, reported ? mesh(size).leases : "");
    for (const std::string &report : mesh(size).reports) {
        if (reported) {
            (void)higherLayerDataRcvHandle(report.c_str(), static_cast<int32_t>(report.size()));
        }
    }
    (void)initALTable();
    // What the parser's many small blocks left to be merged is merged now, not in whatever step asks for a large block
    // next.
    (void)malloc_trim(0);
}

using Step = void (*)(benchmark::State &state, const Size &size);

void parse(benchmark::State &state, const Size &size) {
    prepare(size, false);
    for (auto _ : state) {
        (void)_;
        json_object_put(json_object_from_file(kDumpFile));
    }
}

double cpu_ns() {
    timespec now{};
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

constexpr char kFloor[] = "parse beside";
constexpr char kCycle[] = "cycle";

// All that the module does in a cycle but the commands, the dump's parsing included; by turns with the floor, as what
// either takes depends on how the other left the heap.
void cycle(benchmark::State &state, const Size &size) {
    prepare(size, true);
    double floor = 0;
    double whole = 0;
    for (auto _ : state) {
        (void)_;
        const double start = cpu_ns();
        json_object_put(json_object_from_file(kDumpFile));
        const double middle = cpu_ns();
        (void)initALTable();
        (void)writeJsonDataModel();
        (void)updateWifiAssocList();
        floor += middle - start;
        whole += cpu_ns() - middle;
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters[kFloor] = floor / rounds;
    state.counters[kCycle] = whole / rounds;
}

// A dump that is parsed already, and the device list that is built from it.
class Topology {
public:
    Topology() : tree_(json_object_from_file(kDumpFile)) {}
    void build() {
        json_object *topology = json_object_object_get(tree_.get(), "topology information");
        network_.IEEE1905DeviceNumberOfEntries = static_cast<uint16_t>(get1905AgentDevNumber(topology));
        (void)getIeee1905DevTable(topology);
    }
    void destroy() { qo1905::destroyIeee1905DevTable(network_.IEEE1905Device); }

private:
    qo1905::JsonTree tree_;
    qo1905_network_topology &network_ = *getNetTopolTable();
};

void build(benchmark::State &state, const Size &size, bool reported) {
    prepare(size, reported);
    Topology topology;
    for (auto _ : state) {
        (void)_;
        state.PauseTiming();
        topology.destroy();
        state.ResumeTiming();
        topology.build();
    }
}

void build_alone(benchmark::State &state, const Size &size) { build(state, size, false); }
void import_reports(benchmark::State &state, const Size &size) { build(state, size, true); }

void write_model(benchmark::State &state, const Size &size) {
    prepare(size, true);
    for (auto _ : state) {
        (void)_;
        (void)writeJsonDataModel();
    }
}

void write_lists(benchmark::State &state, const Size &size) {
    prepare(size, true);
    for (auto _ : state) {
        (void)_;
        (void)updateWifiAssocList();
    }
}

void write_log(benchmark::State &state, const Size &size) {
    prepare(size, true);
    for (auto _ : state) {
        (void)_;
        (void)writeJsonqo1905log();
    }
}

// What the kernel takes for the same files, without anybody who makes the text: no writer is faster.
void write_bytes(benchmark::State &state, const Size &size) {
    prepare(size, true);
    (void)writeJsonDataModel();
    (void)updateWifiAssocList();
    std::vector<std::pair<const char *, std::string>> files;
    for (const char *path : {qo1905::kModelFile, qo1905::kAssocList24G, qo1905::kAssocList5G}) {
        files.emplace_back(path, bench::read_file(path));
    }
    for (auto _ : state) {
        (void)_;
        for (const auto &[path, text] : files) {
            const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
            benchmark::DoNotOptimize(write(fd, text.data(), text.size()));
            close(fd);
        }
    }
}

void destroy(benchmark::State &state, const Size &size) {
    prepare(size, true);
    Topology topology;
    for (auto _ : state) {
        (void)_;
        state.PauseTiming();
        topology.build();
        state.ResumeTiming();
        topology.destroy();
    }
    topology.build();
}

// The messages, which do not depend on the mesh.
void handle_report(benchmark::State &state) {
    const std::string report = bench::make_report(60);
    for (auto _ : state) {
        (void)_;
        (void)higherLayerDataRcvHandle(report.c_str(), static_cast<int32_t>(report.size()));
        state.PauseTiming();
        qo1905::import_reports();
        qo1905::destroyDupEcnt1905Table();
        state.ResumeTiming();
    }
}

void parse_report(benchmark::State &state) {
    const std::string report = bench::make_report(60);
    for (auto _ : state) {
        (void)_;
        json_object_put(json_tokener_parse(report.c_str()));
    }
}

void send_report(benchmark::State &state) {
    stub.role = "2";
    stub.stations = 7;  // on each of eight interfaces
    for (auto _ : state) {
        (void)_;
        (void)highLayerDataSend();
    }
    stub.role = "1";
}

// ---- the table ----

std::FILE *table = nullptr;

struct StepName {
    const char *name;
    Step step;
};
constexpr StepName kSteps[] = {{"parse", parse},
                               {"build", build_alone},
                               {"build+reports", import_reports},
                               {"model file", write_model},
                               {"lists", write_lists},
                               {"log file", write_log},
                               {"destroy", destroy},
                               {"bare files", write_bytes},
                               {kCycle, cycle}};

std::string name_of(const char *step, const Size &size) { return step + ("/" + std::to_string(size.devices)); }

// Keeps the fastest of all runs of each benchmark, in ns.
class Fastest : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                keep(run);
            }
        }
    }
    // Not a number for what was filtered out.
    double time(const std::string &name) const {
        const auto found = times_.find(name);
        return found != times_.end() ? found->second : std::nan("");
    }

private:
    void keep(const Run &run) {
        const std::string &name = run.run_name.function_name;
        const double time = run.GetAdjustedCPUTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        double &best = best_.emplace(name, time).first->second;
        if (time > best) {
            return;
        }
        best = time;
        times_[name] = time;
        // Both parts of the fastest run of a pair.
        for (const auto &[part, value] : run.counters) {
            times_[part + name.substr(name.find('/'))] = value.value;
        }
    }

    std::map<std::string, double> best_;
    std::map<std::string, double> times_;
};

std::string shown_time(double ns) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), ns < 1e6 ? "%.1f us" : "%.2f ms", ns < 1e6 ? ns / 1e3 : ns / 1e6);
    return text;
}

struct Memory {
    double bytes_of_stations;  // heap of the device list, without the device records themselves
    double bytes;              // with them
    double allocations;        // of a build and all files
};

// Per station of the Agents.
Memory measure_memory(const Size &size) {
    prepare(size, true);
    Topology topology;
    topology.destroy();
    const auto used_before = mallinfo2();
    const unsigned long before = bench::allocations();
    topology.build();
    const auto used_after = mallinfo2();
    (void)writeJsonDataModel();
    (void)updateWifiAssocList();
    const auto stations = static_cast<double>(size.stations);
    const auto bytes = static_cast<double>(used_after.uordblks + used_after.hblkhd) -
                       static_cast<double>(used_before.uordblks + used_before.hblkhd);
    const double records = static_cast<double>(size.devices - 1) * sizeof(qo1905_device);
    return {(bytes - records) / stations, bytes / stations,
            static_cast<double>(bench::allocations() - before) / stations};
}

using TimeOfSize = std::function<double(const Size &)>;

// One line: the time, its ratio to the floor, and how much it grows per station from size to size.
void print_row(const char *name, const TimeOfSize &time_of, const TimeOfSize &floor_of) {
    (void)std::fprintf(table, "%-15s", name);
    double per_station_before = 0;
    for (const Size &size : kSizes) {
        const double time = time_of(size);
        const double per_station = time / static_cast<double>(size.stations);
        (void)std::fprintf(table, " %11s %5.2f", shown_time(time).c_str(), time / floor_of(size));
        if (per_station_before > 0) {
            (void)std::fprintf(table, " %5.2f", per_station / per_station_before);
        } else {
            (void)std::fprintf(table, "     -");
        }
        per_station_before = per_station;
    }
    (void)std::fprintf(table, "\n");
}

void print_sizes(const Fastest &fastest) {
    (void)std::fprintf(table, "\n%-15s", "");
    for (const Size &size : kSizes) {
        char title[32];
        (void)std::snprintf(title, sizeof(title), "%zu / %zu", size.devices, size.stations);
        (void)std::fprintf(table, " %23s", title);
    }
    (void)std::fprintf(table, "\n%-15s", "step");
    for (std::size_t i = 0; i < std::size(kSizes); ++i) {
        (void)std::fprintf(table, " %11s %5s %5s", "time", "ratio", "grows");
    }
    (void)std::fprintf(table, "\n");
    const auto time_of = [&fastest](const char *name) {
        return [&fastest, name](const Size &size) { return fastest.time(name_of(name, size)); };
    };
    const TimeOfSize floor = time_of("parse");
    for (const StepName &step : kSteps) {
        if (step.step != cycle) {
            print_row(step.name, time_of(step.name), floor);
        }
    }
    const auto beyond = [&fastest](const Size &size) {
        double sum = 0;
        for (const char *step : {"build+reports", "model file", "lists", "log file", "destroy"}) {
            sum += fastest.time(name_of(step, size));
        }
        return sum;
    };
    print_row("all but parse", beyond, floor);
    // The same as one, and by turns with the floor.
    print_row(kFloor, time_of(kFloor), time_of(kFloor));
    print_row(kCycle, time_of(kCycle), time_of(kFloor));
}

void print_memory() {
    constexpr const char *kRows[] = {"bytes of lists", "bytes in all", "allocations"};
    (void)std::fprintf(table, "\nper station\n");
    std::vector<Memory> memory;
    for (const Size &size : kSizes) {
        memory.push_back(measure_memory(size));
    }
    for (int row = 0; row < 3; ++row) {
        (void)std::fprintf(table, "%-15s", kRows[row]);
        for (const Memory &item : memory) {
            const double values[] = {item.bytes_of_stations, item.bytes, item.allocations};
            (void)std::fprintf(table, " %11.2f            ", values[row]);
        }
        (void)std::fprintf(table, "\n");
    }
}

void print_messages(const Fastest &fastest) {
    (void)std::fprintf(table, "\nmessages\n%-32s %11s\n%-32s %11s %5.2f of it\n%-32s %11s\n",
                       "parse a report of 60 stations", shown_time(fastest.time("parse_report")).c_str(), "handle it",
                       shown_time(fastest.time("handle_report")).c_str(),
                       fastest.time("handle_report") / fastest.time("parse_report"), "build and send one of 56",
                       shown_time(fastest.time("send_report")).c_str());
}

}  // namespace

int main(int argc, char **argv) {
    // What the module prints is measured, and not shown.
    table = fdopen(dup(STDOUT_FILENO), "w");
    if (table == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    for (const Size &size : kSizes) {
        for (const StepName &step : kSteps) {
            const auto run = [&step, &size](benchmark::State &state) { step.step(state, size); };
            (void)benchmark::RegisterBenchmark(name_of(step.name, size).c_str(), run);
        }
    }
    (void)benchmark::RegisterBenchmark("parse_report", parse_report);
    (void)benchmark::RegisterBenchmark("handle_report", handle_report);
    (void)benchmark::RegisterBenchmark("send_report", send_report);
    Fastest fastest;
    (void)benchmark::RunSpecifiedBenchmarks(&fastest);
    print_sizes(fastest);
    print_memory();
    print_messages(fastest);
    return 0;
}
