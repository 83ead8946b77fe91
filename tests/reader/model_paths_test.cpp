#include "reader/model_paths.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> walked(const std::string &text) {
    std::vector<std::string> lines;
    std::string reason;
    const bool is_json = reader::walk_paths(
        text,
        [&](const std::string &path, const nlohmann::json &value) { lines.push_back(path + " = " + value.dump()); },
        reason);
    if (!is_json) {
        lines.push_back(reason);
    }
    return lines;
}

TEST(ModelPaths, HaveAValueEachInTheOrderOfTheFile) {
    EXPECT_THAT(walked(R"({"Device": {"B": 1, "A": {"X.2": "two", "X.1": true, "Nothing": null}}, "C": -1.5})"),
                ElementsAre("Device.B = 1", "Device.A.X.2 = \"two\"", "Device.A.X.1 = true", "Device.A.Nothing = null",
                            "C = -1.5"));
    EXPECT_THAT(walked("{}"), IsEmpty());
}

TEST(ModelPaths, AListIsOneValue) {
    EXPECT_THAT(walked(R"({"A": ["x", "y"], "B": [], "C": [[1], [2, 3]], "D": 4})"),
                ElementsAre("A = [\"x\",\"y\"]", "B = []", "C = [1,2,3]", "D = 4"));
}

TEST(ModelPaths, OfATextThatIsNoneEndWithTheReason) {
    EXPECT_THAT(walked("{\"A\": 1,\n"), ElementsAre("A = 1", testing::StartsWith("line 2: no JSON: ")));
}

TEST(ModelPaths, AreToldOnceWhenTheFirstReadingFails) {
    EXPECT_THAT(walked("{\"A\": 1, \"B\": \"x\ny\", \"C\": 3}"),
                ElementsAre("A = 1", "B = \"x\xef\xbf\xbdy\"", "C = 3"));
}

TEST(ModelPaths, APatternMeansWhatIsBeneathIt) {
    using reader::matches_path;
    EXPECT_TRUE(matches_path("Device.A.X.1.Name", "Device.A.X.1.Name"));
    EXPECT_TRUE(matches_path("Device.A.X.*.Name", "Device.A.X.1.Name"));
    EXPECT_TRUE(matches_path("Device.*.X.*.Name", "Device.A.X.17.Name"));
    EXPECT_TRUE(matches_path("Device.A.", "Device.A.X.1.Name"));
    EXPECT_TRUE(matches_path("Device.A", "Device.A.X.1.Name"));
    EXPECT_TRUE(matches_path("*", "Device.A"));
    EXPECT_FALSE(matches_path("Device.A.X", "Device.A"));
    EXPECT_FALSE(matches_path("Device.A.X.*.Name.More", "Device.A.X.1.Name"));
    EXPECT_FALSE(matches_path("Device.A.X.1", "Device.A.X.17.Name"));
    EXPECT_FALSE(matches_path("device.A", "Device.A"));
}

}  // namespace
