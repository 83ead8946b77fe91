#include "lab/world/generate.h"

#include <gmock/gmock.h>

#include "tests/lab/world/scenarios.h"

namespace {

TEST(Generate, ScenariosOfEverySizeAndShapeAreValid) {
    for (const lab::Shape shape : {lab::Shape::kStar, lab::Shape::kChain, lab::Shape::kTree}) {
        for (const auto &[agents, stations] : {std::pair(0, 0), {1, 1}, {10, 100}, {11, 300}, {200, 20000}}) {
            lab::Plan plan;
            plan.agents = static_cast<std::size_t>(agents);
            plan.stations = static_cast<std::size_t>(stations);
            plan.shape = shape;
            const lab::Scenario scenario = scenario_from(lab::generate(plan).text());
            EXPECT_EQ(scenario.devices.size(), plan.agents + 1);
            EXPECT_EQ(scenario.stations.size(), plan.stations);
        }
    }
    EXPECT_EQ(lab::generate({}).text(), lab::generate({}).text());
}

}  // namespace
