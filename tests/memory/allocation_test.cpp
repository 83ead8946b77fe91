// Every allocation of the module fails once, alone and with all that follow: nothing crashes, nothing leaks (the leak
// checker of the sanitizer build watches), and with memory the next cycle gives exactly the full files.
#include <functional>

#include "module/base/json.h"
#include "module/base/text.h"
#include "module/model/high_layer_table.h"
#include "module/topology/leases.h"

#include "tests/support/failing_allocations.h"
#include "tests/support/meshes.h"
#include "tests/support/module_test.h"

using testing::AnyOf;
using testing::Eq;
using testing::HasSubstr;

namespace {

constexpr long kMany = 100000;

class AllocationTest : public ModuleTest {
protected:
    ~AllocationTest() override { allocate_again(); }

    // Runs `action` with allocation 1, 2, 3, ... failing until none fails any more, and `check` after each. Returns how
    // many there are.
    static long fail_each(const std::function<void()> &action, const std::function<void()> &check) {
        for (const auto fail : {fail_allocation, fail_allocations_from}) {
            for (long k = 1;; ++k) {
                fail(k);
                printed_ = printed_by(action);
                const bool failed = allocation_failed();
                allocate_again();
                if (!failed) {
                    if (fail == fail_allocations_from) {
                        return k - 1;
                    }
                    break;
                }
                check();
                EXPECT_FALSE(HasFatalFailure() || HasNonfatalFailure()) << "allocation " << k << " failed";
                if (HasFailure() || k == kMany) {
                    return k;
                }
            }
        }
        return 0;
    }

    static std::string printed_;
};
std::string AllocationTest::printed_;

TEST_F(AllocationTest, DuringABuild) {
    int32_t result = -1;
    const long count = fail_each([&] { result = build_mesh("two_agents"); },
                                 [&] {
                                     EXPECT_THAT(result, AnyOf(Eq(0), Eq(16)));
                                     // What there is of a table can be written and read.
                                     module_.writeJsonDataModel();
                                     module_.updateWifiAssocList();
                                     fake::host.now = 1700000000;
                                     EXPECT_EQ(build_mesh("two_agents"), 0);
                                     fake::host.now = 1700000042;
                                     module_.writeJsonDataModel();
                                     EXPECT_EQ(read_file(kModel), fixture("meshes/two_agents/expected/qo1905.json"));
                                 });
    EXPECT_GT(count, 50);
}

TEST_F(AllocationTest, OfAFixedInterfaceOrOfABssEndsTheEntryAndKeepsWhatIsThere) {
    struct Case {
        long which;
        std::size_t kept;
        int counted;
    };
    const Json topology = parse_json(R"([{}, {"Number of radios": 1, "Radio Info": [{"BSSINFO": [{"BSSID": "2"}]}]}])");
    build("");
    for (const Case &lost : {Case{1, 0, 2}, Case{2, 1, 2}, Case{3, 2, 3}}) {
        qo1905_device *device = append_node(module_.getNetTopolTable()->IEEE1905Device);
        fail_allocation(lost.which);
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.getNbrDevInfo(topology.get(), device, 1), 16); }),
                  "getNbrDevInfo: Alloc struct buf failed!!\n");
        EXPECT_EQ(nodes(device->Interface).size(), lost.kept);
        EXPECT_EQ(device->InterfaceNumberOfEntries, lost.counted);
        build("");
    }
}

TEST_F(AllocationTest, OfALocalInterfaceLeavesTheOnesBefore) {
    fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}, {"rai0", "02:00:00:00:00:12"}, {"ra0", "02:00:00:00:00:13"}};
    put_dump("");
    fail_allocation(4);  // the text of the dump, the root and one interface before it
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), "");
    EXPECT_EQ(nodes(module_.getIntfTable()).size(), 1U);
    EXPECT_EQ(module_.getAlTable()->InterfaceNumberOfEntries, 3);
    EXPECT_EQ(module_.getNetTopolTable()->Enable, 0U);
}

TEST_F(AllocationTest, SixteenIsANumberOfStationsToo) {
    fake::host.role = "2";
    for (int i = 0; i < 20; ++i) {
        fake::host.stations["ra0"].push_back({"02:57:00:00:00:01", 7, {}});
    }
    fail_allocation(19);  // the query record, then seventeen stations
    EXPECT_EQ(printed_by([&] { module_.highLayerDataSend(); }), "tmpEcntWifiInfoTable = NULL !!\n");
    const std::string sent = fake::commands().back();
    int listed = 0;
    for (std::size_t at = sent.find("STAMac"); at != std::string::npos; at = sent.find("STAMac", at + 1)) {
        ++listed;
    }
    EXPECT_EQ(listed, 16);
}

