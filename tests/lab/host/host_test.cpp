// The stand-alone host, its daemon and the real module together, as programs: what the user types and sees.
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>

#include "lab/mapd/wire.h"
#include "tests/lab/program.h"
#include "tests/support/module_test.h"

using lab_test::wait_until;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string kHost = QO1905_BINARY_DIR "/qo1905-host";
const std::string kMapd = QO1905_BINARY_DIR "/qo1905-mapd";
const std::string kCli = QO1905_BINARY_DIR "/programs/mapd_cli";
const std::string kSamples = QO1905_SOURCE_DIR "/lab/samples/";

struct Result {
    int status;
    std::string output;
    std::string errors;
};

// The programs of a device go first.
const std::string kPath = "PATH=" QO1905_BINARY_DIR "/programs:" QO1905_SOURCE_DIR "/lab/programs:$PATH; ";

// Runs a command line in a shell; its output and its errors apart.
Result run(const std::string &command) {
    const int status = lab_test::run({"sh", "-c", kPath + "{ " + command + "; } >out.txt 2>err.txt"}).status;
    return {status, read_file("out.txt"), read_file("err.txt")};
}

// A program in the background, ended with the test.
class Background : public lab_test::Program {
public:
    explicit Background(const std::string &command) : Program({"sh", "-c", kPath + "exec " + command}) {}
    ~Background() { end(SIGKILL); }
    Background(const Background &) = delete;
    Background &operator=(const Background &) = delete;
};

class HostTest : public ModuleTest {
protected:
    static std::string mapd(const std::string &more = "") {
        return kMapd + " --dump " + kSamples + "home.dump.json " + more;
    }
    static void wait_for_daemon() {
        ASSERT_TRUE(wait_until([] { return file_exists("/tmp/mapd_ctrl"); }));
    }
};

TEST_F(HostTest, RunsCyclesAndTellsEachInALine) {
    const Background daemon(mapd("--reports " + kSamples + "home.reports.json"));
    wait_for_daemon();
    const Result result = run(kHost + " " + kSamples + "controller.device.json --unit 0.02 --cycles 3");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("cycle 1: 3 devices, 2 Agents, 12 stations; 3 files written\n"));
    EXPECT_THAT(result.output, HasSubstr("cycle 3: 3 devices, 2 Agents, 12 stations; 3 files written\n"));
    EXPECT_EQ(result.errors, "");
    parse_json(read_file(kModel));
    // The reports that the daemon delivered are in the model.
    EXPECT_THAT(object_text(read_file(kModel), "IEEE1905Device.1"),
                AllOf(HasSubstr("\"Hostname\": \"living-room\""), HasSubstr("\"RATE\": 151")));
    // The Controller told both Agents the state of its three interfaces, and asked for the REST server once.
    const std::string sent = read_file("/tmp/mapd.log");
    EXPECT_THAT(sent, HasSubstr("tx_higher_layer_data 02:0b:00:00:00:01 1 { \"SrcAlMac\": \"02:c0:00:00:00:01\", "
                                "\"Interface\": \"rai1\", \"Enable\": \"true\"}\n"));
}

TEST_F(HostTest, AnAgentReportsItsStations) {
    const Background daemon(mapd());
    wait_for_daemon();
    EXPECT_EQ(run(kHost + " " + kSamples + "agent.device.json --unit 0.01 --cycles 1").status, 0);
    EXPECT_EQ(read_file("/tmp/mapd.log"),
              "tx_higher_layer_data 02:c0:00:00:00:01 1 { \"SrcAlMac\": \"02:0a:00:00:00:01\", \"FWVersion\": "
              "\"2.4.1\", \"HostName\": "
              "\"living-room\", \"DeviceIP\": \"192.168.1.20\", \"STAInfo\": [{ \"STAMac\": \"2:57:0:0:0:11\", "
              "\"PhyRate\": 65}, { \"STAMac\": "
              "\"2:57:0:0:0:12\", \"PhyRate\": 39}, { \"STAMac\": \"2:57:0:0:0:14\", \"PhyRate\": 866}]}\n");
}

