// A gateway's folder that a test writes, and a server on it.
#pragma once

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "serve/server.h"
#include "tests/serve/client.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;
using namespace std::chrono_literals;

inline std::string file_text(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void write_file(const fs::path &path, const std::string &text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// What becomes true within a time that a busy machine keeps, too.
inline bool becomes_true(const std::function<bool()> &is_true) {
    for (int i = 0; i < 3000; ++i) {
        if (is_true()) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

class ServeTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "serve-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        mesh_ = folder_ / "mesh";
        copy_example("home");
    }
    void TearDown() override {
        server_.reset();
        fs::remove_all(folder_);
    }

    // The model last, as a gateway does: what is written then is looked at.
    void copy_example(const std::string &name) const {
        const fs::path from = fs::path(QO1905_SOURCE_DIR) / "docs/examples" / name;
        const fs::path model = "tmp/qo1905.json";
        for (const auto &entry : fs::recursive_directory_iterator(from)) {
            const fs::path to = mesh_ / entry.path().lexically_relative(from);
            if (entry.is_directory()) {
                fs::create_directories(to);
            } else if (to != mesh_ / model) {
                fs::copy_file(entry.path(), to, fs::copy_options::overwrite_existing);
            }
        }
        fs::copy_file(from / model, mesh_ / model, fs::copy_options::overwrite_existing);
    }

    // On any free port.
    void start(serve::Wanted wanted = {}) {
        wanted.port = 0;
        wanted.page = (folder_ / "page").string();
        auto source = reader::open_source(mesh_.string());
        server_ = std::make_unique<serve::Server>(
            std::move(std::get<std::unique_ptr<reader::Source>>(source)), wanted, [](const reader::Snapshot &snapshot) {
                return "devices " + std::to_string(snapshot.devices.size()) + '\n';
            });
        ASSERT_TRUE(server_->start());
        const std::string url = server_->url();
        port_ = std::stoi(url.substr(url.rfind(':') + 1));
    }

    std::string ask(const std::string &path, const std::string &more = "") const {
        return RawClient::ask(port_, get(path, more));
    }
    Json mesh() const { return Json::parse(body_of(ask("/api/v1/mesh"))); }
    Json events(const std::string &query) const { return Json::parse(body_of(ask("/api/v1/events?" + query))); }

    fs::path folder_, mesh_;
    std::unique_ptr<serve::Server> server_;
    int port_ = 0;
};
