#include "module/base/shell.h"

#include <cstdlib>

#include "module/base/json_text.h"
#include "module/base/paths.h"

namespace qo1905 {
namespace {

constexpr char kProtocol[] = " 1 ";
constexpr std::size_t kMaxLengthDigits = 4;

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_word_character(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ':' || c == '.' || c == '_' ||
           c == '-';
}

bool is_special_in_double_quotes(char c) { return c == '"' || c == '\\' || c == '$' || c == '`'; }

// One number above 1, with blanks and line ends around it: -1 would end the router.
bool is_process_id_line(Text line) {
    constexpr std::size_t kMaxDigits = 9;  // far above any process id, far below any overflow
    std::size_t i = 0;
    std::size_t digits = 0;
    unsigned value = 0;
    while (i < line.size() && is_blank(line[i])) {
        ++i;
    }
    for (; i < line.size() && is_digit(line[i]) && digits <= kMaxDigits; ++i, ++digits) {
        value = value * 10 + static_cast<unsigned>(line[i] - '0');
    }
    while (i < line.size() && (is_blank(line[i]) || line[i] == '\r' || line[i] == '\n')) {
        ++i;
    }
    return i == line.size() && digits <= kMaxDigits && value > 1;
}

}  // namespace

void run_command(const char *command) {
    const int status = std::system(command);
    (void)status;
}

Pipe read_command(const char *command) { return Pipe(popen(command, "re")); }

int bare_words(Text text) {
    int words = 0;
    bool word_begins = true;
    for (const char c : text) {
        if (!is_blank(c) && !is_word_character(c)) {
            return -1;
        }
        if (word_begins && c == '-') {
            return -1;
        }
        words += word_begins && !is_blank(c) ? 1 : 0;
        word_begins = is_blank(c);
    }
    return words;
}

void append_quoted_json(SendPayload &out, Text value) {
    escape_json(value, [&out](Text piece) {
        for (const char c : piece) {
            if (is_special_in_double_quotes(c)) {
                out.append('\\');
            }
            out.append(c);
        }
    });
}

std::size_t send_payload_limit(Text destination) {
    constexpr std::size_t kQuotes = 4;
    constexpr std::size_t kFixed =
        literal(kSendCommand).size() + literal(kProtocol).size() + kMaxLengthDigits + 1 + kQuotes;
    const std::size_t taken = kFixed + destination.size();
    return taken < kCommandSize - 1 ? kCommandSize - 1 - taken : 0;
}

bool build_send_command(SendCommand &command, Text destination, Text payload) {
    command.clear();
    command.append(literal(kSendCommand));
    command.append('"');
    command.append(destination);
    command.append('"');
    command.append(literal(kProtocol));
    command.append_number(static_cast<std::uint32_t>(payload.size()));
    command.append(" \""sv);
    command.append(payload);
    command.append('"');
    return bare_words(destination) >= 0 && !command.truncated();
}

bool build_kill_command(KillCommand &command, Text line) {
    command.clear();
    command.append(literal(kKillCommand));
    command.append(line);
    return is_process_id_line(line) && !command.truncated();
}

bool build_block_command(BlockCommand &command, bool block, Text station, Text interface_text) {
    command.clear();
    command.append(block ? literal(kBlockCommand) : literal(kUnblockCommand));
    command.append(station);
    command.append(' ');
    command.append(interface_text);
    const int interface_words = bare_words(interface_text);
    return bare_words(station) == 1 && (interface_words == 0 || interface_words == 1);
}

}  // namespace qo1905
