// Module entry and update cycle.
#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class CycleTest : public ModuleTest {
protected:
    // A cycle that succeeds: an Agent without stations.
    void prepare() {
        fake::host.role = "2";
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
        fake::host.dump = fixture("meshes/one_agent/dump.json");
    }
    void expect_no_files() const {
        for (const char *path : {kModel, kAssoc24G, kAssoc5G, kChangeLog}) {
            EXPECT_FALSE(file_exists(path)) << path;
        }
    }
};

TEST_F(CycleTest, OutsideEasyMeshOperationACycleDoesNothing) {
    for (const int status : {0, 2, -1}) {
        prepare();
        fake::host.easymesh_status = status;
        int32_t result = 0;
        EXPECT_EQ(printed_by([&] { result = module_.checkUpdate1905Information(); }), "");
        EXPECT_EQ(result, 1);
        EXPECT_THAT(fake::calls(), IsEmpty());
        expect_no_files();
    }
}

TEST_F(CycleTest, WithoutADumpACycleSaysSoAndStillSends) {
    prepare();
    fake::host.dump.reset();
    int32_t result = 0;
    const std::string printed = printed_by([&] { result = module_.checkUpdate1905Information(); });
    EXPECT_EQ(printed,
              "[initALTable] second chance - dump information is not ready. \n"
              "Update 1905 information Error!!\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(fake::count("EasyMeshGetDeviceRole 8"), 1);
    EXPECT_THAT(fake::commands(), ElementsAre(kDumpCommand, HasSubstr("tx_higher_layer_data")));
    expect_no_files();
}

TEST_F(CycleTest, ASuccessfulCycleIsSilentBelowLevel7) {
    prepare();
    log_level = 6;
    EXPECT_EQ(printed_by([&] { module_.checkUpdate1905Information(); }), "");
    EXPECT_TRUE(file_exists(kModel));
    EXPECT_TRUE(file_exists(kAssoc24G));
    EXPECT_TRUE(file_exists(kAssoc5G));
    EXPECT_FALSE(file_exists(kChangeLog));  // the host decides when that is written
}

TEST_F(CycleTest, AFailedBuildLeavesThePreviousFiles) {
    prepare();
    module_.checkUpdate1905Information();
    const std::string before = read_file(kModel);
    fake::host.dump = "{";
    const std::string printed = printed_by([&] { module_.checkUpdate1905Information(); });
    EXPECT_THAT(printed, HasSubstr("Update 1905 information Error!!\n"));
    EXPECT_EQ(read_file(kModel), before);
}

TEST_F(CycleTest, RunsTheDumpCommandBeforeThePauseAndTheSenderLast) {
    prepare();
    module_.checkUpdate1905Information();
    std::vector<std::string> order;
    for (const std::string &call : fake::calls()) {
        for (const char *step : {"system mapd_cli", "usleep", "open", "EasyMeshGetDeviceRole"}) {
            if (call.rfind(step, 0) == 0) {
                order.push_back(call.substr(0, call.find(" \"")));
            }
        }
    }
    EXPECT_THAT(order, ElementsAre(std::string("system ") + kDumpCommand, "usleep 100000", "open /tmp/qo1905.json w",
                                   "open /tmp/ecnt_agent_assoc_list.24g w", "open /tmp/ecnt_agent_assoc_list.5g w",
                                   "EasyMeshGetDeviceRole 8", "system mapd_cli /tmp/mapd_ctrl tx_higher_layer_data"));
}

TEST_F(CycleTest, ReturnsWhatTheSenderReturns) {
    prepare();
    fake::host.role_result = 0;
    EXPECT_EQ(module_.checkUpdate1905Information(), 0);
    fake::host.role_result = 1;
    EXPECT_EQ(module_.checkUpdate1905Information(), 1);
    fake::host.controller_mac.reset();
    EXPECT_EQ(module_.checkUpdate1905Information(), -1);
}

TEST_F(CycleTest, InitRegistersTheCycleAndStartsTheReceiver) {
    fake::host.thread_creation_fails = false;
    int32_t result = 0;
    const std::string printed = printed_by([&] {
        result = module_.qo1905_init();
        EXPECT_TRUE(fake::wait_for("mapd_interface_ctrl_open /tmp/mapd_ctrl"));
    });
    EXPECT_THAT(printed, HasSubstr("qo1905_init  : qo1905_event->event_id 42\n"));
    EXPECT_EQ(result, 41);
    std::vector<std::string> start;
    for (const std::string &call : fake::calls()) {
        if (call.rfind("pthread", 0) == 0 || call.rfind("lanmon", 0) == 0) {
            start.push_back(call);
        }
    }
    EXPECT_THAT(start, ElementsAre("pthread_mutex_init", "pthread_create", "lanmon_timer_event_add 0 20 20 cycle 0"));
}

TEST_F(CycleTest, InitWithoutAThreadRegistersTheCycleAllTheSame) {
    fake::host.thread_creation_fails = true;
    EXPECT_EQ(printed_by([&] { module_.qo1905_init(); }),
              "qo1905_init : Can not create thread\n"
              "qo1905_init  : qo1905_event->event_id 42\n");
    EXPECT_EQ(fake::count("lanmon_timer_event_add 0 20 20 cycle 0"), 1);
}

TEST_F(CycleTest, OutsideEasyMeshOperationTheTableAndTheFilesStay) {
    prepare();
    module_.checkUpdate1905Information();
    const qo1905_al_table *table = module_.getAlTable();
    const std::string model = read_file(kModel);
    fake::host.easymesh_status = 0;
    fake::host.dump = fixture("meshes/no_agent/dump.json");
    EXPECT_EQ(module_.checkUpdate1905Information(), 1);
    EXPECT_EQ(module_.getAlTable(), table);
    EXPECT_NE(module_.getNetTopolTable()->IEEE1905Device, nullptr);
    EXPECT_EQ(read_file(kModel), model);
}

TEST_F(CycleTest, AControllersFirstCyclesWithReportsAreSilentBelowLevel7) {
    prepare();
    fake::host.role = "1";
    fake::host.known_devices = {"02:0a:00:00:00:01"};
    log_level = 6;
    EXPECT_EQ(printed_by([&] {
                  receive(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": "1"})");
                  module_.checkUpdate1905Information();
                  receive(R"({"SrcAlMac": "2:a:0:0:0:1", "FWVersion": "2"})");
                  module_.checkUpdate1905Information();
              }),
              "");
}

// A dump command that fails leaves the dump of the cycle before, and that is what the cycle works with.
TEST_F(CycleTest, ADumpThatIsThereAlreadyIsTheDump) {
    prepare();
    module_.checkUpdate1905Information();
    fake::host.dump.reset();
    fake::host.now += 20;
    EXPECT_EQ(printed_by([&] { module_.checkUpdate1905Information(); }), "");
    EXPECT_EQ(module_.getAlTable()->LastChangeTime, static_cast<uint32_t>(fake::host.now));
}

// The daemon may still be writing when its client is done.
TEST_F(CycleTest, TheDumpIsReadAfterThePause) {
    prepare();
    fake::host.dump.reset();
    fake::host.on_pause = [] { write_file(kDump, fixture("meshes/one_agent/dump.json")); };
    EXPECT_EQ(printed_by([&] { module_.checkUpdate1905Information(); }), "");
}

// Every trace of one cycle at level 7, in order, byte for byte.
TEST_F(CycleTest, TracesOfOneAgentCycleAtLevel7) {
    prepare();
    log_level = 7;
    const std::string printed = printed_by([&] { module_.checkUpdate1905Information(); });
    EXPECT_SAME_TEXT(printed, fixture("traces/agent_cycle.txt"));
}

TEST_F(CycleTest, TracesOfOneControllerCycleAtLevel7) {
    prepare();
    fake::host.role = "1";
    fake::host.dump = fixture("meshes/no_agent/dump.json");
    log_level = 9;
    const std::string printed = printed_by([&] { module_.checkUpdate1905Information(); });
    EXPECT_SAME_TEXT(printed, fixture("traces/controller_cycle.txt"));
}

}  // namespace
