#include "reader/source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "reader/bundle.h"
#include "reader/http_source.h"

namespace reader {
namespace {

namespace fs = std::filesystem;

constexpr const char *kModel = "qo1905.json";
constexpr const char *kDump = "dump.txt";
constexpr const char *kLeases = "dnsmasq.leases";
constexpr const char *kList24g = "ecnt_agent_assoc_list.24g";
constexpr const char *kList5g = "ecnt_agent_assoc_list.5g";
constexpr const char *kLog = "qo1905_log.json";
constexpr const char *kLabFolders = "/tmp";
constexpr const char *kLabPrefix = "qo1905-lab.";

bool is_folder(const std::string &path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

std::string inside(const std::string &folder, const std::string &name) {
    return folder + (!folder.empty() && folder.back() == '/' ? "" : "/") + name;
}

class FolderSource : public Source {
public:
    FolderSource(std::string name, std::string folder) : name_(std::move(name)), folder_(std::move(folder)) {}

    Inputs read() override {
        Inputs inputs;
        const std::string files = files_folder();
        inputs.source = name_;
        inputs.model = read_model_file(inside(files, kModel));
        inputs.dump = read_dump_file(inside(files, kDump));
        inputs.leases = read_line_file(inside(leases_folder(), kLeases));
        inputs.list_24g = read_line_file(inside(files, kList24g));
        inputs.list_5g = read_line_file(inside(files, kList5g));
        inputs.log = read_file(inside(files, kLog));
        inputs.read_at = std::chrono::system_clock::now();
        return inputs;
    }

    std::string watched() const override { return inside(files_folder(), kModel); }

private:
    // Looked for every time: a device that starts anew may have lost them for a while.
    std::string files_folder() const { return is_folder(inside(folder_, "tmp")) ? inside(folder_, "tmp") : folder_; }

    std::string leases_folder() const {
        for (const char *place : {"var/dnsmasq", "dnsmasq"}) {
            if (is_folder(inside(folder_, place))) {
                return inside(folder_, place);
            }
        }
        return folder_;
    }

    std::string name_;
    std::string folder_;
};

// Standard input is read once, whatever is asked later.
class FileSource : public Source {
public:
    explicit FileSource(std::string path) : path_(std::move(path)), watched_(path_ == "-" ? "" : whole_path(path_)) {}

    Inputs read() override {
        if (path_ != "-" || file_.file.empty()) {
            file_ = read_model_file(path_);
        }
        Inputs inputs = looks_like_bundle(file_.text) ? read_bundle(file_) : model_alone();
        inputs.source = path_;
        return inputs;
    }

    std::string watched() const override { return watched_; }

    bool can_change() const override { return path_ != "-" && !looks_like_bundle(first_bytes()); }

private:
    Inputs model_alone() const {
        Inputs inputs;
        inputs.model = file_;
        for (Input *other : {&inputs.dump, &inputs.leases, &inputs.list_24g, &inputs.list_5g}) {
            other->problem = Problem{Problem::Kind::kMissing, "", "not given, the model stands alone"};
        }
        inputs.dump.problem->file = kDump;
        inputs.leases.problem->file = kLeases;
        inputs.list_24g.problem->file = kList24g;
        inputs.list_5g.problem->file = kList5g;
        inputs.read_at = std::chrono::system_clock::now();
        return inputs;
    }

    // Of a file; a pipe would lose them.
    std::string first_bytes() const {
        std::string bytes(2, '\0');
        std::error_code error;
        if (fs::is_regular_file(path_, error)) {
            std::ifstream(path_, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        }
        return bytes;
    }

    // At once: later there may be no working directory any more.
    static std::string whole_path(const std::string &path) {
        std::error_code error;
        return fs::absolute(path, error).string();
    }

    std::string path_;
    std::string watched_;
    Input file_;
};

Problem no_source(const std::string &name, const std::string &reason) {
    return {Problem::Kind::kMissing, name, reason};
}

// Folders of the labs of this user.
std::vector<std::string> labs() {
    std::vector<std::string> folders;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(kLabFolders, error)) {
        struct stat status = {};
        const std::string path = entry.path();
        if (entry.path().filename().string().rfind(kLabPrefix, 0) == 0 && lstat(path.c_str(), &status) == 0 &&
            S_ISDIR(status.st_mode) && status.st_uid == geteuid()) {
            folders.push_back(path);
        }
    }
    return folders;
}

// In a fixed order.
std::vector<std::string> names_in(const std::string &folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(folder, error)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string listed(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names) {
        text.append(text.empty() ? "" : ", ").append(name);
    }
    return text;
}

SourceOrProblem open_lab(const std::string &name, const std::string &device) {
    const std::vector<std::string> folders = labs();
    if (folders.empty()) {
        return no_source(name, "no lab is running here");
    }
    if (folders.size() > 1) {
        std::string text = "several labs are running; name the folder instead:";
        for (const std::string &folder : folders) {
            text.append(" ").append(folder).append("/devices/").append(device);
        }
        return no_source(name, text);
    }
    const std::string devices = folders[0] + "/devices/";
    if (device.empty() || device.find('/') != std::string::npos || !is_folder(devices + device)) {
        return no_source(name, "the lab has no such device; it has: " + listed(names_in(devices)));
    }
    return std::make_unique<FolderSource>(name, devices + device);
}

}  // namespace

std::vector<std::string> lab_devices() {
    const std::vector<std::string> folders = labs();
    return folders.size() == 1 ? names_in(folders[0] + "/devices") : std::vector<std::string>();
}

SourceOrProblem open_source(const std::string &name) {
    constexpr const char *kLab = "lab:";
    if (name.rfind("http://", 0) == 0) {
        return open_http_source(name);
    }
    if (name.rfind(kLab, 0) == 0) {
        return open_lab(name, name.substr(std::strlen(kLab)));
    }
    if (name.find("://") != std::string::npos) {
        return no_source(name, "only http:// is understood");
    }
    if (is_folder(name)) {
        return std::make_unique<FolderSource>(name, name);
    }
    if (name != "-" && access(name.c_str(), F_OK) != 0) {
        return no_source(name, std::strerror(errno));
    }
    return std::make_unique<FileSource>(name);
}

}  // namespace reader
