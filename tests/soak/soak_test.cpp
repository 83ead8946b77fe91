// Floods, starvation and long runs, with figures. In the ordinary test run each lasts a second or so; ./dev soak sets
// QO1905_SOAK, and they last as long as they say.
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <thread>

#include "lab/world/generate.h"
#include "lab/world/views.h"
#include "lab/world/world.h"
#include "module/model/high_layer_table.h"
#include "tests/support/failing_allocations.h"
#include "tests/support/fake_mapd.h"
#include "tests/support/module_test.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

bool is_long() { return std::getenv("QO1905_SOAK") != nullptr; }

// The size of a run: in the long form, and in the short.
template <class T>
T either(T long_form, T short_form) {
    return is_long() ? long_form : short_form;
}

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

constexpr char kAgent[] = "02:0a:00:00:00:01";
constexpr std::size_t kMaxReports = 1024;

// Numbered by its firmware version.
std::string report(unsigned number, std::size_t stations = 0) {
    std::string text = R"({"SrcAlMac": ")" + std::string(kAgent) + R"(", "FWVersion": ")" + std::to_string(number) +
                       R"(", "STAInfo": [)";
    for (std::size_t i = 0; i < stations; ++i) {
        text +=
            (i == 0 ? "" : ", ") + (R"({"STAMac": "2:57:0:0:0:)" + std::to_string(10 + i)) + R"(", "PhyRate": 866})";
    }
    return text + "]}";
}

// The numbers of the reports that the last import took over, the oldest first.
std::vector<unsigned> imported() {
    std::vector<unsigned> numbers;
    for (const qo1905_report *item = qo1905::imported_reports(); item != nullptr; item = item->next) {
        numbers.push_back(static_cast<unsigned>(std::stoul(item->firmwareversion)));
    }
    std::reverse(numbers.begin(), numbers.end());  // the newest stands first
    return numbers;
}

// Sees the imports one after the other and holds them to the rules: in order, none twice.
class Imports {
public:
    void look() {
        const std::vector<unsigned> numbers = imported();
        if (numbers == last_) {
            return;  // nothing new: the old copy stays
        }
        for (const unsigned number : numbers) {
            ASSERT_GT(number, newest_) << "imported twice, or out of order";
            newest_ = number;
        }
        count_ += numbers.size();
        was_full_ = was_full_ || numbers.size() >= kMaxReports;
        last_ = numbers;
    }
    unsigned long count() const { return count_; }
    unsigned newest() const { return newest_; }
    bool was_full() const { return was_full_; }

private:
    std::vector<unsigned> last_;
    unsigned newest_ = 0;
    unsigned long count_ = 0;
    bool was_full_ = false;
};

// `resident_kb`: of memory that was asked for; pages of program files come and go with what else is run.
struct Sample {
    long resident_kb, blocks, descriptors, threads;
};

long count_entries(const char *folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

Sample sample() {
    (void)malloc_trim(0);
    long resident = 0;
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        if (word == "RssAnon:") {
            file >> resident;
        }
    }
    return {resident, live_blocks(), count_entries("/proc/self/fd"), count_entries("/proc/self/task")};
}

void print_side_by_side(const char *first, const Sample &one, const char *second, const Sample &other) {
    std::printf("%-18s %12s %12s %8s\n", "", first, second, "growth");
    const struct {
        const char *name;
        long Sample::*value;
    } rows[] = {{"resident KiB", &Sample::resident_kb},
                {"heap blocks", &Sample::blocks},
                {"descriptors", &Sample::descriptors},
                {"threads", &Sample::threads}};
    for (const auto &row : rows) {
        std::printf("%-18s %12ld %12ld %8ld\n", row.name, one.*row.value, other.*row.value,
                    other.*row.value - one.*row.value);
    }
}

class SoakTest : public ModuleTest {
protected:
    SoakTest() {
        fake::host.role = "1";
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
        fake::host.keeps_record = false;
        put_dump(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})");
        fake::host.dump = read_file(kDump);
    }

    // What is printed on the way is of no interest here.
    static void silently(const std::function<void()> &action) { (void)printed_by(action); }

    void cycle() { (void)module_.checkUpdate1905Information(); }
};

