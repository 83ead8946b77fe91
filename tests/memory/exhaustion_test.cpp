// Whole actions of the module while one thing after the other runs out: every allocation, json-c's included, every
// descriptor, every process, the disk. After each the module has said what it has to say, nothing is lost (the leak
// checker of the sanitizer build watches), and the next cycle with everything at hand gives exactly the full files.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "tests/support/failing_allocations.h"
#include "tests/support/meshes.h"
#include "tests/support/module_test.h"

using testing::AnyOf;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

constexpr char kMesh[] = "two_agents";

class ExhaustionTest : public ModuleTest {
protected:
    ~ExhaustionTest() override { allocate_again(); }

    // Everything that the mesh's cycle needs, but not the cycle.
    static void prepare() {
        (void)build_mesh(kMesh);
        fake::host.dump = fixture("meshes/two_agents/dump.json");
        fake::host.known_devices = {"02:0a:00:00:00:01"};
        for (int i = 1; i <= 2; ++i) {
            (void)receive(fixture("meshes/two_agents/report-" + std::to_string(i) + ".json"));
        }
    }

    // A cycle with everything at hand gives exactly the full files.
    void expect_full_files() {
        ASSERT_EQ(build_mesh(kMesh), 0);
        fake::host.now = 1700000042;
        EXPECT_EQ(module_.writeJsonDataModel(), 0);
        EXPECT_EQ(module_.updateWifiAssocList(), 0);
        EXPECT_EQ(module_.writeJsonqo1905log(), 0);
        for (const char *path : {kModel, kChangeLog, kAssoc24G, kAssoc5G}) {
            const std::string name = std::string(path).substr(sizeof("/tmp/") - 1);
            ASSERT_EQ(read_file(path), fixture("meshes/two_agents/expected/" + name)) << path;
        }
    }

    // Runs `action` with allocation 1, 2, 3, ... failing, alone and with all that follow, until none fails any more.
    // Returns how many there are.
    long fail_each_allocation(const std::function<void()> &action, const std::function<void()> &check) {
        // The full files after each would take minutes; ./dev soak has them.
        const long step = std::getenv("QO1905_SOAK") != nullptr ? 1 : 7;
        long count = 0;
        for (const auto fail : {fail_allocation, fail_allocations_from}) {
            bool failed = true;
            for (long k = 1; failed; ++k) {
                prepare();
                printed_ = printed_by([&] {
                    fail(k);
                    action();
                    failed = failed_ = allocation_failed();
                    allocate_again();
                });
                count = k - 1;
                check();
                if (k % step == 0 || !failed) {
                    expect_full_files();
                }
                EXPECT_FALSE(HasFailure()) << "allocation " << k << " failed";
                if (HasFailure()) {
                    return count;
                }
            }
        }
        return count;
    }

    std::string printed_;
    bool failed_ = false;  // an allocation did
};

TEST_F(ExhaustionTest, OfMemoryInACycleOfTheController) {
    int32_t result = 0;
    const long count = fail_each_allocation([&] { result = module_.checkUpdate1905Information(); },
                                            [&] {
                                                EXPECT_EQ(result, 1);  // what the sender returns, whatever happened
                                                if (file_exists(kModel)) {
                                                    (void)parse_json(read_file(kModel));
                                                }
                                            });
    EXPECT_GT(count, 300);
    std::printf("%ld allocations in a cycle\n", count);
}

TEST_F(ExhaustionTest, OfMemoryInACycleOfAnAgent) {
    int32_t result = 0;
    fail_each_allocation(
        [&] {
            fake::host.role = "2";
            fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 65, {}}, {"02:57:00:00:00:02", 72, {}}};
            result = module_.checkUpdate1905Information();
        },
        [&] {
            EXPECT_EQ(result, 1);
            // The report is sent all the same, and is JSON.
            EXPECT_THAT(fake::commands().back(), HasSubstr("tx_higher_layer_data \"02:c0:00:00:00:01\" 1 "));
        });
}

TEST_F(ExhaustionTest, OfMemoryInAWriter) {
    for (int32_t (*write)() : {module_.writeJsonDataModel, module_.updateWifiAssocList, module_.writeJsonqo1905log}) {
        fail_each_allocation(
            [&] { (void)write(); },
            [&] { EXPECT_EQ(printed_.find("no memory, ") != std::string::npos, failed_) << printed_; });
    }
}

TEST_F(ExhaustionTest, OfMemoryForAnIndexOfLinksEndsTheEntry) {
    const Json topology = parse_json(
        R"([{}, {"BH Info": [{}], "backhaul link metrics": [{"neighbor_al": "1", "metrics": [{"neighbor_if_mac": "2"}]}]}])");
    build("");
    // The two fixed interfaces, then both parts of the index.
    for (const long lost : {3L, 4L}) {
        qo1905_device *device = append_node(module_.getNetTopolTable()->IEEE1905Device);
        fail_allocation(lost);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.getNbrDevInfo(topology.get(), device, 1), 16); }),
                  "getNbrDevInfo: Alloc struct buf failed!!\n");
        allocate_again();
        EXPECT_EQ(nodes(device->Interface).size(), 2U);
        EXPECT_EQ(device->IEEE1905Neighbor, nullptr);
    }
}

TEST_F(ExhaustionTest, OfMemoryInAReport) {
    const std::string report = fixture("meshes/two_agents/report-1.json");
    int32_t result = 0;
    const long count = fail_each_allocation(
        [&] { result = receive(report); },
        [&] {
            EXPECT_THAT(result, AnyOf(0, 16));
            EXPECT_EQ(result == 16, printed_.find("Table = NULL !!\n") != std::string::npos) << printed_;
        });
    EXPECT_GT(count, 20);
}

