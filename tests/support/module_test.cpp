#include "tests/support/module_test.h"

#include <json-c/json.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

void write_file(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    ASSERT_FALSE(file.fail()) << path;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool file_exists(const std::string &path) { return access(path.c_str(), F_OK) == 0; }

std::string fixture_path(const std::string &name) { return std::string(QO1905_FIXTURES) + "/" + name; }

std::string fixture(const std::string &name) { return read_file(fixture_path(name)); }

std::string printed_by(const std::function<void()> &action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

std::string visible(const std::string &text) {
    std::string shown;
    for (const char c : text) {
        if (c == '\t') {
            shown += "\\t";
        } else if (c == '\n') {
            shown += "$\n";
        } else if (c == '\r') {
            shown += "\\r";
        } else {
            shown += c;
        }
    }
    return shown;
}

void JsonDelete::operator()(json_object *tree) const { json_object_put(tree); }

Json parse_json(const std::string &text) {
    json_tokener *tokener = json_tokener_new();
    json_tokener_set_flags(tokener, JSON_TOKENER_STRICT | JSON_TOKENER_VALIDATE_UTF8);
    Json tree(json_tokener_parse_ex(tokener, text.c_str(), static_cast<int>(text.size()) + 1));
    EXPECT_EQ(json_tokener_get_error(tokener), json_tokener_success) << text;
    json_tokener_free(tokener);
    return tree;
}

std::string object_text(const std::string &document, const std::string &key) {
    const std::size_t at = document.find("\"" + key + "\": {");
    if (at == std::string::npos) {
        return "";
    }
    const std::size_t begin = document.find('{', at);
    std::size_t end = begin;
    int depth = 0;
    do {
        depth += document[end] == '{' ? 1 : document[end] == '}' ? -1 : 0;
        ++end;
    } while (depth > 0 && end < document.size());
    return document.substr(begin, end - begin);
}

void set_mac(uint8_t (&mac)[6], const char *text) {
    const int bytes =
        std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]);
    EXPECT_EQ(bytes, 6) << text;
}

std::string mac_text(const uint8_t (&mac)[6]) {
    char text[18];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

ModuleTest::ModuleTest() {
    fake::reset();
    if (chdir(std::getenv("QO1905_SCRATCH")) != 0) {
        std::abort();
    }
    fake::cycle_handler = module().checkUpdate1905Information;
    for (const char *path : {kDump, kModel, kChangeLog, kAssoc24G, kAssoc5G, kLeases}) {
        std::remove(path);
    }
    setenv("TZ", "UTC", 1);
    tzset();
}

void ModuleTest::put_dump(const std::string &devices) {
    if (fake::host.ssids.empty()) {
        fake::host.ssids = {{"ra0", "02:00:00:00:00:11"}};
    }
    write_file(kDump, R"({"topology information": [{"AL MAC": "02:00:00:00:00:01", "Device role": "01"})" +
                          std::string(devices.empty() ? "" : ", ") + devices + "]}");
}

std::vector<qo1905_device *> ModuleTest::build(const std::string &devices) {
    put_dump(devices);
    EXPECT_EQ(module().initALTable(), QO1905_SUCCESS);
    qo1905_network_topology *network = module().getNetTopolTable();
    return network != nullptr ? nodes(network->IEEE1905Device) : std::vector<qo1905_device *>();
}

int32_t ModuleTest::receive(const std::string &payload) {
    return module().higherLayerDataRcvHandle(payload.c_str(), static_cast<int32_t>(payload.size()));
}
