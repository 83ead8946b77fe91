#include "cli/mesh.h"

#include "tests/cli/named_mesh.h"

namespace {

using FindTest = NamedMesh;

TEST_F(FindTest, WhoeverGoesByANameAMacOrAnAddress) {
    EXPECT_EQ(cli::find(snapshot_, "phone").stations.size(), 2U);
    EXPECT_EQ(cli::find(snapshot_, "192.168.1.105").stations.size(), 1U);
    EXPECT_EQ(cli::find(snapshot_, "02:57:00:00:00:03").stations.size(), 1U);
    EXPECT_EQ(cli::find(snapshot_, "CELLAR").devices.size(), 1U);
    EXPECT_EQ(cli::find(snapshot_, "02:0b:00:00:95:00").devices.size(), 1U) << "an interface of it";
    EXPECT_EQ(cli::find(snapshot_, "").devices.size() + cli::find(snapshot_, "").stations.size(), 0U);
}

}  // namespace