TEST_F(HostTest, ACycleWithoutADaemonWritesNothingAndSaysSo) {
    const Result result = run(kHost + " " + kSamples + "controller.device.json --unit 0.01 --cycles 1");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("Update 1905 information Error!!\n"), HasSubstr("cycle 1: no files written\n")));
}

TEST_F(HostTest, TheFirstCallComesAfterTheFirstDelay) {
    const Background daemon(mapd());
    wait_for_daemon();
    const auto start = std::chrono::steady_clock::now();
    run(kHost + " " + kSamples + "controller.device.json --unit 0.05 --cycles 2");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(HostTest, ACommandFromTheMeshSwitchesAnInterfaceAndFillsTheBlockList) {
    write_file("orders.json",
               R"([{"SrcAlMac": "02:c0:00:00:00:01", "Interface": "rai0", "Enable": "false", "FilterMode": 0,
                                        "FilterLists": "02-57-00-00-00-14,02:57:00:00:00:11"}])");
    const Background daemon(mapd("--reports orders.json"));
    wait_for_daemon();
    const Result result = run(kHost + " " + kSamples + "agent.device.json --unit 0.05 --cycles 2");
    EXPECT_THAT(result.output, HasSubstr("host: rai0 switched off (/etc/wireless/mt7615/mt7615.2.dat, prefix rai)\n"));
    EXPECT_THAT(read_file("/tmp/mapd.log"), AllOf(HasSubstr("block_acl 2 1 02:57:00:00:00:14 02:0a:00:00:95:00\n"),
                                                  HasSubstr("block_acl 2 1 02:57:00:00:00:11 02:0a:00:00:95:00\n")));
}

// On the real wire: a daemon that comes late, and one that is killed and comes back.
TEST_F(HostTest, ADaemonThatComesLateOrRestartsIsAttachedAgain) {
    const Background host(kHost + " " + kSamples + "controller.device.json --unit 0.02 >host.txt 2>&1");
    ASSERT_TRUE(wait_until(
        [] { return file_exists("host.txt") && read_file("host.txt").find("Can't connect to") != std::string::npos; }));
    const auto reported = [] {
        return file_exists(kModel) &&
               object_text(read_file(kModel), "IEEE1905Device.1").find("living-room") != std::string::npos;
    };
    {
        Background daemon(mapd("--reports " + kSamples + "home.reports.json"));
        EXPECT_TRUE(wait_until(reported));
        daemon.end(SIGKILL);
    }
    // The copy of the first reports would hide whether new ones arrive: the new daemon's have another name.
    std::string reports = read_file(kSamples + "home.reports.json");
    reports.replace(reports.find("living-room"), 11, "living-rooM");
    write_file("reports.json", reports);
    const Background again(mapd("--reports reports.json"));
    EXPECT_TRUE(wait_until(
        [] { return object_text(read_file(kModel), "IEEE1905Device.1").find("living-rooM") != std::string::npos; }));
    EXPECT_THAT(read_file("host.txt"), HasSubstr("read error: Connection reset by peer\n"));
}

TEST_F(HostTest, ASignalEndsTheHostAtOnce) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Background host(kHost + " " + kSamples + "controller.device.json >host.txt 2>&1");
        ASSERT_TRUE(wait_until([] { return file_exists("host.txt") && !read_file("host.txt").empty(); }));
        EXPECT_EQ(host.end(signal), 128 + signal);
        std::remove("host.txt");
    }
}

TEST_F(HostTest, HelpAndVersion) {
    const Result help = run(kHost + " --help");
    EXPECT_EQ(help.status, 0);
    for (const char *option : {"DEVICE", "--module", "--unit", "--cycles", "--log-level", "--version"}) {
        EXPECT_THAT(help.output, HasSubstr(option));
    }
    EXPECT_EQ(run(kHost + " --version").output, "1.0.0\n");
    EXPECT_EQ(run(kMapd + " --version").output, "1.0.0\n");
    EXPECT_EQ(run(kMapd + " --help").status, 0);
}

// ---- mistakes: one line, status 2 ----