TEST_F(AllocationTest, OfTheAgentListIsTold) {
    build("");
    const Json topology = parse_json(R"([{"AL MAC": "02:0a:00:00:00:01", "Device role": "02"}])");
    fail_allocation(1);
    int32_t count = -1;
    EXPECT_EQ(printed_by([&] { count = module_.get1905AgentDevNumber(topology.get()); }),
              "get1905AgentDevNumber: Allocate curLinkMetricInfo structure buf failed!!\n");
    EXPECT_EQ(count, 0);
}

TEST_F(AllocationTest, OfADeviceRecordFailsTheTable) {
    put_dump(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})");
    // The text of the dump, root, one local interface, one agent, the dump's bytes per device; then the device.
    fail_allocation(6);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), "Fail update Ieee1905DevTable!\n");
    EXPECT_EQ(module_.getAlTable(), nullptr);
}

TEST_F(AllocationTest, OfADeviceRecordLeavesTheOnesBeforeWithTheirLeases) {
    const char kAgents[] = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"},
                              {"AL MAC": "02:0a:00:00:00:02", "Device role": "02"})";
    write_file(kLeases, "1 02:0a:00:00:00:01 10.0.0.7 a *\n1 02:0a:00:00:00:02 10.0.0.8 b *\n");
    build(kAgents);
    qo1905_network_topology &network = *module_.getNetTopolTable();
    const qo1905::JsonTree tree = qo1905::json_parse((std::string("[{},") + kAgents + "]").c_str());
    // The dump's bytes per device, the first device with its two interfaces, then the second.
    fail_allocation(5);
    EXPECT_EQ(module_.getIeee1905DevTable(tree.get()), 16);
    allocate_again();
    ASSERT_NE(network.IEEE1905Device, nullptr);
    EXPECT_EQ(network.IEEE1905Device->next, nullptr);
    EXPECT_STREQ(network.IEEE1905Device->Info.DeviceIP, "10.0.0.7");
}

TEST_F(AllocationTest, OfAnIndexOfDevicesFailsTheTable) {
    write_file(kLeases, "1 02:0a:00:00:00:01 10.0.0.7 a *\n");
    qo1905_device device = {};
    device.IEEE1905Id[5] = 1;
    fail_allocations_from(1);
    EXPECT_FALSE(qo1905::merge_leases(&device));
    allocate_again();
    EXPECT_TRUE(qo1905::merge_leases(&device));
    EXPECT_TRUE(qo1905::merge_leases(nullptr));
    put_dump(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})");
    // The text of the dump, root, one local interface, one agent, the dump's bytes per device, the device with two
    // interfaces; then the index.
    fail_allocation(9);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), "Fail update Ieee1905DevTable!\n");
    EXPECT_EQ(module_.getAlTable(), nullptr);
}

TEST_F(AllocationTest, OfAnIndexOfAgentsCountsSixteenStations) {
    build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})");
    fake::host.role = "2";
    fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 1, {}}};
    fail_allocation(2);  // the query record before it
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.highLayerDataSend(), 1); }), "tmpEcntWifiInfoTable = NULL !!\n");
    EXPECT_THAT(fake::commands().back(), HasSubstr("\\\"STAInfo\\\": []}"));
}

TEST_F(AllocationTest, OfTheTextOfTheDumpLeavesTheTableBefore) {
    const auto devices = build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})");
    fail_allocation(1);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }),
              "[initALTable] second chance - dump information is not ready. \n");
    EXPECT_EQ(nodes(module_.getNetTopolTable()->IEEE1905Device), devices);
}

TEST_F(AllocationTest, OfTheRootLeavesNoTable) {
    build("");
    put_dump("");
    fail_allocation(2);  // the text of the dump before it
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.initALTable(), 16); }), "");
    EXPECT_EQ(module_.getAlTable(), nullptr);
}

