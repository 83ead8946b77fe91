#include "tests/lab/mesh_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

using nlohmann::json;

namespace mesh {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

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

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool wait_until(const std::function<bool()> &condition, std::chrono::seconds limit, std::chrono::milliseconds pause) {
    const auto end = Clock::now() + limit;
    while (Clock::now() < end) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(pause);
    }
    return condition();
}

Program::Program(const Words &words, std::string output) : output_(std::move(output)) {
    std::vector<char *> arguments;
    for (const std::string &word : words) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        const int file = open(output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
}

Program::~Program() { end(SIGINT); }

int Program::wait() {
    int status = 0;
    if (pid_ > 0 && waitpid(pid_, &status, 0) == pid_) {
        pid_ = -1;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_;
}

int Program::end(int signal) {
    if (pid_ > 0) {
        kill(pid_, signal);
    }
    return wait();
}

std::string next_file() {
    static int number = 0;
    return "output" + std::to_string(++number) + ".txt";
}

Result run(const Words &words) {
    Program program(words, next_file());
    const int status = program.wait();
    return {status, program.output()};
}

Words processes_of(const std::string &folder) {
    Words found;
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const std::string environment = read_file(entry.path().string() + "/environ");
        if (environment.find("QO1905_LAB=" + folder) != std::string::npos) {
            found.push_back(read_file(entry.path().string() + "/cmdline"));
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

Lab::Lab(const Words &words, const Words &before) : program_(run_words(words, before), next_file()) {
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

json Lab::data() const { return json::parse(order({"status", "--json"}).output); }

json Lab::device(const std::string &name) const {
    json all = data();
    return named(all["devices"], "name", name);
}

std::string Lab::file(const std::string &device, const std::string &name) const {
    return read_file(folder_ + "/devices/" + device + '/' + name);
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

}  // namespace mesh
