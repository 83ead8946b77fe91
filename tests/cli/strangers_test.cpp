// A mesh in which everybody has chosen a name to make programs do something: what goes out stays what it is.
#include <set>
#include <sstream>

#include "cli/exports.h"
#include "cli/happenings.h"
#include "cli/health.h"
#include "cli/pictures.h"
#include "cli/tables.h"
#include "cli/text.h"
#include "reader/json.h"
#include "reader/json_form.h"
#include "tests/cli/named_mesh.h"
#include "tests/support/attempts.h"

using cli::Format;
using cli::Options;
using testing::StartsWith;

namespace {

std::vector<std::string> all_attempts() {
    std::vector<std::string> texts = attempts();
    for (const std::string &text : terminal_attempts()) {
        texts.push_back(text);
    }
    return texts;
}

reader::Mac numbered(const char *prefix, std::size_t number) {
    char text[64];
    (void)std::snprintf(text, sizeof(text), "%s:%02zx:%02zx", prefix, number / 256, number % 256);
    return mac(text);
}

// A device and a station for each attempt; a reader hands out UTF-8 alone.
class StrangersTest : public NamedMesh {
protected:
    StrangersTest() {
        reader::Device device = snapshot_.devices[1];
        reader::Station station = snapshot_.stations[0];
        const std::size_t old_devices = snapshot_.devices.size();
        for (std::size_t i = 0; i < texts_.size(); ++i) {
            const std::string text = reader::valid_utf8(texts_[i]);
            device.al_mac = numbered("02:ff:00:00", i);
            device.name = device.firmware = device.address = text;
            snapshot_.devices.push_back(device);
            station.mac = numbered("02:ff:01:00", i);
            station.device = device.al_mac;
            station.name = station.address = station.interface_name = text;
            snapshot_.stations.push_back(station);
        }
        std::sort(snapshot_.stations.begin(), snapshot_.stations.end(),
                  [](const reader::Station &a, const reader::Station &b) { return a.mac < b.mac; });
        devices_ = old_devices + texts_.size();
    }

    // Only printable text and line ends, and nothing that turns text round or hides it.
    static void expect_only_text(const std::string &text) {
        std::string without_ends = text;
        without_ends.erase(std::remove(without_ends.begin(), without_ends.end(), '\n'), without_ends.end());
        EXPECT_TRUE(cli::visible(without_ends) == without_ends);
        EXPECT_EQ(reader::valid_utf8(text), text);
    }

    const std::vector<std::string> texts_ = all_attempts();
    std::size_t devices_ = 0;
};

std::size_t lines_of(const std::string &text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(StrangersTest, ThereAreHundreds) { EXPECT_GT(texts_.size(), 370U); }

TEST_F(StrangersTest, RowsStayRows) {
    for (const Format format : {Format::kTable, Format::kWide, Format::kTsv, Format::kValue}) {
        const Options options = as(format);
        const std::size_t header = format == Format::kValue ? 0 : 1;
        const std::string devices = print(cli::devices_table(snapshot_, options), options, {}, "devices");
        EXPECT_EQ(lines_of(devices), devices_ + header);
        const std::string stations = print(cli::stations_table(snapshot_, {}, options), options, {}, "stations");
        EXPECT_EQ(lines_of(stations), snapshot_.stations.size() + header);
        for (std::string text : {devices, stations}) {
            if (format == Format::kTsv || format == Format::kValue) {
                std::istringstream rows(text);
                std::string first, row;
                std::getline(rows, first);
                const auto tabs = std::count(first.begin(), first.end(), '\t');
                while (std::getline(rows, row)) {
                    EXPECT_EQ(std::count(row.begin(), row.end(), '\t'), tabs) << row;
                }
                text.erase(std::remove(text.begin(), text.end(), '\t'), text.end());
            }
            expect_only_text(text);
        }
    }
}

TEST_F(StrangersTest, PicturesHaveTheLinesTheyShouldHave) {
    const std::string tree = cli::tree_text(snapshot_, {}, true);
    EXPECT_EQ(lines_of(tree), devices_ + snapshot_.stations.size());
    expect_only_text(tree);
    expect_only_text(cli::status_text(snapshot_, cli::health_of({snapshot_}, 0), {}));
    for (const reader::Station &station : snapshot_.stations) {
        cli::Found found;
        found.stations = {&station};
        found.devices = {snapshot_.find_device(station.device)};
        expect_only_text(cli::show_text(snapshot_, found, {}));
        const std::string path = cli::path_text(snapshot_, station, {});
        EXPECT_EQ(lines_of(path), cli::way_of(snapshot_, station.device).size() * 2 + 1);
        expect_only_text(path);
    }
}

TEST_F(StrangersTest, JsonStaysJsonAndSaysWhatTheyAreCalled) {
    const auto whole = nlohmann::json::parse(reader::to_json(snapshot_).dump());
    std::multiset<std::string> names;
    for (const auto &station : whole["stations"]) {
        names.insert(station.value("name", ""));
    }
    for (const std::string &text : texts_) {
        EXPECT_GT(names.count(reader::valid_utf8(text)), 0U) << text;
    }
}

TEST_F(StrangersTest, SentencesAreOneLineEach) {
    reader::Snapshot before = snapshot_;
    before.stations.clear();
    for (reader::Device &device : before.devices) {
        device.firmware = "before";
    }
    const auto events = reader::events(before, snapshot_);
    EXPECT_GT(events.size(), 2 * texts_.size() - 1);
    for (const reader::Event &event : events) {
        const std::string text = cli::event_text(snapshot_, event, {});
        EXPECT_EQ(lines_of(text), 0U);
        expect_only_text(text);
    }
}

// What the format's own grammar says: a comment, or a name, labels in braces whose values have no bare quote or line
// end, and a number.
bool is_sample(const std::string &line) {
    std::size_t at = line.find_first_of("{ ");
    if (at == std::string::npos) {
        return false;
    }
    for (bool in_labels = line[at] == '{'; in_labels;) {
        const std::size_t quote = line.find("=\"", at);
        if (quote == std::string::npos) {
            return false;
        }
        for (at = quote + 2; at < line.size() && line[at] != '"'; ++at) {
            at += line[at] == '\\' ? 1 : 0;
        }
        ++at;
        in_labels = at < line.size() && line[at] == ',';
    }
    at += line[at] == '}' ? 1 : 0;
    char *end = nullptr;
    (void)std::strtod(line.c_str() + at, &end);
    return line[at] == ' ' && *end == '\0';
}

TEST_F(StrangersTest, MetricsStayMetrics) {
    const std::string page = cli::prometheus_text(snapshot_, {cli::Series::kAll, 10000, cli::kWeakSignal});
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(line[0] == '#' || is_sample(line)) << line;
        EXPECT_THAT(line,
                    testing::AnyOf(StartsWith("# HELP qo1905_"), StartsWith("# TYPE qo1905_"), StartsWith("qo1905_")));
    }
}

TEST_F(StrangersTest, GraphsStayGraphs) {
    const std::string dot = cli::dot_text(snapshot_, {}, true);
    EXPECT_EQ(lines_of(dot), 3 + devices_ * 2 - 1 + snapshot_.stations.size() * 2);
    expect_only_text(dot);
    const auto graph = nlohmann::json::parse(cli::netjson(snapshot_, true).dump());
    EXPECT_EQ(graph["nodes"].size(), devices_ + snapshot_.stations.size());
}

}  // namespace
