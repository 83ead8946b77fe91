// The fixture of every test that runs the module, and what such tests need: files, fixtures, captured output, JSON.
// Each test runs in a process of its own, in a sandbox with a /tmp of its own, and in an empty folder for its own
// files.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "module/platform/lanmon.h"
#include "tests/support/fake_host.h"
#include "tests/support/module.h"

struct json_object;

inline const char kDump[] = "/tmp/dump.txt";
inline const char kModel[] = "/tmp/qo1905.json";
inline const char kChangeLog[] = "/tmp/qo1905_log.json";
inline const char kAssoc24G[] = "/tmp/ecnt_agent_assoc_list.24g";
inline const char kAssoc5G[] = "/tmp/ecnt_agent_assoc_list.5g";
inline const char kLeases[] = "/var/dnsmasq/dnsmasq.leases";
inline const char kDumpCommand[] = "mapd_cli /tmp/mapd_ctrl dump_topology_v1";

void write_file(const std::string &path, const std::string &text);
std::string read_file(const std::string &path);  // fails the test when it cannot be read
bool file_exists(const std::string &path);

// A file below tests/fixtures.
std::string fixture_path(const std::string &name);
std::string fixture(const std::string &name);

// What is printed on standard output meanwhile.
std::string printed_by(const std::function<void()> &action);

// A text with its tabs, blanks and line ends visible, a line per line: for comparisons that a person has to read.
std::string visible(const std::string &text);
#define EXPECT_SAME_TEXT(actual, expected) EXPECT_EQ(visible(actual), visible(expected))

// Fails the test when the text is no JSON.
struct JsonDelete {
    void operator()(json_object *tree) const;
};
using Json = std::unique_ptr<json_object, JsonDelete>;
Json parse_json(const std::string &text);

// The text of the object that stands under a quoted key in a JSON file, from its "{" to its "}"; empty when there is
// none.
std::string object_text(const std::string &document, const std::string &key);

// Sets a MAC from its text.
void set_mac(uint8_t (&mac)[6], const char *text);

// A MAC as text.
std::string mac_text(const uint8_t (&mac)[6]);

// The nodes of a list.
template <class T>
std::vector<T *> nodes(T *head) {
    std::vector<T *> found;
    for (; head != nullptr; head = head->next) {
        found.push_back(head);
    }
    return found;
}

// A zero-filled node at the end of a list that the module will free.
template <class T>
T *append_node(T *&head) {
    T **link = &head;
    while (*link != nullptr) {
        link = &(*link)->next;
    }
    *link = static_cast<T *>(std::calloc(1, sizeof(T)));
    return *link;
}

class ModuleTest : public ::testing::Test {
protected:
    ModuleTest();

    // Puts `devices`, the elements of "topology information" as JSON text behind a Controller without anything, into
    // the dump file. One local interface is up.
    static void put_dump(const std::string &devices);

    // The same, then builds the table and returns its devices.
    static std::vector<qo1905_device *> build(const std::string &devices);

    // Hands a payload to the module.
    static int32_t receive(const std::string &payload);

    const Module &module_ = module();
};
