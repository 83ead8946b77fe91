#include "reader/source.h"

#include <gmock/gmock.h>
#include <httplib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

using reader::Inputs;
using reader::open_source;
using reader::Problem;
using reader::Source;
using reader::SourceOrProblem;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

const std::string kModel = "{\"model\": 1}\n";

std::unique_ptr<Source> opened(const std::string &name) {
    SourceOrProblem source = open_source(name);
    if (const auto *problem = std::get_if<Problem>(&source)) {
        ADD_FAILURE() << problem->text();
        return nullptr;
    }
    return std::move(std::get<std::unique_ptr<Source>>(source));
}

std::string refused(const std::string &name) {
    const SourceOrProblem source = open_source(name);
    const auto *problem = std::get_if<Problem>(&source);
    return problem != nullptr ? problem->text() : "opened";
}

class SourceTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(mkdtemp(folder_.data()), nullptr); }
    void TearDown() override { fs::remove_all(folder_); }

    void write(const std::string &name, const std::string &text) const {
        fs::create_directories(fs::path(folder_ + '/' + name).parent_path());
        std::ofstream(folder_ + '/' + name) << text;
    }

    std::string folder_ = testing::TempDir() + "qo1905-source.XXXXXX";
};

TEST_F(SourceTest, AFolderLikeADevicesRoot) {
    write("tmp/qo1905.json", kModel);
    write("tmp/dump.txt", "dump");
    write("tmp/ecnt_agent_assoc_list.24g", "low");
    write("tmp/ecnt_agent_assoc_list.5g", "high");
    write("var/dnsmasq/dnsmasq.leases", "leases");
    const auto source = opened(folder_);
    const Inputs inputs = source->read();
    EXPECT_EQ(inputs.source, folder_);
    EXPECT_EQ(inputs.model.text, kModel);
    EXPECT_EQ(inputs.dump.text, "dump");
    EXPECT_EQ(inputs.leases.text, "leases");
    EXPECT_EQ(inputs.list_24g.text, "low");
    EXPECT_EQ(inputs.list_5g.text, "high");
    EXPECT_EQ(source->watched(), folder_ + "/tmp/qo1905.json");
}

TEST_F(SourceTest, AFolderOfTheLabAndOneWithTheFilesThemselves) {
    write("lab/tmp/qo1905.json", kModel);
    write("lab/dnsmasq/dnsmasq.leases", "leases");
    EXPECT_EQ(opened(folder_ + "/lab")->read().leases.text, "leases");
    write("flat/qo1905.json", kModel);
    write("flat/dnsmasq.leases", "leases");
    const Inputs inputs = opened(folder_ + "/flat/")->read();
    EXPECT_EQ(inputs.model.text, kModel);
    EXPECT_EQ(inputs.leases.text, "leases");
    EXPECT_EQ(inputs.dump.problem->kind, Problem::Kind::kMissing);
}

TEST_F(SourceTest, AModelAlone) {
    write("qo1905.json", kModel);
    const Inputs inputs = opened(folder_ + "/qo1905.json")->read();
    EXPECT_EQ(inputs.model.text, kModel);
    EXPECT_EQ(inputs.dump.problem->text(), "dump.txt: not given, the model stands alone");
    EXPECT_EQ(refused(folder_ + "/none.json"), folder_ + "/none.json: No such file or directory");
}

TEST_F(SourceTest, ADeviceOfTheLab) {
    EXPECT_EQ(refused("https://127.0.0.1/"), "https://127.0.0.1/: only http:// is understood");
    EXPECT_EQ(refused("lab:gateway"), "lab:gateway: no lab is running here");
    const std::string lab = "/tmp/qo1905-lab.source1/devices/gateway/tmp";
    fs::create_directories(lab);
    std::ofstream(lab + "/qo1905.json") << kModel;
    const Inputs inputs = opened("lab:gateway")->read();
    EXPECT_EQ(inputs.source, "lab:gateway");
    EXPECT_EQ(inputs.model.text, kModel);
    EXPECT_EQ(refused("lab:attic"), "lab:attic: the lab has no such device; it has: gateway");
    EXPECT_EQ(refused("lab:../x"), "lab:../x: the lab has no such device; it has: gateway");
    EXPECT_THAT(refused("lab:"), HasSubstr("the lab has no such device"));
    fs::create_directories("/tmp/qo1905-lab.source2");
    EXPECT_THAT(refused("lab:gateway"), HasSubstr("several labs are running; name the folder instead:"));
    fs::remove_all("/tmp/qo1905-lab.source1");
    fs::remove_all("/tmp/qo1905-lab.source2");
}

