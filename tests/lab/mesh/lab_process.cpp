#include "tests/lab/mesh/lab_process.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>

using nlohmann::json;

namespace lab_test {
namespace {

namespace fs = std::filesystem;

Words run_words(const Words &words, const Words &before) {
    Words all = before;
    all.insert(all.end(), {kLab, "run"});
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

// What the lab says of where it is; empty while it has not.
std::string folder_in(const std::string &output) {
    constexpr std::string_view kBefore = "everything is in ";
    const std::size_t at = output.find(kBefore);
    const std::size_t end = output.find(';', at);
    if (at == std::string::npos || end == std::string::npos) {
        return "";
    }
    const std::size_t begin = at + kBefore.size();
    return output.substr(begin, end - begin);
}

}  // namespace

void InOwnFolder::SetUp() {
    if (run({kSandbox, "--probe"}).status != 0) {
        GTEST_SKIP() << "this machine denies namespaces, and every device of the lab needs a sandbox";
    }
    own_folder_ = testing::TempDir() + "qo1905-lab-test.XXXXXX";
    ASSERT_NE(mkdtemp(own_folder_.data()), nullptr);
    fs::current_path(own_folder_);
}

void InOwnFolder::TearDown() {
    fs::current_path("/");
    if (!own_folder_.empty()) {
        fs::remove_all(own_folder_);
    }
}

Words processes_of(const std::string &folder) {
    Words found;
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const std::string environment = text_of(entry.path().string() + "/environ");
        if (environment.find("QO1905_LAB=" + folder) != std::string::npos) {
            found.push_back(text_of(entry.path().string() + "/cmdline"));
        }
    }
    return found;
}

json &named(json &list, const char *key, const std::string &name) {
    for (json &item : list) {
        if (item[key] == name) {
            return item;
        }
    }
    throw std::runtime_error(name + " is not there");
}

Lab::Lab(const Words &words, const Words &before) : program_(run_words(words, before)) {
    wait_until([this] {
        folder_ = folder_in(output());
        return !folder_.empty();
    });
    if (folder_.empty()) {
        throw std::runtime_error("no lab: " + output());
    }
}

Result Lab::order(Words words) const {
    words.insert(words.begin(), {kLab, "--lab", folder_});
    return run(words);
}

std::string Lab::kept_folder() const {
    std::string kept = folder_;
    return kept.replace(kept.find("-lab."), 5, "-kept.");
}

json Lab::data() const { return json::parse(order({"status", "--json"}).output); }

json Lab::device(const std::string &name) const {
    json all = data();
    return named(all["devices"], "name", name);
}

std::string Lab::file(const std::string &device, const std::string &name) const {
    return text_of(folder_ + "/devices/" + device + '/' + name);
}

json Lab::model(const std::string &device) const {
    json model;
    wait_until([&] {
        model = json::parse(file(device, "tmp/qo1905.json"), nullptr, false);
        return !model.is_discarded();
    });
    return model;
}

bool Lab::wait_for_cycles(const std::string &name, int more) const {
    const int before = device(name)["cycles"];
    return wait_until([&] { return device(name)["cycles"] >= before + more; });
}

}  // namespace lab_test
