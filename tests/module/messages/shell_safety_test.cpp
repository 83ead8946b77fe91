// Every text of strangers that can reach a shell, with hundreds of attempts to make the shell do something else, each
// run through a real sh whose programs only record how they were called. What a program gets is worked out here from
// the text alone: it has to be called once, with just these words, and nothing else may be.
#include <json-c/json.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include "tests/support/attempts.h"
#include "tests/support/module_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

constexpr char kRecord[] = "/tmp/recorded";
constexpr char kPidFile[] = "/var/run/rest_api_server.pid";
constexpr char kController[] = "02:c0:00:00:00:01";
constexpr char kBssid[] = "02:0a:00:00:06:00";

// ---- what programs were called with ----

std::vector<Words> recorded() {
    std::vector<Words> calls;
    if (!file_exists(kRecord)) {
        return calls;
    }
    const std::string bytes = read_file(kRecord);
    std::size_t at = 0;
    const auto next = [&] {
        const std::size_t end = bytes.find('\0', at);
        std::string word = bytes.substr(at, end - at);
        at = end + 1;
        return word;
    };
    while (at < bytes.size()) {
        Words call(static_cast<std::size_t>(std::stoi(next())));
        for (std::string &word : call) {
            word = next();
        }
        calls.push_back(call);
    }
    return calls;
}

// Zero-terminated, as the platform's buffers and fields hold it.
std::string cut(const std::string &text, std::size_t size) { return text.substr(0, size - 1); }

bool is_ascii(const std::string &text) {
    return text.find_first_of([] {
        std::string high;
        for (int byte = 0x80; byte < 0x100; ++byte) {
            high += static_cast<char>(byte);
        }
        return high;
    }()) == std::string::npos;
}

// One word of harmless characters, blanks around it: what may stand bare for a station. Leading dashes are options.
bool is_one_plain_word(const std::string &text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos || text[first] == '-') {
        return false;
    }
    const std::size_t last = text.find_last_not_of(" \t");
    const std::string word = text.substr(first, last - first + 1);
    return word.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ:._-") ==
           std::string::npos;
}

