// Files to read snapshots from: the meshes whose files were written by hand, and texts.
#pragma once

#include <string>

#include "reader/input.h"
#include "reader/snapshot.h"

inline reader::Input input_of(const std::string &file, const std::string &text) {
    return {file, text, std::chrono::system_clock::from_time_t(1700000042), std::nullopt};
}

inline reader::Input missing(const std::string &file) {
    reader::Input input;
    input.file = file;
    input.problem = reader::Problem{reader::Problem::Kind::kMissing, file, "No such file or directory"};
    return input;
}

// Nothing is there; read at the time that the meshes' files were written, and ten seconds.
inline reader::Inputs no_inputs() {
    reader::Inputs inputs;
    inputs.source = "test";
    inputs.read_at = std::chrono::system_clock::from_time_t(1700000052);
    inputs.model = missing("qo1905.json");
    inputs.dump = missing("dump.txt");
    inputs.leases = missing("dnsmasq.leases");
    inputs.list_24g = missing("ecnt_agent_assoc_list.24g");
    inputs.list_5g = missing("ecnt_agent_assoc_list.5g");
    return inputs;
}

// A Controller and two Agents in a chain, nine stations: everything there but the leases.
inline reader::Inputs two_agents() {
    const std::string mesh = QO1905_SOURCE_DIR "/tests/fixtures/meshes/two_agents/";
    reader::Inputs inputs = no_inputs();
    inputs.model = input_of("qo1905.json", reader::read_file(mesh + "expected/qo1905.json").text);
    inputs.dump = input_of("dump.txt", reader::read_file(mesh + "dump.json").text);
    inputs.list_24g = input_of("24g", reader::read_file(mesh + "expected/ecnt_agent_assoc_list.24g").text);
    inputs.list_5g = input_of("5g", reader::read_file(mesh + "expected/ecnt_agent_assoc_list.5g").text);
    return inputs;
}

inline reader::Mac mac(const std::string &text) { return reader::Mac::parse(text).value(); }
