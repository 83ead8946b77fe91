// The commands of messages/: their exact text, and when they must not be run.
#include "module/messages/commands.h"

#include <gtest/gtest.h>

#include <string>

using namespace qo1905;

namespace {

SendPayload &filled(SendPayload &payload, std::size_t length) {
    payload.clear();
    payload.append(std::string(length, 'x'));
    return payload;
}

TEST(SendCommand, NamesDestinationProtocolAndLength) {
    SendCommand command;
    SendPayload payload;
    EXPECT_EQ(build_send_command(command, "02:0a:00:00:00:01", filled(payload, 3)), SendCommandResult::kBuilt);
    EXPECT_EQ(command.view(), "mapd_cli /tmp/mapd_ctrl tx_higher_layer_data \"02:0a:00:00:00:01\" 1 3 \"xxx\"");
}

TEST(SendCommand, TakesAPayloadUpToItsLimitAndNoMore) {
    SendCommand command;
    SendPayload payload;
    for (const char *destination : {"", "02:0a:00:00:00:01", "a b"}) {
        const std::size_t limit = send_payload_limit(destination);
        EXPECT_EQ(build_send_command(command, destination, filled(payload, limit)), SendCommandResult::kBuilt);
        EXPECT_EQ(build_send_command(command, destination, filled(payload, limit + 1)), SendCommandResult::kTooLong);
    }
    EXPECT_EQ(build_send_command(command, "", filled(payload, kCommandSize)), SendCommandResult::kTooLong);
    EXPECT_EQ(send_payload_limit(std::string(kCommandSize, '1')), 0U);
}

TEST(SendCommand, IsNotBuiltForADestinationThatIsNotPlain) {
    SendCommand command;
    SendPayload payload;
    for (const char *destination : {"$(x)", "a\"b", "-n", "a\n", "`x`"}) {
        EXPECT_EQ(build_send_command(command, destination, filled(payload, 1)), SendCommandResult::kNotPlain);
    }
}

TEST(KillCommand, TakesOneProcessId) {
    KillCommand command;
    EXPECT_TRUE(build_kill_command(command, "1234\n"));
    EXPECT_EQ(command.view(), "kill -9 1234\n");
    for (const char *line : {"1", "-1", "0", "12 13", "x", "", "12;13"}) {
        EXPECT_FALSE(build_kill_command(command, line)) << line;
    }
}

TEST(BlockCommand, PutsAStationInOrTakesItOut) {
    BlockCommand command;
    EXPECT_TRUE(build_block_command(command, true, "02:57:00:00:00:01", "02:0a:00:00:06:00"));
    EXPECT_EQ(command.view(), "mapd_cli /tmp/mapd_ctrl block_acl 2 1 02:57:00:00:00:01 02:0a:00:00:06:00");
    EXPECT_TRUE(build_block_command(command, false, "x", ""));
    EXPECT_EQ(command.view(), "mapd_cli /tmp/mapd_ctrl block_acl 2 0 0 x ");
}

TEST(BlockCommand, StationIsOneWordAndTheInterfaceAtMostOne) {
    BlockCommand command;
    EXPECT_FALSE(build_block_command(command, true, "a b", "c"));
    EXPECT_FALSE(build_block_command(command, true, " ", "c"));
    EXPECT_FALSE(build_block_command(command, true, "a", "b c"));
    EXPECT_FALSE(build_block_command(command, true, "a;b", "c"));
    EXPECT_FALSE(build_block_command(command, true, "a", "$c"));
}

TEST(BlockCommand, IsCutAtItsBuffer) {
    BlockCommand command;
    EXPECT_TRUE(build_block_command(command, true, std::string(200, '1'), "c"));
    EXPECT_EQ(command.length(), kBlockCommandSize - 1);
}

}  // namespace