std::string trimmed(const std::string &text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

class ShellSafetyTest : public ModuleTest {
protected:
    ShellSafetyTest() {
        fs::create_directory("programs");
        for (const char *name : {"mapd_cli", "reboot", "touch", "rm", "id", "sh"}) {
            fs::create_symlink(QO1905_RECORDER, fs::path("programs") / name);
        }
        fs::create_symlink("/bin/cat", "programs/cat");
        setenv("PATH", fs::absolute("programs").c_str(), 1);
        // What the shell says about what it does not find.
        quiet_ = std::freopen("/dev/null", "w", stderr) != nullptr;
        start();
    }

    // A device as it has to be for any of the cases.
    static void start() {
        fake::reset();
        fake::host.real_shell = true;
        fake::host.controller_mac = kController;
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11", "Up", 1, 1, kBssid}};
        fake::host.known_devices = {"02:0b:00:00:00:01"};
        fs::remove(kRecord);
    }

    // Runs `action` for every attempt, and `check` with what was recorded. Nothing may have been made anywhere.
    template <class Action, class Check>
    static void try_all(Action action, Check check) {
        const Words texts = attempts();
        EXPECT_GE(texts.size(), 200U);
        const auto files = list_files();
        for (const std::string &text : texts) {
            start();
            const std::string printed = printed_by([&] { action(text); });
            check(text, recorded(), printed);
            fs::remove(kRecord);
            ASSERT_EQ(list_files(), files) << visible(text);
            ASSERT_FALSE(HasFailure()) << visible(text);
        }
    }

    static std::set<std::string> list_files() {
        std::set<std::string> names;
        for (const char *folder : {"/tmp", "."}) {
            for (const auto &entry : fs::directory_iterator(folder)) {
                names.insert(entry.path());
            }
        }
        return names;
    }

    // The one message of these calls, as JSON.
    static Json only_message(const std::vector<Words> &calls, const std::string &destination) {
        EXPECT_EQ(calls.size(), 1U);
        if (calls.size() != 1 || calls[0].size() != 7) {
            ADD_FAILURE() << "not one message of seven words";
            return nullptr;
        }
        Words words = calls[0];
        const std::string payload = words.back();
        EXPECT_EQ(words[5].find_first_not_of("0123456789"), std::string::npos);
        words.resize(5);
        EXPECT_THAT(words, ElementsAre("mapd_cli", "/tmp/mapd_ctrl", "tx_higher_layer_data", destination, "1"));
        return parse_json(payload);
    }

    static std::string member(const Json &message, const char *key) {
        return json_object_get_string(json_object_object_get(message.get(), key));
    }

    static void report_with(fake::Text fake::Host::*field, const std::string &text) {
        fake::host.role = "2";
        fake::host.*field = text;
        module_highLayerDataSend();
    }

    static void module_highLayerDataSend() { (void)module().highLayerDataSend(); }

    // A text of an Agent's report arrives exactly, whatever it is.
    static void expect_exact_in_report(fake::Text fake::Host::*field, const char *key) {
        try_all([&](const std::string &text) { report_with(field, cut(text, 128)); },
                [&](const std::string &text, const std::vector<Words> &calls, const std::string &) {
                    const Json message = only_message(calls, kController);
                    ASSERT_NE(message, nullptr);
                    if (is_ascii(text)) {
                        EXPECT_EQ(member(message, key), cut(text, 128));
                    }
                });
    }

private:
    bool quiet_ = false;
};

TEST_F(ShellSafetyTest, FirmwareVersion) { expect_exact_in_report(&fake::Host::firmware_version, "FWVersion"); }

TEST_F(ShellSafetyTest, HostName) { expect_exact_in_report(&fake::Host::host_name, "HostName"); }

TEST_F(ShellSafetyTest, Address) { expect_exact_in_report(&fake::Host::address, "DeviceIP"); }

constexpr std::size_t kAlMacField = sizeof(lanmon_l2_device::AlMac);

// May stand where a MAC stands: harmless characters and blanks, no word that begins with '-'.
bool is_plain(const std::string &text) {
    bool word_begins = true;
    for (const char c : text) {
        const bool blank = c == ' ' || c == '\t';
        if ((!blank && !is_one_plain_word(std::string("x") + c)) || (word_begins && c == '-')) {
            return false;
        }
        word_begins = blank;
    }
    return true;
}

// Where the message goes stands in quotes, but holds nothing except what a MAC may hold.
TEST_F(ShellSafetyTest, ControllerMac) {
    try_all([](const std::string &text) { report_with(&fake::Host::controller_mac, cut(text, 128)); },
            [](const std::string &text, const std::vector<Words> &calls, const std::string &printed) {
                if (is_plain(cut(text, 128)) && calls.size() == 1) {
                    EXPECT_NE(only_message(calls, calls[0][3]), nullptr);
                } else {
                    EXPECT_FALSE(is_plain(cut(text, 128)));
                    EXPECT_THAT(calls, IsEmpty());
                    EXPECT_EQ(printed, "highLayerDataSend: message not sent, a MAC is not plain text\n");
                }
            });
}

// A source MAC stands in the payload.
TEST_F(ShellSafetyTest, OwnMac) {
    try_all([](const std::string &text) { report_with(&fake::Host::base_mac, cut(text, 128)); },
            [](const std::string &text, const std::vector<Words> &calls, const std::string &printed) {
                if (calls.empty()) {
                    EXPECT_EQ(printed, "highLayerDataSend: message not sent, a MAC is not plain text\n");
                    EXPECT_FALSE(is_one_plain_word(text));
                    return;
                }
                const Json message = only_message(calls, kController);
                ASSERT_NE(message, nullptr);
                EXPECT_EQ(member(message, "SrcAlMac").find_first_of("\"\\$`;&|\n"), std::string::npos);
            });
}

TEST_F(ShellSafetyTest, NameOfAnInterface) {
    try_all(
        [](const std::string &text) {
            fake::host.role = "1";
            fake::host.ssids[0].name = text;
            module_highLayerDataSend();
        },
        [](const std::string &text, const std::vector<Words> &calls, const std::string &) {
            const Json message = only_message(calls, "02:0b:00:00:00:01");
            ASSERT_NE(message, nullptr);
            if (is_ascii(text)) {
                EXPECT_EQ(member(message, "Interface"), text.substr(0, 32));
            }
        });
}

TEST_F(ShellSafetyTest, MacOfAKnownDevice) {
    try_all(
        [](const std::string &text) {
            fake::host.role = "1";
            fake::host.known_devices = {text, "02:0b:00:00:00:02"};
            module_highLayerDataSend();
        },
        [](const std::string &text, std::vector<Words> calls, const std::string &) {
            ASSERT_GE(calls.size(), 1U);
            EXPECT_NE(only_message({calls.back()}, "02:0b:00:00:00:02"), nullptr) << "the rest of the list is handled";
            calls.pop_back();
            const std::string field = cut(text, kAlMacField + 1);
            const std::string mac = field.substr(0, field.find('\0'));
            EXPECT_EQ(!calls.empty(), is_plain(mac));
            if (!calls.empty()) {
                EXPECT_NE(only_message(calls, mac), nullptr);
            }
        });
}

std::string json_quoted(const std::string &text) {
    json_object *object = json_object_new_string_len(text.data(), static_cast<int>(text.size()));
    std::string quoted = json_object_to_json_string_ext(object, JSON_C_TO_STRING_PLAIN);
    json_object_put(object);
    return quoted;
}

void receive_filters(const std::string &list) {
    fake::host.role = "2";
    const std::string payload = R"({"SrcAlMac": "x", "Interface": "ra0", "FilterLists": )" + json_quoted(list) + "}";
    (void)module().higherLayerDataRcvHandle(payload.c_str(), static_cast<int32_t>(payload.size()));
}

// The list ends in a station that has to be handled whatever stands before it.
TEST_F(ShellSafetyTest, StationOfABlockList) {
    try_all(
        [](const std::string &text) { receive_filters(text + ",02-57-00-00-00-77"); },
        [](const std::string &text, const std::vector<Words> &calls, const std::string &printed) {
            std::vector<Words> expected;
            std::string token;
            bool refused = false;
            for (const char c : text + ",02:57:00:00:00:77,") {
                if (c != ',') {
                    token += c == '-' ? ':' : c;
                    continue;
                }
                const bool long_token = token.size() > 60;  // is cut with the whole command
                if (is_one_plain_word(token) && !long_token) {
                    expected.push_back({"mapd_cli", "/tmp/mapd_ctrl", "block_acl", "2", "1", trimmed(token), kBssid});
                } else if (!token.empty()) {
                    refused = true;
                }
                token.clear();
            }
            if (text.size() < 60) {
                EXPECT_EQ(calls, expected) << visible(text);
                EXPECT_EQ(!printed.empty(), refused) << visible(text);
            }
            for (const Words &call : calls) {
                EXPECT_EQ(call[0], "mapd_cli");
                EXPECT_LE(call.size(), 7U);
            }
        });
}

TEST_F(ShellSafetyTest, InterfaceOfABlockList) {
    try_all(
        [](const std::string &text) {
            fake::host.ssids[0].bssid = text;
            receive_filters("02-57-00-00-00-77");
        },
        [](const std::string &text, const std::vector<Words> &calls, const std::string &printed) {
            const std::string field = text.substr(0, 32);  // which may fill it without a zero byte
            if (is_one_plain_word(field)) {
                EXPECT_THAT(calls, ElementsAre(Words{"mapd_cli", "/tmp/mapd_ctrl", "block_acl", "2", "1",
                                                     "02:57:00:00:00:77", trimmed(field)}));
            } else if (trimmed(field).empty()) {
                EXPECT_THAT(calls, ElementsAre(Words{"mapd_cli", "/tmp/mapd_ctrl", "block_acl", "2", "1",
                                                     "02:57:00:00:00:77"}));
            } else {
                EXPECT_THAT(calls, IsEmpty());
                EXPECT_EQ(printed,
                          "higherLayerDataRcvHandle: block_acl not run, station or interface is not plain text\n");
            }
        });
}

// One number above 1 of up to nine digits, with blanks around it.
bool is_process_id(const std::string &line) {
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return false;
    }
    const std::string number = line.substr(first, line.find_last_not_of(" \t") - first + 1);
    return number.size() <= 9 && number.find_first_not_of("0123456789") == std::string::npos && std::stoul(number) > 1;
}

