// The one place that runs shell commands, and what makes a stranger's text safe in one. Inside double quotes it is
// escaped; where it stands bare it is looked at first.
#pragma once

#include "module/base/owned.h"
#include "module/base/text.h"

namespace qo1905 {

// Runs a command and waits for it. Its exit status is of no use to this module.
void run_command(const char *command);

// What a command prints, to be read; null when it cannot be run. Programs started meanwhile do not inherit the pipe.
Pipe read_command(const char *command);

// How many words a text is that stands bare in a command; -1 when it may not: it may hold letters, digits, ':', '.',
// '_', '-', blank and tab only, and no word may begin with '-'.
int bare_words(Text text);

// True for one number above 1, with blanks around it and perhaps a line end behind: what `kill` may be given. -1 would
// end the router.
bool is_process_id_line(Text line);

// Appends a value as it has to stand in a JSON string inside a double-quoted shell word: the JSON that the program gets
// holds exactly the value.
void append_quoted_json(TextBuffer &out, Text value);

}  // namespace qo1905
