// The bytes of what a gateway writes, with what is wrong about them; nothing is understood here.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace reader {

using Time = std::chrono::system_clock::time_point;

// Seconds since the epoch; what no clock of ours has shown is the nearest that one could.
Time time_of(std::int64_t seconds);

// Why something cannot be had. A value, for whoever asked to tell.
struct Problem {
    enum class Kind {
        kMissing,     // there is no such file
        kUnreadable,  // there is, and it cannot be read, or is none of that kind
        kTorn,        // it was caught half written, and stayed so
    };
    Kind kind = Kind::kMissing;
    std::string file;
    std::string reason;  // with the place in the file, if there is one: "line 3: ..."

    // On one line.
    std::string text() const { return file + ": " + reason; }
};

// One file as it was found.
struct Input {
    std::string file;  // its path, or what it is called
    std::string text;
    Time time;  // when it was last written
    std::optional<Problem> problem;
};

// Everything of one moment of one gateway. What a source does not have is kMissing.
struct Inputs {
    std::string source;     // as the user named it
    std::string anonymous;  // names the table of other names that a bundle was written with; empty: the real ones
    Time read_at;
    Input model;     // /tmp/qo1905.json
    Input dump;      // /tmp/dump.txt, the multi-AP daemon's topology
    Input leases;    // /var/dnsmasq/dnsmasq.leases
    Input list_24g;  // /tmp/ecnt_agent_assoc_list.24g
    Input list_5g;   // /tmp/ecnt_agent_assoc_list.5g
    Input log{"qo1905_log.json", "", {}, Problem{Problem::Kind::kMissing, "qo1905_log.json", "not given"}};
};

// The most that is read of any file.
inline constexpr std::size_t kMostBytes = std::size_t{128} << 20U;

// Reads a whole file, pipe or terminal; never waits longer than some seconds for one that says nothing.
Input read_file(const std::string &path);

// The same of the model: one that is caught half written is read again, three times in all, 20 ms apart.
Input read_model_file(const std::string &path);

// The same of a topology dump, and of leases and lists, whose last line has an end.
Input read_dump_file(const std::string &path);
Input read_line_file(const std::string &path);

// Whether a text has the end that the module gives a model.
bool is_whole_model(const std::string &text);

}  // namespace reader
