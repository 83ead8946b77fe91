// What hostile input may cost: the model's text stays in proportion to what came in, and so does the time; a device
// that would be multiplied is cut inside itself, and all others are whole.
#include <json-c/json.h>

#include <ctime>

#include "tests/support/hostile_shapes.h"
#include "tests/support/meshes.h"
#include "tests/support/module_test.h"

using testing::EndsWith;
using testing::HasSubstr;

namespace {

constexpr std::size_t kPool = 1048576;
constexpr std::size_t kPerDevice = 4096;
constexpr char kCut[] =
    "writeJsonDataModel: IEEE1905Device.2 is cut, it is more than eight times its part of the dump\n";

class HostileTest : public ModuleTest {
protected:
    // One whole cycle; what it printed.
    std::string run(const hostile::Input &input) {
        write_file(kDump, input.dump);
        write_file(kLeases, input.leases);
        return printed_by([&] {
            fake::host.role = "1";
            for (const std::string &report : input.reports) {
                receive(report);
            }
            fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
            fake::host.role = "2";
            if (!input.command.empty()) {
                receive(input.command);
            }
            module_.initALTable();
            module_.writeJsonDataModel();
            module_.updateWifiAssocList();
        });
    }

    std::size_t devices() const {
        const qo1905_network_topology *network = module_.getNetTopolTable();
        return network != nullptr ? nodes(network->IEEE1905Device).size() : 0;
    }

    std::size_t limit(const hostile::Input &input) const {
        return kPool + 8 * input.dump.size() + kPerDevice * devices();
    }
};

TEST_F(HostileTest, EveryShapeKeepsTheTextInProportionAndValid) {
    for (const hostile::Shape &shape : hostile::shapes()) {
        const hostile::Input input = shape.make(40000);
        run(input);
        const std::string model = read_file(kModel);
        EXPECT_LE(model.size(), limit(input)) << shape.name;
        EXPECT_LE(read_file(kAssoc24G).size() + read_file(kAssoc5G).size(), 8 * input.dump.size()) << shape.name;
        parse_json(model);
    }
}

// Where one list is walked inside another, these sizes take minutes; otherwise a tenth of a second. The benchmark has
// the figures.
TEST_F(HostileTest, EveryShapeOfAMegabyteIsDoneInACycle) {
    for (const hostile::Shape &shape : hostile::shapes()) {
        const hostile::Input input = shape.make(shape.name == std::string("tokens of a block list") ? 20000 : 1000000);
        const std::clock_t start = std::clock();  // of the processor, whatever else the machine does
        run(input);
        EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 20) << shape.name;
    }
}

// ---- the cut ----

const char kNeighbor[] =
    R"({"AL MAC": "02:0a:00:00:00:%", "Device role": "02", "Number of radios": 1, "Radio Info": [{"channel": "36",)"
    R"( "BSSINFO": [{"BSSID": "02:0b:00:00:00:%", "connected sta info": [)";

// An Agent as there are many, with so many stations.
std::string usual_agent(char number, int stations) {
    std::string text;
    for (int i = 0; i < stations; ++i) {
        char station[200];
        (void)std::snprintf(station, sizeof(station),
                            R"(%s{"STA MAC address": "02:57:00:%02x:%02x:01", "BH STA": "No", "Medium": "5G"})",
                            i == 0 ? "" : ", ", static_cast<unsigned>(i) / 256, static_cast<unsigned>(i) % 256);
        text += station;
    }
    std::string agent = kNeighbor;
    for (std::size_t at = agent.find('%'); at != std::string::npos; at = agent.find('%')) {
        agent.replace(at, 1, std::string("0") + number);
    }
    return agent + text + "]}]}]}";
}

std::string multiplied_agent(std::size_t bytes) {
    std::string backhauls = "{}";
    while (backhauls.size() < bytes) {
        backhauls += ",{}";
    }
    return R"({"AL MAC": "02:0a:00:00:00:02", "Device role": "02", "BH Info": [)" + backhauls + "]}";
}