struct Mistake {
    std::string file;
    std::string message;
};

TEST_F(HostTest, MistakesInTheDescriptionAreToldWithTheirPlace) {
    const std::string good =
        R"("role": "agent", "base_mac": "02:0a:00:00:00:01", "firmware_version": "1", "host_name": "n", "ip": "i")";
    const std::string ra0 = R"(, "wifi": [{"instance": 1, "name": "ra0", "mac": "02:0a:00:00:06:00"}])";
    const Mistake mistakes[] = {
        {"", "line 1: no JSON: "},
        {"{\n\"role\": \n\n}", "line 4: no JSON: "},
        {"[]", "device.json: must be an object"},
        {"{}", "key \"role\" is missing"},
        {"{\"colour\": 1}", "device.json: unknown key \"colour\""},
        {R"({"role": "boss"})", "device.json: role: must be \"controller\" or \"agent\""},
        {R"({"role": "agent", "base_mac": "02:0a"})", "base_mac: must be a MAC address such as \"02:00:00:00:00:01\""},
        {"{" + good + R"(, "wifi": {}})", "wifi: must be an array"},
        {"{" + good + R"(, "wifi": [{"instance": 1, "name": "ra0", "mac": "02:0a:00:00:00:01", "colour": 1}]})",
         "wifi[0]: unknown key \"colour\""},
        {"{" + good + R"(, "wifi": [{"instance": 256, "name": "ra0", "mac": "02:0a:00:00:00:01"}]})",
         "wifi[0].instance: must be a whole number from 1 to 255"},
        {"{" + good + R"(, "wifi": [{"instance": 1, "name": 7}]})", "wifi[0].name: must be a text"},
        {"{" + good + R"(, "wifi": [{"instance": 1, "name": "0123456789012345678901234567890123456789"}]})",
         "wifi[0].name: must be at most 31 bytes long"},
        {"{" + good + R"(, "easymesh": "yes"})", "easymesh: must be true or false"},
        {"{" + good + ra0 + R"(, "stations": {"ra0": [{"mac": "02:57:00:00:00:01"}]}})",
         "stations.ra0[0]: key \"rate\" is missing"},
        {"{" + good + ra0 + R"(, "stations": {"ra0": [{"mac": "ff:ff:ff:ff:ff:ff", "rate": 1}]}})",
         "stations.ra0[0].mac: ff:ff:ff:ff:ff:ff is no device's MAC"},
        {"{" + good + ra0 + R"(, "stations": {"ra1": []}})", "stations.ra1: \"wifi\" has no interface of that name"},
        {"{" + good +
             R"(, "wifi": [{"instance": 1, "name": "ra0", "mac": "02:0a:00:00:06:00"}, {"instance": 2, "name": "ra0", "mac": "02:0a:00:00:06:01"}]})",
         "wifi[1]: an interface of this instance or name is there already"},
        {"{" + good + R"(, "ip": "j"})", "device.json: key \"ip\" is there twice"},
        {"{" + good + R"(, "known_devices": [1]})", "known_devices[0]: must be a text"},
    };
    for (const Mistake &mistake : mistakes) {
        write_file("device.json", mistake.file);
        const Result result = run(kHost + " device.json");
        EXPECT_EQ(result.status, 2) << mistake.file;
        EXPECT_THAT(result.errors, AllOf(StartsWith("qo1905-host: device.json: "), HasSubstr(mistake.message)))
            << mistake.file;
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    }
    const Result missing = run(kHost + " none.json");
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.errors, "qo1905-host: none.json: cannot be read: No such file or directory\n");
}

TEST_F(HostTest, AModuleThatDoesNotLoadIsToldInALine) {
    const std::string device = kSamples + "controller.device.json";
    for (const char *module : {"./none.so", "./device.json", "libm.so.6"}) {
        write_file("device.json", "no module");
        const Result result = run(kHost + " " + device + " --module " + module);
        EXPECT_EQ(result.status, 2) << module;
        EXPECT_THAT(result.errors, AllOf(StartsWith("qo1905-host: "), HasSubstr(module))) << module;
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    }
}