TEST_F(ExhaustionTest, OfMemoryInACommand) {
    const std::string order = R"({"SrcAlMac": "02:c0:00:00:00:01", "Interface": "ra0", "Enable": "false",
                                  "FilterMode": 0, "FilterLists": "02-57-00-00-00-01,02:57:00:00:00:02"})";
    fail_each_allocation(
        [&] {
            fake::host.role = "2";
            EXPECT_EQ(module_.higherLayerDataRcvHandle(order.c_str(), static_cast<int32_t>(order.size())), 0);
        },
        [&] {
            for (const std::string &command : fake::commands()) {
                EXPECT_THAT(command, testing::StartsWith("mapd_cli /tmp/mapd_ctrl block_acl 2 1 02:57:00:00:00:0"));
            }
        });
}

// ---- calls of the system ----

TEST_F(ExhaustionTest, OfEveryCallOfTheSystemInACycle) {
    for (const char *call : {"open", "popen", "system", "write"}) {
        for (const char *role : {"1", "2"}) {
            bool failed = true;
            for (int number = 1; failed; ++number) {
                prepare();
                // The REST server is looked after once per role.
                fake::host.role = *role == '1' ? "2" : "1";
                (void)module_.highLayerDataSend();
                fake::host.role = role;
                int32_t result = 0;
                const std::string printed = printed_by([&] {
                    fake::host.failing_call = call;
                    fake::host.failing_number = number;
                    result = module_.checkUpdate1905Information();
                    failed = fake::host.failing_number == 0;
                    fake::host.failing_number = 0;
                });
                EXPECT_EQ(result, 1) << call << ' ' << number;
                EXPECT_EQ(printed.find("highLayerDataSend [") != std::string::npos,
                          failed && std::string(call) == "popen")
                    << printed;
                expect_full_files();
                ASSERT_FALSE(HasFailure()) << call << ' ' << number << " in role " << role;
                ASSERT_LT(number, 100);
            }
        }
    }
}

// Truly none: even the dump cannot be opened.
TEST_F(ExhaustionTest, OfDescriptors) {
    for (const char *role : {"1", "2"}) {
        prepare();
        fake::host.role = role;
        rlimit limit = {};
        ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
        std::string printed;
        int32_t result = 0;
        const rlimit none = {3, limit.rlim_max};
        const auto run_cycle =
            module_.checkUpdate1905Information;  // a sanitizer's look at an object takes a descriptor
        printed = printed_by([&] {
            EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
            fake::host.real_shell = true;
            result = run_cycle();
            fake::host.real_shell = false;
            EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        });
        EXPECT_EQ(result, 1);
        EXPECT_THAT(printed, HasSubstr("[initALTable] second chance - dump information is not ready. \n"
                                       "Update 1905 information Error!!\n"));
        expect_full_files();
    }
}

// Puts the output files elsewhere, by links.
void put_files_at(const std::string &folder) {
    for (const char *path : {kModel, kChangeLog, kAssoc24G, kAssoc5G}) {
        fs::remove(path);
        fs::create_symlink(folder + fs::path(path).filename().string(), path);
    }
}

void put_files_back() {
    for (const char *path : {kModel, kChangeLog, kAssoc24G, kAssoc5G}) {
        fs::remove(path);
    }
}

TEST_F(ExhaustionTest, OfTheDisk) {
    if (!fs::exists("/small")) {
        GTEST_SKIP() << "without namespaces there is no disk of 4 KiB";
    }
    prepare();
    put_files_at("/small/");
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.checkUpdate1905Information(), 1); }), "");
    const std::string small = read_file(kModel);
    put_files_back();
    (void)module_.writeJsonDataModel();
    EXPECT_EQ(small, read_file(kModel).substr(0, small.size())) << "as much of the model as there was room for";
    EXPECT_LE(small.size(), 4096U);
    expect_full_files();
}

TEST_F(ExhaustionTest, OfRoomForASingleByte) {
    prepare();
    for (const char *path : {kModel, kChangeLog, kAssoc24G, kAssoc5G}) {
        fs::remove(path);
        fs::create_symlink("/dev/full", path);
    }
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.checkUpdate1905Information(), 1); }), "");
    put_files_back();
    expect_full_files();
}

TEST_F(ExhaustionTest, OutputThatCannotBeOpenedIsSkipped) {
    for (const char *folder : {"/proc/", "/no/such/folder/"}) {
        prepare();
        put_files_at(folder);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.checkUpdate1905Information(), 1); }), "");
        put_files_back();
        expect_full_files();
    }
}

TEST_F(ExhaustionTest, ADumpThatCannotBeReadLeavesThePreviousFiles) {
    prepare();
    expect_full_files();
    const std::string model = read_file(kModel);
    const std::function<void()> dumps[] = {
        [] { fs::create_directory(kDump); }, [] { ASSERT_EQ(mkfifo(kDump, 0600), 0); },
        [] { fs::create_symlink("/dev/zero", kDump); }, [] { fs::create_symlink(kDump, kDump); }, [] {}};
    for (const auto &put_dump : dumps) {
        fake::host.dump.reset();
        fs::remove_all(kDump);
        put_dump();
        EXPECT_THAT(printed_by([&] { EXPECT_EQ(module_.checkUpdate1905Information(), 1); }),
                    HasSubstr("Update 1905 information Error!!\n"));
        EXPECT_EQ(read_file(kModel), model);
        fs::remove_all(kDump);
    }
    expect_full_files();
}

}  // namespace