TEST_F(HostileTest, ADeviceThatWouldBeMultipliedIsCutAndClosedAndTheOthersAreWhole) {
    const std::string first = usual_agent('1', 3);
    const std::string third = usual_agent('3', 600);
    run({hostile::dump_of(first + "," + third), {}, {}, {}});
    const std::string whole = read_file(kModel);
    const hostile::Input input{hostile::dump_of(first + "," + multiplied_agent(2100) + "," + third), {}, {}, {}};
    EXPECT_EQ(run(input), kCut);
    const std::string model = read_file(kModel);
    parse_json(model);
    EXPECT_LE(model.size(), limit(input));
    EXPECT_EQ(object_text(model, "IEEE1905Device.1"), object_text(whole, "IEEE1905Device.1"));
    EXPECT_EQ(object_text(model, "IEEE1905Device.3"), object_text(whole, "IEEE1905Device.2"));
    // What there is of the one in the middle is an object with whole objects in it.
    const std::string cut = object_text(model, "IEEE1905Device.2");
    EXPECT_GT(cut.size(), kPool / 2 - 1024);
    EXPECT_THAT(cut, HasSubstr("\"IEEE1905NeighborNumberOfEntries\": 701,\n"));
    EXPECT_THAT(cut, HasSubstr("\"IEEE1905Neighbor.1500\": {\n"));
    EXPECT_THAT(cut, EndsWith("\n\t\t\t\t\t\t}\n\t\t\t\t\t}"));
}

TEST_F(HostileTest, AsManyHostileDevicesAsYouLikeLeaveTheOthersWhole) {
    std::string agents = multiplied_agent(2100);
    for (int i = 0; i < 60; ++i) {
        agents += "," + multiplied_agent(2100);
    }
    const std::string usual = usual_agent('1', 500);
    run({hostile::dump_of(usual), {}, {}, {}});
    const std::string whole = object_text(read_file(kModel), "IEEE1905Device.1");
    const hostile::Input input{hostile::dump_of(agents + "," + usual), {}, {}, {}};
    run(input);
    const std::string model = read_file(kModel);
    EXPECT_LE(model.size(), limit(input));
    EXPECT_EQ(object_text(model, "IEEE1905Device.62"), whole);
}

TEST_F(HostileTest, EveryListCanBeTheOneThatIsCut) {
    const struct {
        const char *members;
        const char *element;
        const char *end;
    } lists[] = {
        {R"("Number of radios": 1, "Radio Info": [{"BSSINFO": [)", R"({"BSSID":""})", "]}]"},
        {R"("Other Clients Info": [)", "{}", "]"},
        {R"("Number of radios": 1, "Radio Info": [{"BSSINFO": [{"BSSID": "1", "connected sta info": [)",
         R"({"BH STA":"No"})", "]}]}]"},
        {R"("Number of radios": 1, "Radio Info": [{"BSSINFO": [{"BSSID": "1", "connected sta info": [)",
         R"({"BH STA":"Yes"})", "]}]}]"},
    };
    for (const auto &list : lists) {
        std::string items = list.element;
        while (items.size() < 130000) {
            items += std::string(",") + list.element;
        }
        const hostile::Input input{
            hostile::dump_of(usual_agent('1', 1) + R"(,{"AL MAC": "02:0a:00:00:00:02", "Device role": "02", )" +
                             list.members + items + list.end + "}," + usual_agent('3', 1)),
            {},
            {},
            {}};
        EXPECT_EQ(run(input), kCut) << list.members;
        const std::string model = read_file(kModel);
        parse_json(model);
        EXPECT_LE(model.size(), limit(input));
        EXPECT_EQ(object_text(model, "IEEE1905Device.3").size(), object_text(model, "IEEE1905Device.1").size());
    }
}

TEST_F(HostileTest, AnAgentWithManyMeshChildrenIsWholeBesideHostileOnes) {
    std::string agents = multiplied_agent(2100);
    for (int i = 0; i < 40; ++i) {
        agents += "," + multiplied_agent(2100);
    }
    std::string stations;
    std::string backhauls;
    std::string links;
    for (int i = 0; i < 15; ++i) {
        const std::string comma = i == 0 ? "" : ",";
        const std::string number = std::to_string(10 + i);
        stations += comma + R"({"STA MAC address":"02:0c:00:00:00:)" + number +
                    R"(","BH STA":"Yes","Medium":"5G","uplink rssi":"-50"})";
        backhauls += comma + R"({"neighbor almac addr":"02:0a:00:00:01:)" + number +
                     R"(","connected iface addr":"02:0b:00:00:00:01","Backhaul Medium Type":"5G","RSSI":"-50"})";
        links += comma + R"({"neighbor_al":"02:0a:00:00:01:)" + number +
                 R"(","metrics":[{"neighbor_if_mac":"02:0c:00:00:00:)" + number + "\"}]}";
    }
    agents += R"(,{"AL MAC":"02:0a:00:00:00:09","Device role":"02","Number of radios":1,"Radio Info":[{"channel":"36",)"
              R"("BSSINFO":[{"BSSID":"02:0b:00:00:00:01","connected sta info":[)" +
              stations + R"(]}]}],"BH Info":[)" + backhauls + R"(],"backhaul link metrics":[)" + links + "]}";
    EXPECT_THAT(run({hostile::dump_of(agents), {}, {}, {}}), testing::Not(HasSubstr("IEEE1905Device.42 is cut")));
    const std::string device = object_text(read_file(kModel), "IEEE1905Device.42");
    EXPECT_THAT(device, HasSubstr("\"IEEE1905Neighbor.60\": {\n"));
}

