// A lab as people start it: its process, its orders and its devices' files.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/lab/program.h"

namespace lab_test {

inline const std::string kLab = QO1905_BINARY_DIR "/qo1905-lab";
inline const std::string kSandbox = QO1905_SOURCE_DIR "/lab/sandbox.sh";

// A test of programs that need a sandbox per device; skipped where none can be had. Its working directory is its own.
class InOwnFolder : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    std::string own_folder_;
};

// Every process that the lab with this folder has brought into being.
Words processes_of(const std::string &folder);

// The one of a list of objects whose member `key` is this name; throws when there is none.
nlohmann::json &named(nlohmann::json &list, const char *key, const std::string &name);

// A mesh that runs, from when it says where it is.
class Lab {
public:
    // `before` stands before the lab's own name, such as another user's shell.
    explicit Lab(const Words &words, const Words &before = {});

    const std::string &folder() const { return folder_; }
    std::string kept_folder() const;  // after its end, with --keep
    std::string output() const { return program_.output(); }
    int wait() { return program_.wait(); }
    int end(int signal) { return program_.end(signal); }
    pid_t pid() const { return program_.pid(); }

    Result order(Words words) const;
    nlohmann::json data() const;
    nlohmann::json device(const std::string &name) const;
    // As it is at this moment, perhaps just being written.
    std::string file(const std::string &device, const std::string &name) const;
    // The data model, whole: one that is just being written is waited for. "Discarded" when none comes.
    nlohmann::json model(const std::string &device) const;
    bool wait_for_cycles(const std::string &name, int more) const;

private:
    Program program_;
    std::string folder_;
};

}  // namespace lab_test
