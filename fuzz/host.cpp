#include "fuzz/host.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <json-c/json.h>
#include <spawn.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>
#include <set>
#include <thread>

#include "module/platform/mapd_client.h"
#include "qo1905.h"
#include "tests/support/stub_platform.h"

namespace fuzz {

Host &host = *new Host;  // never destroyed: the receiver thread outlives main

void answer_from_host() {
    stub = {host.role.c_str(),
            host.controller_mac.c_str(),
            host.firmware_version.c_str(),
            host.host_name.c_str(),
            host.address.c_str(),
            host.base_mac.c_str(),
            host.interface_name.c_str(),
            2,
            host.bssid.c_str(),
            host.station_mac.c_str(),
            10,
            host.known_device.c_str()};
}

namespace {

auto &wait_lock = *new std::mutex;
auto &waiting = *new std::condition_variable;
int wait_count = 0;
int daemon_end = -1;

[[noreturn]] void fail(std::string_view what, std::string_view subject) {
    (void)std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(what.size()), what.data(),
                       static_cast<int>(subject.size()), subject.data());
    std::abort();
}

void expect_program(const std::vector<std::string> &words, std::string_view command) {
    for (const char *program : {"mapd_cli", "reboot", "kill", "rm", "/etc/rc.d/S81ohttpd_rest"}) {
        if (!words.empty() && words[0] == program) {
            return;
        }
    }
    fail("another program", command);
}

// A real sh with a function in place of every program, and no others to be found. What is called prints its words, each
// ended by a zero byte, and a line end; anything else that happened shows as an error.
constexpr char kRecordingShell[] =
    "PATH=/nonexistent\n"
    "record() { printf '%s\\0' \"$@\"; echo; }\n"
    "mapd_cli() { record mapd_cli \"$@\"; }\n"
    "reboot() { record reboot \"$@\"; }\n"
    "kill() { record kill \"$@\"; }\n"
    "rm() { record rm \"$@\"; }\n"
    "start_rest_server() { record /etc/rc.d/S81ohttpd_rest \"$@\"; }\n"
    "alias /etc/rc.d/S81ohttpd_rest=start_rest_server\n"
    "eval \"$1\"\n";

// What the shell printed, errors included.
std::string run_recording(const std::string &command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        fail("no pipe", command);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    const char *arguments[] = {"sh", "-c", kRecordingShell, "sh", command.c_str(), nullptr};
    pid_t shell = -1;
    if (posix_spawn(&shell, "/bin/sh", &actions, nullptr, const_cast<char *const *>(arguments), environ) != 0) {
        fail("no shell", command);
    }
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string output;
    char chunk[8192];
    // The fuzzer's timer interrupts calls.
    for (ssize_t size = 1; size != 0;) {
        size = read(ends[0], chunk, sizeof(chunk));
        if (size > 0) {
            output.append(chunk, static_cast<std::size_t>(size));
        } else if (size < 0 && errno != EINTR) {
            fail("the shell's output cannot be read", command);
        }
    }
    close(ends[0]);
    while (waitpid(shell, nullptr, 0) < 0 && errno == EINTR) {
    }
    return output;
}

// A real shell has to call just this program with just these words. Commands seen before are not run again.
void expect_one_call(const std::vector<std::string> &words, const std::string &command) {
    constexpr std::size_t kMaxSeen = 200000;
    static auto &seen = *new std::set<std::string>;
    if (seen.size() > kMaxSeen) {
        seen.clear();
    }
    if (!seen.insert(command).second) {
        return;
    }
    std::string expected;
    for (const std::string &word : words) {
        expected += word + '\0';
    }
    if (run_recording(command) != expected + '\n') {
        fail("the shell makes something else of it", command);
    }
}

std::string &message() {
    static auto &text = *new std::string;
    return text;
}

// A higher-layer message has exactly its seven words, and its payload is JSON.
void expect_message(const std::vector<std::string> &words, std::string_view command) {
    if (words.size() < 3 || words[2] != "tx_higher_layer_data") {
        return;
    }
    message() = words.back();
    json_tokener *tokener = json_tokener_new();
    json_tokener_set_flags(tokener, JSON_TOKENER_STRICT | JSON_TOKENER_VALIDATE_UTF8);
    if (words.size() != 7) {
        fail("not seven words", command);
    }
    json_object *tree = json_tokener_parse_ex(tokener, words[6].c_str(), static_cast<int>(words[6].size()) + 1);
    if (json_tokener_get_error(tokener) != json_tokener_success) {
        fail("the payload is no JSON", command);
    }
    json_object_put(tree);
    json_tokener_free(tokener);
}

}  // namespace