// An element need not be an object, and then takes two bytes.
TEST_F(HostileTest, ElementsOfOneCharacterKeepTheTextInProportion) {
    std::string clients = "1";
    for (int i = 0; i < 100000; ++i) {
        clients += ",1";
    }
    const hostile::Input input{
        hostile::dump_of(R"({"AL MAC":"02:0a:00:00:00:01","Device role":"02","Number of radios":1,"Radio Info":)"
                         R"([{"BSSINFO":[{"BSSID":"x","connected sta info":[{"Medium":"5G"}]}]}],)"
                         R"("Other Clients Info":[)" +
                         clients + R"(],"BH Info":[1,)" + clients + "]}"),
        {},
        {},
        {}};
    run(input);
    EXPECT_LE(read_file(kModel).size(), limit(input));
}

// ---- real meshes ----

TEST_F(HostileTest, AMeshOfAThousandDevicesIsNeverCut) {
    std::string agents;
    for (int d = 0; d < 1000; ++d) {
        char head[400];
        (void)std::snprintf(head, sizeof(head), R"(%s{"AL MAC":"02:0a:00:%02x:%02x:01","Device role":"02",)",
                            d == 0 ? "" : ",", d / 256, d % 256);
        std::string usual = usual_agent('1', 64);
        usual.replace(0, usual.find("\"Number of radios\""), head);
        agents += usual;
    }
    EXPECT_EQ(run({hostile::dump_of(agents), {}, {}, {}}), "");
    const std::string model = read_file(kModel);
    std::size_t stations = 0;
    for (std::size_t at = model.find("\"NonIEEE1905Neighbor."); at != std::string::npos;
         at = model.find("\"NonIEEE1905Neighbor.", at + 1)) {
        ++stations;
    }
    EXPECT_EQ(stations, 64000U);
}

// The shortest that a dump can say of each, behind a hostile device that took what it could of the pool.
TEST_F(HostileTest, ADeviceAsShortAsCanBeIsWholeBesideHostileOnes) {
    std::string hostile_agents = multiplied_agent(2100);
    for (int i = 0; i < 40; ++i) {
        hostile_agents += "," + multiplied_agent(2100);
    }
    std::string stations = R"({"STA MAC address":"2:5:0:0:1:1","BH STA":"No"})";
    std::string clients = R"({"Client Address":"2:e:0:0:0:1"})";
    for (int i = 0; i < 300; ++i) {
        stations += R"(,{"STA MAC address":"2:5:0:0:1:)" + std::to_string(1 + i % 9) + R"(","BH STA":"No"})";
        clients += R"(,{"Client Address":"2:e:0:0:1:)" + std::to_string(1 + i % 9) + "\"}";
    }
    const std::string shortest =
        R"({"AL MAC":"2:a:0:0:0:9","Device role":"02","Number of radios":1,"Radio Info":[{"channel":"1","BSSINFO":[)"
        R"({"BSSID":"2:b:0:0:0:1","connected sta info":[)" +
        stations + R"(]}]}],"Other Clients Info":[)" + clients + "]}";
    const std::string printed = run({hostile::dump_of(hostile_agents + "," + shortest), {}, {}, {}});
    EXPECT_THAT(printed, HasSubstr("IEEE1905Device.1 is cut"));
    EXPECT_THAT(printed, testing::Not(HasSubstr("IEEE1905Device.42 is cut")));
    EXPECT_THAT(object_text(read_file(kModel), "IEEE1905Device.42"), HasSubstr("\"NonIEEE1905Neighbor.602\""));
}

}  // namespace