TEST_F(HostTest, WrongArgumentsEndWithStatus2) {
    for (const char *arguments :
         {"", "--cycles x a", "--unit 0 a", "--log-level 10 a", "--frob a", "a b", "--cycles -1 a"}) {
        const Result result = run(kHost + " " + arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_FALSE(result.errors.empty()) << arguments;
    }
    EXPECT_EQ(run(kMapd).status, 2);
    EXPECT_EQ(run(kMapd + " --dump none").errors, "qo1905-mapd: none: cannot be read: No such file or directory\n");
    EXPECT_EQ(run(kMapd + " --dump " + kSamples + "home.dump.json --socket no/such").status, 2);
}

// ---- the daemon and its client ----

TEST_F(HostTest, TheClientTellsWhatTheDaemonAnswers) {
    EXPECT_THAT(run(kCli + " /tmp/mapd_ctrl dump_topology_v1").errors, HasSubstr("no daemon answers"));
    const Background daemon(mapd());
    wait_for_daemon();
    EXPECT_EQ(run(kCli + " /tmp/mapd_ctrl dump_topology_v1").status, 0);
    EXPECT_EQ(read_file(kDump), read_file(kSamples + "home.dump.json"));
    EXPECT_EQ(run(kCli + " /tmp/mapd_ctrl frobnicate").errors, "mapd_cli: FAIL unknown command\n");
    EXPECT_THAT(run(kCli + " /tmp/mapd_ctrl tx_higher_layer_data a 300 1 x").errors, HasSubstr("FAIL usage"));
    EXPECT_THAT(run(kCli + " /tmp/mapd_ctrl tx_higher_layer_data a 1").errors, HasSubstr("FAIL usage"));
    EXPECT_EQ(run(kCli + " /tmp/mapd_ctrl tx_higher_layer_data a 1 1 '{\"a\": \"b c\"}'").status, 0);
    EXPECT_EQ(run(kCli + " /tmp/mapd_ctrl block_acl 2 1 x y").status, 0);
    EXPECT_EQ(read_file("/tmp/mapd.log"), "tx_higher_layer_data a 1 {\"a\": \"b c\"}\nblock_acl 2 1 x y\n");
    EXPECT_EQ(run(kCli).status, 2);
}

TEST_F(HostTest, TheDaemonOutlivesRequestsOfNoForm) {
    const Background daemon(mapd());
    wait_for_daemon();
    const int fd = lab::open_client_socket();
    ASSERT_TRUE(lab::connect_to(fd, "/tmp/mapd_ctrl"));
    for (const auto &words :
         {std::vector<std::string>{}, {""}, {"", "", ""}, {std::string(60000, 'x')}, {"tx_higher_layer_data"}}) {
        EXPECT_THAT(lab::ask(fd, words, 1000), StartsWith("FAIL"));
    }
    EXPECT_THAT(lab::ask(fd, {"PING"}, 1000), StartsWith("OK "));
    close(fd);
}

TEST_F(HostTest, TheDaemonRemovesItsSocketWhenItIsAskedToEnd) {
    Background daemon(mapd());
    wait_for_daemon();
    EXPECT_EQ(daemon.end(SIGTERM), 0);
    EXPECT_FALSE(file_exists("/tmp/mapd_ctrl"));
}

TEST(Wire, RequestsAndEventsKeepTheirBytes) {
    const std::vector<std::string> words = {"a", "", "b c", std::string("\x01\xff")};
    EXPECT_EQ(lab::decode_request(lab::encode_request(words)), words);
    EXPECT_EQ(lab::decode_request(std::string_view("a\0b", 3)), (std::vector<std::string>{"a", "b"}));
    const std::string event = lab::encode_higher_layer_event(1, "{}");
    int32_t words_of_event[2];
    memcpy(words_of_event, event.data(), sizeof(words_of_event));
    EXPECT_EQ(words_of_event[0], 6);
    EXPECT_EQ(words_of_event[1], 3);
    EXPECT_EQ(event.substr(8), "\x01{}");
}

}  // namespace