TEST_F(SoakTest, AFloodOfReportsBetweenTwoCyclesIsHeldToTheTablesLimit) {
    constexpr std::size_t kStations = 20;
    const unsigned flood = either(200000U, 20000U);
    silently([&] { cycle(); });
    const long before = live_blocks();
    const Sample rss_before = sample();
    const auto start = Clock::now();
    for (unsigned i = 1; i <= flood; ++i) {
        ASSERT_EQ(receive(report(i, kStations)), 0);
    }
    const double took = seconds_since(start);
    const long blocks = live_blocks() - before;
    EXPECT_EQ(blocks, static_cast<long>(kMaxReports * (1 + kStations)));
    const long resident = sample().resident_kb - rss_before.resident_kb;
    std::printf("%u reports of %zu stations: %ld blocks (%zu reports), resident +%ld KiB, %.1f us per report\n", flood,
                kStations, blocks, kMaxReports, resident, took * 1e6 / flood);
    silently([&] { cycle(); });
    // The oldest are gone, the newest are there, in order.
    const auto numbers = imported();
    ASSERT_EQ(numbers.size(), kMaxReports);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i], flood - kMaxReports + 1 + i);
    }
}

TEST_F(SoakTest, ADumpThatFailsForThousandsOfCyclesCostsNoMoreThanTheTable) {
    const unsigned cycles = either(10000U, 2000U);
    const std::string good = *fake::host.dump;
    silently([&] { cycle(); });
    const long before = live_blocks();
    fake::host.dump = "no dump";
    const std::string model = read_file(kModel);
    silently([&] {
        for (unsigned i = 1; i <= cycles; ++i) {
            ASSERT_EQ(receive(report(i)), 0);
            cycle();
        }
    });
    EXPECT_EQ(live_blocks() - before, static_cast<long>(std::min<std::size_t>(cycles, kMaxReports)));
    EXPECT_EQ(read_file(kModel), model);
    std::printf("%u cycles without a dump: %ld blocks waiting\n", cycles, live_blocks() - before);
    fake::host.dump = good;
    silently([&] { cycle(); });
    EXPECT_EQ(imported().size(), kMaxReports);
    EXPECT_EQ(imported().back(), cycles);
    EXPECT_EQ(live_blocks() - before, static_cast<long>(kMaxReports)) << "now as the copy";
}

TEST_F(SoakTest, ALockHeldForSecondsHoldsNobodyUp) {
    silently([&] { ASSERT_EQ(receive(report(1)), 0); });
    silently([&] { cycle(); });
    std::atomic<bool> held{false};
    std::atomic<bool> let_go{false};
    pthread_mutex_t *lock = module_.update_info_lock;
    std::thread holder([&] {
        (void)pthread_mutex_lock(lock);
        held = true;
        while (!let_go) {
            std::this_thread::sleep_for(1ms);
        }
        (void)pthread_mutex_unlock(lock);
    });
    while (!held) {
        std::this_thread::yield();
    }
    const auto start = Clock::now();
    double slowest = 0;
    unsigned tried = 0;
    while (seconds_since(start) < either(3.0, 0.3)) {
        const auto began = Clock::now();
        EXPECT_EQ(receive(report(2 + tried++)), 0);
        silently([&] { cycle(); });
        slowest = std::max(slowest, seconds_since(began));
    }
    let_go = true;
    holder.join();
    EXPECT_EQ(imported(), (std::vector<unsigned>{1})) << "the old copy stays, nothing was stored";
    std::printf("%u reports and cycles under a lock held elsewhere; the slowest pair took %.1f ms\n", tried,
                slowest * 1e3);
    EXPECT_LT(slowest, 2.0);
    silently([&] {
        EXPECT_EQ(receive(report(1000000)), 0);
        cycle();
    });
    EXPECT_EQ(imported(), (std::vector<unsigned>{1000000}));
}

