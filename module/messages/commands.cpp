#include "module/messages/commands.h"

#include "module/base/paths.h"
#include "module/base/shell.h"

namespace qo1905 {
namespace {

constexpr char kProtocol[] = " 1 ";

}  // namespace

std::size_t send_payload_limit(Text destination) {
    constexpr std::size_t kMaxLengthDigits = 4;
    constexpr std::size_t kQuotes = 4;
    constexpr std::size_t kFixed = Text(kSendCommand).size() + Text(kProtocol).size() + kMaxLengthDigits + 1 + kQuotes;
    const std::size_t taken = kFixed + destination.size();
    return taken < kCommandSize - 1 ? kCommandSize - 1 - taken : 0;
}

SendCommandResult build_send_command(SendCommand &command, Text destination, const SendPayload &payload) {
    command.clear();
    if (bare_words(destination) < 0) {
        return SendCommandResult::kNotPlain;
    }
    command.append(kSendCommand);
    command.append('"');
    command.append(destination);
    command.append('"');
    command.append(kProtocol);
    command.append_number(static_cast<std::uint32_t>(payload.length()));
    command.append(" \""sv);
    command.append(payload.view());
    command.append('"');
    const bool whole = !command.truncated() && !payload.truncated();
    return whole ? SendCommandResult::kBuilt : SendCommandResult::kTooLong;
}

bool build_kill_command(KillCommand &command, Text line) {
    command.clear();
    if (!is_process_id_line(line)) {
        return false;
    }
    command.append(kKillCommand);
    command.append(line);
    return !command.truncated();
}

bool build_block_command(BlockCommand &command, bool block, Text station, Text interface_text) {
    command.clear();
    const int interface_words = bare_words(interface_text);
    if (bare_words(station) != 1 || interface_words < 0 || interface_words > 1) {
        return false;
    }
    command.append(block ? Text(kBlockCommand) : Text(kUnblockCommand));
    command.append(station);
    command.append(' ');
    command.append(interface_text);
    return true;
}

}  // namespace qo1905
