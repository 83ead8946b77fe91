// Whole meshes, byte for byte: the expected files are written by hand.
#include "tests/support/meshes.h"
#include "tests/support/module_test.h"

namespace {

class GoldenTest : public ModuleTest, public testing::WithParamInterface<const char *> {};

TEST_P(GoldenTest, WritesExactlyTheExpectedFiles) {
    const std::string mesh = GetParam();
    ASSERT_EQ(build_mesh(mesh), QO1905_SUCCESS);
    change_table(mesh);
    fake::host.now = 1700000042;
    EXPECT_EQ(printed_by([&] {
                  EXPECT_EQ(module_.writeJsonDataModel(), 0);
                  EXPECT_EQ(module_.updateWifiAssocList(), 0);
                  EXPECT_EQ(module_.writeJsonqo1905log(), 0);
              }),
              "");
    for (const char *path : {kModel, kChangeLog, kAssoc24G, kAssoc5G}) {
        const std::string expected = "meshes/" + mesh + "/expected/" + std::string(path).substr(sizeof("/tmp/") - 1);
        EXPECT_SAME_TEXT(read_file(path), fixture(expected)) << path;
    }
    module_.initALTable();  // frees what was put in
}

INSTANTIATE_TEST_SUITE_P(Meshes, GoldenTest,
                         testing::Values("no_agent", "one_agent", "two_agents", "by_accessors", "every_code"),
                         [](const auto &mesh) { return std::string(mesh.param); });

}  // namespace
