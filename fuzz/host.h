// The host of a fuzz target: what the stub of the platform answers, and a shell that records how programs are called
// and runs none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

struct Host {
    std::string role = "1";
    std::string controller_mac = "02:c0:00:00:00:01";
    std::string firmware_version = "1.0";
    std::string host_name = "agent";
    std::string address = "192.168.1.20";
    std::string base_mac = "02:0a:00:00:00:01";
    std::string interface_name = "ra0";
    std::string bssid = "02:0a:00:00:06:00";
    std::string station_mac = "02:57:00:00:00:01";
    std::string known_device = "02:0b:00:00:00:01";
    std::string process_id_line = "1234\n";
};
extern Host &host;

// The platform answers as `host` says from now on. Again after every change.
void answer_from_host();

// The words that a POSIX shell makes of a command, if it is one simple program without anything to expand or to
// redirect. Aborts otherwise: then a stranger's text got through.
std::vector<std::string> words_of(std::string_view command);

// The message of the last command that sent one, as JSON text.
const std::string &last_message();

// Aborts when a member of a JSON object is not just this text.
void expect_member(const std::string &json, const char *key, const std::string &text);

// How often the receiver thread began to wait.
int waits();

// Sends a datagram to the receiver thread, which is started at the first call.
void send_datagram(std::string_view bytes);

void write_file(const char *path, std::string_view text);

// Aborts when the file is no strictly valid JSON in valid UTF-8.
void expect_json_file(const char *path);

// Aborts when the model is more than 1 MiB, eight times the dump and 4 KiB a device together.
void expect_model_in_proportion(std::size_t dump_size);

// Builds the table and writes all files; aborts when one does not parse.
void build_and_write();

}  // namespace fuzz
