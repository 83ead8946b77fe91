// The rates of stations in meshes with many reports per Agent, many stations per report and many doubles, against the
// rule written down plainly: all reports of the Agent in turn, in each the first entry of the station; the last one
// wins.
#include <random>

#include "tests/support/module_test.h"

namespace {

constexpr int kAgents = 4;
constexpr int kStations = 12;

struct Reported {
    int agent;
    std::vector<std::pair<int, int>> stations;  // station, rate
};

std::string agent_mac(int agent) { return "02:0a:00:00:00:0" + std::to_string(agent); }
std::string station_mac(int station) { return "02:57:00:00:00:" + std::to_string(10 + station); }

std::string payload(const Reported &report) {
    std::string text = R"({"SrcAlMac": ")" + agent_mac(report.agent) + R"(", "FWVersion": "1", "STAInfo": [)";
    for (const auto &[station, rate] : report.stations) {
        text += (text.back() == '[' ? "" : ",") + (R"({"STAMac": ")" + station_mac(station)) + R"(", "PhyRate": )" +
                std::to_string(rate) + "}";
    }
    return text + "]}";
}

int expected_rate(const std::vector<Reported> &reports, int agent, int station) {
    int rate = 0;
    for (const Reported &report : reports) {
        if (report.agent != agent) {
            continue;
        }
        for (const auto &[reported, value] : report.stations) {
            if (reported == station) {
                rate = value;
                break;
            }
        }
    }
    return rate;
}

// Every Agent with every station, twice.
std::string devices() {
    std::string stations;
    for (int i = 0; i < 2 * kStations; ++i) {
        stations += (stations.empty() ? "" : ",") + (R"({"STA MAC address": ")" + station_mac(i % kStations)) +
                    R"(", "BH STA": "No", "Medium": "5G"})";
    }
    std::string text;
    for (int agent = 0; agent < kAgents; ++agent) {
        text +=
            (text.empty() ? "" : ",") + (R"({"AL MAC": ")" + agent_mac(agent)) +
            R"(", "Device role": "02", "Number of radios": 1, "Radio Info": [{"channel": "36", "BSSINFO": [{"BSSID": "02:00:00:00:00:01", "connected sta info": [)" +
            stations + "]}]}]}";
    }
    return text;
}

std::vector<Reported> draw_reports(std::mt19937 &random) {
    std::vector<Reported> reports(random() % 20);
    for (Reported &report : reports) {
        report.agent = static_cast<int>(random() % kAgents);
        for (auto i = random() % 20; i > 0; --i) {
            report.stations.emplace_back(random() % kStations, 1 + random() % 1000);
        }
    }
    return reports;
}

using ReportedRateTest = ModuleTest;

TEST_F(ReportedRateTest, IsThatOfTheLastReportAndInItOfTheFirstEntry) {
    std::mt19937 random(1905);
    const std::string mesh = devices();
    std::vector<Reported> merged;  // the reports of the last cycle that had any
    for (int round = 0; round < 200; ++round) {
        const std::vector<Reported> reports = draw_reports(random);
        for (const Reported &report : reports) {
            ASSERT_EQ(receive(payload(report)), 0);
        }
        if (!reports.empty()) {
            merged = reports;
        }
        const auto built = build(mesh);
        ASSERT_EQ(built.size(), static_cast<std::size_t>(kAgents));
        for (int agent = 0; agent < kAgents; ++agent) {
            const auto stations = nodes(built[static_cast<std::size_t>(agent)]->STAInfo);
            ASSERT_EQ(stations.size(), static_cast<std::size_t>(2 * kStations));
            for (int i = 0; i < 2 * kStations; ++i) {
                ASSERT_EQ(stations[static_cast<std::size_t>(i)]->PhyRate, expected_rate(merged, agent, i % kStations))
                    << "round " << round << " agent " << agent << " station " << i;
            }
        }
    }
}

}  // namespace