// Reports through the receiver thread's socket while cycles run without a pause. `ahead`: how many the sender may be
// ahead of the newest that was imported.
class StormTest : public SoakTest {
protected:
    void run_storm(unsigned ahead) {
        start_receiver();
        std::thread sender([this, ahead] { send_reports(ahead); });
        silently([this] {
            while (!done_ && !HasFatalFailure()) {
                cycle_and_look();
            }
            // Until the last that was sent has come through, or all that is on the way.
            for (int i = 0; i < 100 && newest_ < sent_ && !HasFatalFailure(); ++i) {
                std::this_thread::sleep_for(10ms);
                cycle_and_look();
            }
        });
        sender.join();
        missing_ = sent_ - imports_.count();
        std::printf(
            "%u reports in %u cycles: %lu imported, each once; %d found the lock taken; %lu were the oldest of more "
            "than %zu\n",
            sent_.load(), cycles_.load(), imports_.count(), fake::dropped_reports(),
            missing_ - static_cast<unsigned long>(fake::dropped_reports()), kMaxReports);
        EXPECT_GT(imports_.count(), 100U);
    }

    Imports imports_;
    unsigned long missing_ = 0;

private:
    void start_receiver() {
        std::thread([] {
            fake::count_dropped_reports_here();
            module().higherLayerDataRcv(nullptr);
        }).detach();
        while (!fake::is_attached()) {
            std::this_thread::sleep_for(1ms);
        }
    }

    void send_reports(unsigned ahead) {
        const auto end = Clock::now() + either(60s, 2s);
        unsigned cycles_at_last = 0;
        while (Clock::now() < end) {
            // So many cycles later all that was sent has come through, or was dropped.
            if (sent_ >= newest_ + ahead && cycles_ < cycles_at_last + 5) {
                std::this_thread::yield();
                continue;
            }
            cycles_at_last = cycles_;
            const std::string payload = report(sent_ + 1);
            fake::send_datagram(fake::event(6, static_cast<int32_t>(payload.size()) + 1, "\x01" + payload));
            ++sent_;
        }
        done_ = true;
    }

    void cycle_and_look() {
        cycle();
        imports_.look();
        newest_ = imports_.newest();
        ++cycles_;
    }

    std::atomic<unsigned> sent_{0};
    std::atomic<unsigned> newest_{0};
    std::atomic<bool> done_{false};
    std::atomic<unsigned> cycles_{0};
};

TEST_F(StormTest, EveryAcceptedReportReachesExactlyOneImport) {
    run_storm(500);
    EXPECT_FALSE(imports_.was_full());
    EXPECT_EQ(missing_, static_cast<unsigned long>(fake::dropped_reports()));
}

TEST_F(StormTest, AtFullSpeedOnlyTheOldestAreDropped) {
    run_storm(UINT32_MAX / 2);
    EXPECT_TRUE(imports_.was_full() || missing_ == static_cast<unsigned long>(fake::dropped_reports()));
    EXPECT_GE(missing_, static_cast<unsigned long>(fake::dropped_reports()));
}

// ---- a mesh that never rests ----

std::string report_of(const lab::World &world, std::size_t device) {
    nlohmann::ordered_json stations = nlohmann::json::array();
    for (std::size_t i = 0; i < world.scenario().stations.size(); ++i) {
        if (world.station_now(i).device == device && world.bss_of(i)) {
            stations.push_back({{"STAMac", world.station(i).mac}, {"PhyRate", world.rate(i)}});
        }
    }
    const lab::DeviceAtStart &start = world.at_start(device);
    return nlohmann::ordered_json({{"SrcAlMac", start.al_mac},
                                   {"FWVersion", start.firmware_version},
                                   {"HostName", start.host_name},
                                   {"DeviceIP", start.ip},
                                   {"STAInfo", stations}})
        .dump();
}

void place(const lab::World &world) {
    fake::host.dump = lab::topology_dump(world, 0);
    for (std::size_t i = 1; i < world.size(); ++i) {
        if (world.reaches(i, 0)) {
            const std::string text = report_of(world, i);
            (void)module().higherLayerDataRcvHandle(text.c_str(), static_cast<int32_t>(text.size()));
        }
    }
    write_file(kLeases, lab::leases(world));
}

lab::Scenario restless() {
    lab::Scenario scenario =
        lab::Scenario::read(lab::JsonValue::read_file(QO1905_SOURCE_DIR "/lab/scenarios/home.json"));
    scenario.pace = {20, 10, 30, 5};
    for (lab::StationAtStart &station : scenario.stations) {
        station.stays = false;
    }
    return scenario;
}