TEST_F(AllocationTest, OfAReportIsToldAndTheLockIsFree) {
    const char kReport[] =
        R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": "1", "STAInfo": [{"STAMac": "2:57:0:0:0:1", "PhyRate": 5}]})";
    fake::host.role = "1";
    fail_allocation(1);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(receive(kReport), 16); }), "tmpEcnt1905Table = NULL !!\n");
    fail_allocation(2);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(receive(kReport), 16); }), "tmpEcntWifiInfoTable = NULL !!\n");
    // Neither is in the table, and the next one is stored without a message.
    EXPECT_STREQ(build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})")[0]->Info.Hostname, "Unknown");
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(receive(kReport), 0); }), "");
    EXPECT_STREQ(build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})")[0]->Info.FirmwareVersion, "1");
}

TEST_F(AllocationTest, AFailedReportIsTakenOutFromBetweenOthers) {
    const auto report = [](const char *version) {
        return std::string(
                   R"({"SrcAlMac": "2:a:0:0:0:1", "STAInfo": [{"STAMac": "1", "PhyRate": 5}], "FWVersion": ")") +
               version + "\"}";
    };
    fake::host.role = "1";
    receive(report("first"));
    fail_allocation(2);
    EXPECT_EQ(receive(report("second")), 16);
    receive(report("third"));
    log_level = 7;
    EXPECT_STREQ(build(R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})")[0]->Info.FirmwareVersion, "third");
}

// Without memory for the text or for an index the previous file stays.
TEST_F(AllocationTest, OfAWriterLeavesThePreviousFile) {
    ASSERT_EQ(build_mesh("two_agents"), 0);
    fake::host.now = 1700000042;
    const struct {
        int32_t (*write)();
        const char *file;
    } writers[] = {{module_.writeJsonDataModel, kModel},
                   {module_.updateWifiAssocList, kAssoc5G},
                   {module_.writeJsonqo1905log, kChangeLog}};
    for (const auto &writer : writers) {
        writer.write();
        const std::string before = read_file(writer.file);
        int kept = 0;
        const long count = fail_each([&] { writer.write(); },
                                     [&] {
                                         EXPECT_THAT(printed_, AnyOf(Eq(""), HasSubstr("no memory, ")));
                                         EXPECT_EQ(read_file(writer.file), before);
                                         kept += printed_.empty() ? 0 : 1;
                                     });
        EXPECT_GE(count, 1) << writer.file;
        EXPECT_GE(kept, 1) << writer.file;
    }
}

TEST_F(AllocationTest, OfAModelThatHasToGrowLeavesThePreviousFile) {
    const std::string device = R"({"AL MAC": "02:0a:00:00:00:01", "Device role": "02"})";
    std::string devices = device;
    for (int i = 0; i < 40; ++i) {
        devices += "," + device;
    }
    build(devices);
    fake::host.now = 1700000042;
    module_.writeJsonDataModel();
    const std::string before = read_file(kModel);
    const long count = fail_each(
        [&] { module_.writeJsonDataModel(); },
        [&] {
            EXPECT_EQ(printed_, "write_text_file: too large or no memory, /tmp/qo1905.json stays as it was\n");
            EXPECT_EQ(read_file(kModel), before);
        });
    EXPECT_GE(count, 2);
}

TEST_F(AllocationTest, OfAnAgentsReportCountsSixteenStations) {
    fake::host.role = "2";
    fake::host.stations["ra0"] = {{"02:57:00:00:00:01", 1, {}}, {"02:57:00:00:00:02", 2, {}}};
    fail_allocation(1);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.highLayerDataSend(), 1); }), "apAssocDevObj = NULL !!\n");
    EXPECT_THAT(fake::commands().back(), HasSubstr("\\\"STAInfo\\\": []}"));
    fail_allocation(3);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(module_.highLayerDataSend(), 1); }), "tmpEcntWifiInfoTable = NULL !!\n");
    EXPECT_THAT(fake::commands().back(), HasSubstr("[{ \\\"STAMac\\\": \\\"2:57:0:0:0:1\\\", \\\"PhyRate\\\": 1}]}"));
}

TEST_F(AllocationTest, OfTheTimerEventIsTold) {
    fake::host.thread_creation_fails = true;
    fail_allocation(1);
    int32_t result = 0;
    const std::string printed = printed_by([&] { result = module_.qo1905_init(); });
    EXPECT_EQ(printed, "qo1905_init : Can not create thread\nqo1905_init : no memory for the timer event\n");
    EXPECT_EQ(result, 44);
    EXPECT_EQ(fake::count("lanmon_timer_event_add 0 20 20 cycle 0"), 0);
}

}  // namespace