// ---- over HTTP ----

class HttpTest : public testing::Test {
protected:
    void SetUp() override {
        server_.Get("/mesh/qo1905.json", [](const httplib::Request &, httplib::Response &response) {
            response.set_header("Last-Modified", "Tue, 14 Nov 2023 22:14:02 GMT");
            response.set_content(kModel, "application/json");
        });
        server_.Get("/mesh/ecnt_agent_assoc_list.5g", [](const httplib::Request &, httplib::Response &response) {
            response.set_content("high", "text/plain");
        });
        server_.Get("/torn/qo1905.json", [](const httplib::Request &, httplib::Response &response) {
            response.set_content("{\n", "application/json");
        });
        server_.Get("/broken/qo1905.json",
                    [](const httplib::Request &, httplib::Response &response) { response.status = 500; });
        server_.Get("/elsewhere/qo1905.json", [](const httplib::Request &, httplib::Response &response) {
            response.set_redirect("http://192.0.2.1/");
        });
        server_.Get("/endless/qo1905.json", [](const httplib::Request &, httplib::Response &response) {
            response.set_chunked_content_provider("application/json", [](std::size_t, httplib::DataSink &sink) {
                const std::string chunk(1 << 20, 'x');
                return sink.write(chunk.data(), chunk.size());
            });
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        ASSERT_GT(port_, 0);
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) {  // one that is stopped before it runs runs for ever
            std::this_thread::yield();
        }
    }
    void TearDown() override {
        server_.stop();
        thread_.join();
    }

    std::string address(const std::string &path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }

    httplib::Server server_;
    std::thread thread_;
    int port_ = 0;
};

TEST_F(HttpTest, AServerHandsOutTheFilesItHas) {
    for (const char *path : {"/mesh", "/mesh/"}) {
        const Inputs inputs = opened(address(path))->read();
        EXPECT_EQ(inputs.model.text, kModel);
        EXPECT_EQ(std::chrono::system_clock::to_time_t(inputs.model.time), 1700000042);
        EXPECT_EQ(inputs.list_5g.text, "high");
        EXPECT_EQ(inputs.leases.problem->kind, Problem::Kind::kMissing);
        EXPECT_EQ(inputs.leases.problem->reason, "the server answers 404");
    }
}

TEST_F(HttpTest, WhatGoesWrongIsTold) {
    const auto problem = [this](const std::string &path) { return opened(address(path))->read().model.problem; };
    EXPECT_EQ(problem("/none/")->kind, Problem::Kind::kMissing);
    EXPECT_EQ(problem("/torn/")->kind, Problem::Kind::kTorn);
    EXPECT_EQ(problem("/broken/")->text(), address("/broken/qo1905.json") + ": the server answers 500");
    EXPECT_EQ(problem("/elsewhere/")->reason, "the server answers 302") << "nobody is sent elsewhere";
    EXPECT_EQ(problem("/endless/")->kind, Problem::Kind::kUnreadable);
    EXPECT_THAT(opened("http://127.0.0.1:1/")->read().model.problem->reason, HasSubstr("no answer: "));
}

TEST_F(HttpTest, AddressesOfEveryFormAreTaken) {
    for (const char *name : {"http://gateway", "http://192.168.1.1:8905", "http://[::1]:8905/a/b", "http://[fe80::1]/",
                             "http://a-b.c_d/"}) {
        EXPECT_EQ(refused(name), "opened") << name;
    }
}

TEST_F(HttpTest, AnAddressThatIsNoneIsRefused) {
    for (const char *name : {"http://", "http://a b/", "http://host:123456/", "http://host:/", "http://ho'st/",
                             "http://host\n/", "http://[::1", "http://[]/", "http:///path"}) {
        EXPECT_THAT(refused(name), HasSubstr(": no address such as http://127.0.0.1:8905/")) << name;
    }
}

}  // namespace
