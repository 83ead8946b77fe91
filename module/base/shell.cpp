#include "module/base/shell.h"

#include <cstdlib>

#include "module/base/json_text.h"

namespace qo1905 {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_word_character(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ':' || c == '.' || c == '_' ||
           c == '-';
}

bool is_special_in_double_quotes(char c) { return c == '"' || c == '\\' || c == '$' || c == '`'; }

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

bool is_process_id_line(Text line) {
    constexpr std::size_t kMostDigits = 9;  // far above any process id, far below any overflow
    std::size_t i = 0;
    std::size_t digits = 0;
    unsigned value = 0;
    while (i < line.size() && is_blank(line[i])) {
        ++i;
    }
    for (; i < line.size() && is_digit(line[i]) && digits <= kMostDigits; ++i, ++digits) {
        value = value * 10 + static_cast<unsigned>(line[i] - '0');
    }
    while (i < line.size() && is_blank(line[i])) {
        ++i;
    }
    // No carriage return: to a shell that is part of a word.
    i += i < line.size() && line[i] == '\n' ? 1U : 0U;
    return i == line.size() && digits <= kMostDigits && value > 1;
}

void append_quoted_json(TextBuffer &out, Text value) {
    escape_json(value, [&out](Text piece) {
        for (const char c : piece) {
            if (is_special_in_double_quotes(c)) {
                out.append('\\');
            }
            out.append(c);
        }
    });
}

}  // namespace qo1905