TEST_F(SoakTest, ThousandsOfCyclesOfARestlessMeshLeaveNothingBehind) {
    const unsigned cycles = either(20000U, 1000U);
    const lab::World at_first(restless());
    lab::World world(restless());
    fake::host.known_devices = {"02:0a:00:00:00:01"};
    fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 65, {}}};
    Sample early{};
    // The same world both times, so that the same table is there.
    const auto measure = [&] {
        fake::host.role = "1";
        place(at_first);
        cycle();
        cycle();
        return sample();
    };
    silently([&] {
        for (unsigned i = 1; i <= cycles; ++i) {
            (void)world.step();
            world.set_enabled(1, "rai0", i % 50 < 40);
            world.set_up(2, i % 70 < 60);
            fake::host.role = i % 100 < 90 ? "1" : "2";
            place(world);
            cycle();
            if (i == 100) {
                early = measure();
            }
        }
    });
    Sample late{};
    silently([&] { late = measure(); });
    print_side_by_side("cycle 100", early, "the end", late);
    EXPECT_EQ(late.blocks, early.blocks);
    EXPECT_EQ(late.descriptors, early.descriptors);
    EXPECT_EQ(late.threads, early.threads);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which keep what was freed
    // A few pages lie differently each time; four bytes a cycle would be more.
    EXPECT_LE(late.resident_kb, early.resident_kb + 64);
#endif
}

// ---- a reader beside the writer ----

struct Reads {
    unsigned long all = 0, empty = 0, cut = 0, wrong = 0;
};

// Reads all four files until it is told to end; `whole` is what each has to be.
Reads read_on(const std::vector<std::pair<std::string, std::string>> &whole, const volatile std::sig_atomic_t &stop) {
    Reads reads;
    while (stop == 0) {
        for (const auto &[path, text] : whole) {
            std::ifstream file(path, std::ios::binary);
            const std::string found{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
            ++reads.all;
            if (found == text) {
                continue;
            }
            ++(found.empty() ? reads.empty : text.compare(0, found.size(), found) == 0 ? reads.cut : reads.wrong);
        }
    }
    return reads;
}

volatile std::sig_atomic_t stop_reading = 0;

// Files are opened anew and rewritten in one write, as their readers know them: between the two a reader may find them
// empty or cut, and never anything else.
TEST_F(SoakTest, AReaderFindsTheOldTheNewOrABeginning) {
    lab::Plan plan;
    plan.agents = 16;
    plan.stations = 400;
    const lab::World world(lab::generate(plan));
    place(world);
    silently([&] {
        cycle();
        (void)module_.writeJsonqo1905log();
    });
    std::vector<std::pair<std::string, std::string>> whole;
    for (const char *path : {kModel, kChangeLog, kAssoc24G, kAssoc5G}) {
        whole.emplace_back(path, read_file(path));
    }
    (void)parse_json(whole[0].second);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t reader = fork();
    ASSERT_GE(reader, 0);
    if (reader == 0) {
        (void)std::signal(SIGTERM, [](int) { stop_reading = 1; });
        const Reads reads = read_on(whole, stop_reading);
        _exit(write(ends[1], &reads, sizeof(reads)) == sizeof(reads) ? 0 : 1);
    }
    const unsigned rewrites = either(10000U, 500U);
    for (unsigned i = 0; i < rewrites; ++i) {
        (void)module_.writeJsonDataModel();
        (void)module_.updateWifiAssocList();
        (void)module_.writeJsonqo1905log();
    }
    (void)kill(reader, SIGTERM);
    Reads reads;
    ASSERT_EQ(read(ends[0], &reads, sizeof(reads)), static_cast<ssize_t>(sizeof(reads)));
    int status = -1;
    ASSERT_EQ(waitpid(reader, &status, 0), reader);
    EXPECT_EQ(status, 0);
    close(ends[0]);
    close(ends[1]);
    std::printf(
        "%u rewrites of a model of %zu KiB, without a pause: %lu reads, %lu found a file empty, %lu cut, %lu wrong\n",
        rewrites, whole[0].second.size() / 1024, reads.all, reads.empty, reads.cut, reads.wrong);
    EXPECT_GT(reads.all, 10U);
    EXPECT_EQ(reads.wrong, 0U);
}

}  // namespace