// A number that no process has is the only one that a test may let through.
TEST_F(ShellSafetyTest, LineOfTheProcessIdFile) {
    try_all(
        [](const std::string &text) {
            fake::host.role = "1";  // so that the Agent's turn below is its first
            fake::host.known_devices.clear();
            module_highLayerDataSend();
            const bool number = text.find_first_not_of("0123456789 \t\r\n") == std::string::npos;
            write_file(kPidFile, number ? text + "x" : text);
            fake::host.role = "2";
            module_highLayerDataSend();
            fs::remove(kPidFile);
        },
        [](const std::string &text, const std::vector<Words> &calls, const std::string &printed) {
            // `kill` is the shell's own and not recorded: that it was not run shows in what was printed.
            const bool is_process = is_process_id(text.substr(0, text.find('\n')));  // the only line that is read
            EXPECT_EQ(printed,
                      is_process ? "" : "highLayerDataSend: refused, no process id in /var/run/rest_api_server.pid\n")
                << visible(text);
            ASSERT_EQ(calls.size(), 2U);
            EXPECT_EQ(calls[0], (Words{"rm", "-rf", kPidFile}));
            EXPECT_NE(only_message({calls[1]}, kController), nullptr);
        });
    start();
    fake::host.role = "1";
    (void)module().highLayerDataSend();
    write_file(kPidFile, "999999999\n");
    fake::host.role = "2";
    fs::remove(kRecord);
    (void)module().highLayerDataSend();
    fs::remove(kPidFile);
    EXPECT_THAT(fake::commands(), testing::Contains("kill -9 999999999\n"));
}

}  // namespace
