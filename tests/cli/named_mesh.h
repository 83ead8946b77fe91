// A mesh whose files were written by hand, with names.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "cli/output.h"
#include "tests/reader/inputs.h"

inline reader::Inputs named_inputs() {
    reader::Inputs inputs = two_agents();
    inputs.leases = input_of("leases",
                             "1 02:57:00:00:00:01 192.168.1.101 phone *\n1 02:57:00:00:00:05 192.168.1.105 phone *\n"
                             "1 02:0b:00:00:00:01 192.168.1.22 cellar *\n1 02:00:00:00:00:01 192.168.1.1 gateway *\n");
    return inputs;
}

class NamedMesh : public testing::Test {
protected:
    reader::Snapshot snapshot_ = reader::make_snapshot(named_inputs());
};

inline cli::Options as(cli::Format format, std::vector<std::string> columns = {}) {
    cli::Options options;
    options.format = format;
    options.columns = std::move(columns);
    return options;
}

// What a terminal would obey, in no output.
inline void expect_harmless(const std::string &text) {
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_EQ(text.find('\x07'), std::string::npos);
    EXPECT_EQ(text.find("\xe2\x80\xae"), std::string::npos);
}

inline std::vector<std::string> strangers_names() {
    return {"a\tb\nc", "\x1b]0;x\x07", std::string(100000, 'x'), "\xe2\x80\xae", "\"'`$(reboot)|;"};
}