// Knows double quotes and backslashes in them, words and a line end at the very end; all else that means something to a
// shell must not be there.
std::vector<std::string> words_of(std::string_view command) {
    std::vector<std::string> words;
    bool in_word = false;
    bool quoted = false;
    for (std::size_t i = 0; i < command.size(); ++i) {
        const char c = command[i];
        const bool at_end = command.find_first_not_of(" \t\r\n", i) == std::string_view::npos;
        if (quoted) {
            if (c == '\\' && i + 1 < command.size() && std::strchr("\"\\$`", command[i + 1]) != nullptr) {
                words.back() += command[++i];
            } else if (c == '"') {
                quoted = false;
            } else if (c == '$' || c == '`') {
                fail("expanded in quotes", command);
            } else {
                words.back() += c;
            }
            continue;
        }
        if (c == ' ' || c == '\t' || (at_end && (c == '\n' || c == '\r'))) {
            in_word = false;
            continue;
        }
        if (std::strchr("\n\r;&|<>()$`\\'*?[]#~!{}=", c) != nullptr) {
            fail("means something to the shell", command);
        }
        if (!in_word) {
            words.emplace_back();
            in_word = true;
        }
        if (c == '"') {
            quoted = true;
        } else {
            words.back() += c;
        }
    }
    if (quoted) {
        fail("a quote stays open", command);
    }
    return words;
}

const std::string &last_message() { return message(); }

void expect_member(const std::string &json, const char *key, const std::string &text) {
    json_object *tree = json_tokener_parse(json.c_str());
    const char *value = json_object_get_string(json_object_object_get(tree, key));
    if (value == nullptr || text != value) {
        fail(key, json);
    }
    json_object_put(tree);
}

int waits() {
    const std::lock_guard guard(wait_lock);
    return wait_count;
}

// The datagram and an event of another kind behind it: when the thread waits for the third time, both are handled.
void send_datagram(std::string_view bytes) {
    static const bool started = [] {
        std::thread([] { higherLayerDataRcv(nullptr); }).detach();
        std::unique_lock guard(wait_lock);
        waiting.wait(guard, [] { return wait_count > 0; });
        return true;
    }();
    (void)started;
    const int before = waits();
    constexpr char kOtherEvent[] = "\x05\0\0\0\0\0\0";
    (void)send(daemon_end, bytes.data(), bytes.size(), 0);
    (void)send(daemon_end, kOtherEvent, sizeof(kOtherEvent), 0);
    std::unique_lock guard(wait_lock);
    waiting.wait(guard, [before] { return wait_count >= before + 2; });
}

void write_file(const char *path, std::string_view text) {
    std::FILE *file = std::fopen(path, "w");
    if (file == nullptr) {
        fail("cannot be written", path);
    }
    (void)std::fwrite(text.data(), 1, text.size(), file);
    (void)std::fclose(file);
}

void expect_json_file(const char *path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    json_tokener *tokener = json_tokener_new();
    json_tokener_set_flags(tokener, JSON_TOKENER_STRICT | JSON_TOKENER_VALIDATE_UTF8);
    json_object *tree = json_tokener_parse_ex(tokener, text.c_str(), static_cast<int>(text.size()) + 1);
    if (json_tokener_get_error(tokener) != json_tokener_success) {
        fail("no JSON", text);
    }
    json_object_put(tree);
    json_tokener_free(tokener);
}

void expect_model_in_proportion(std::size_t dump_size) {
    const qo1905_network_topology *network = getNetTopolTable();
    std::size_t limit = (std::size_t{1} << 20U) + 8 * dump_size;
    for (const qo1905_device *device = network != nullptr ? network->IEEE1905Device : nullptr; device != nullptr;
         device = device->next) {
        limit += 4096;
    }
    std::ifstream file("/tmp/qo1905.json", std::ios::binary | std::ios::ate);
    if (network != nullptr && file && static_cast<std::size_t>(file.tellg()) > limit) {
        fail("out of proportion", std::to_string(file.tellg()));
    }
}

void build_and_write() {
    if (initALTable() != QO1905_SUCCESS) {
        return;
    }
    writeJsonDataModel();
    updateWifiAssocList();
    writeJsonqo1905log();
    expect_json_file("/tmp/qo1905.json");
    expect_json_file("/tmp/qo1905_log.json");
}

}  // namespace fuzz

using fuzz::host;

extern "C" {

mapd_interface *mapd_interface_ctrl_open(const char *) {
    static mapd_interface connection;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_DGRAM, 0, ends) != 0) {
        return nullptr;
    }
    connection.fd = ends[0];
    fuzz::daemon_end = ends[1];
    return &connection;
}

int mapd_interface_ctrl_attach(mapd_interface *) { return 0; }

int system(const char *command) {
    const auto words = fuzz::words_of(command);
    fuzz::expect_program(words, command);
    fuzz::expect_one_call(words, command);
    fuzz::expect_message(words, command);
    return 0;
}

FILE *popen(const char *command, const char *) {
    std::FILE *pipe = std::tmpfile();
    if (pipe != nullptr && std::strncmp(command, "cat", 3) == 0) {
        (void)std::fwrite(host.process_id_line.data(), 1, host.process_id_line.size(), pipe);
        std::rewind(pipe);
    }
    return pipe;
}

int pclose(FILE *pipe) { return std::fclose(pipe); }

int select(int count, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
    {
        const std::lock_guard guard(fuzz::wait_lock);
        ++fuzz::wait_count;
    }
    fuzz::waiting.notify_all();
    static const auto real = reinterpret_cast<decltype(&select)>(dlsym(RTLD_NEXT, "select"));
    return real(count, readable, writable, exceptional, timeout);
}
}
