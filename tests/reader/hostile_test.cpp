// Files that are not what they should be, in every place: nothing is read past an end, and what comes out holds
// together.
#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "reader/json.h"
#include "reader/snapshot.h"
#include "tests/reader/inputs.h"

using reader::Input;
using reader::Inputs;
using reader::Json;
using reader::Snapshot;

namespace {

void expect_sound(const Snapshot &snapshot) {
    for (const reader::Station &station : snapshot.stations) {
        EXPECT_NE(snapshot.find_device(station.device), nullptr);
    }
    for (const reader::Device &device : snapshot.devices) {
        EXPECT_TRUE(!device.parent || snapshot.find_device(*device.parent) != nullptr);
        EXPECT_NE(device.rate, 0);
    }
}

// The model stands there cut, as if nobody had looked at its end.
TEST(HostileFiles, EachIsCutAtEveryByte) {
    const Inputs whole = two_agents();
    for (Input Inputs::*part : {&Inputs::model, &Inputs::dump, &Inputs::list_24g, &Inputs::list_5g}) {
        Inputs inputs = whole;
        const std::string text = (whole.*part).text;
        for (std::size_t size = 0; size < text.size(); ++size) {
            (inputs.*part).text = text.substr(0, size);
            const Snapshot snapshot = reader::make_snapshot(inputs);
            expect_sound(snapshot);
            const bool is_json = part == &Inputs::model || part == &Inputs::dump;
            EXPECT_TRUE(!is_json || size + 2 >= text.size() || !snapshot.missing.empty()) << size;
        }
    }
}

// Every value of a JSON text, replaced by each other kind in turn.
void for_each_wrong_type(const Json &whole, const std::function<void(const std::string &)> &take) {
    const Json others[] = {nullptr, true, -1, 1e300, "", "02:57:00:00:00:ff", Json::array({1, "x"}), {{"x", 1}}};
    const Json flat = whole.flatten();
    for (const auto &item : flat.items()) {
        for (std::string place = item.key(); !place.empty(); place.resize(place.rfind('/'))) {
            for (const Json &other : others) {
                Json copy = whole;
                copy[Json::json_pointer(place)] = other;
                take(copy.dump() + "\n");
            }
        }
    }
}

TEST(HostileFiles, EveryValueIsOfAnotherType) {
    const std::string mesh = QO1905_SOURCE_DIR "/tests/fixtures/meshes/one_agent/";
    Inputs inputs = two_agents();
    inputs.dump.text = reader::read_file(mesh + "dump.json").text;
    for_each_wrong_type(Json::parse(reader::read_file(mesh + "expected/qo1905.json").text),
                        [&](const std::string &text) {
                            inputs.model.text = text;
                            expect_sound(reader::make_snapshot(inputs));
                        });
    inputs.model.text = reader::read_file(mesh + "expected/qo1905.json").text;
    for_each_wrong_type(Json::parse(inputs.dump.text), [&](const std::string &text) {
        inputs.dump.text = text;
        expect_sound(reader::make_snapshot(inputs));
    });
}

TEST(HostileFiles, NestingCostsNoStack) {
    constexpr std::size_t kLevels = 1000000;
    const std::string open(kLevels, '[');
    const std::string close(kLevels, ']');
    Inputs inputs = two_agents();
    for (Input Inputs::*part : {&Inputs::model, &Inputs::dump}) {
        (inputs.*part).text = "{\"Device\": " + open + "1" + close + "}\n";
        expect_sound(reader::make_snapshot(inputs));
    }
}

}  // namespace
