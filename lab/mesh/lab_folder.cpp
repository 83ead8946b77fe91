#include "lab/mesh/lab_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include "lab/common/error.h"

namespace lab {
namespace {

namespace fs = std::filesystem;

constexpr const char *kFolders = "/tmp/qo1905-lab.";
constexpr const char *kKept = "/tmp/qo1905-kept.";
constexpr const char *kKeepMark = "/keep";
constexpr std::time_t kYoung = 10;  // seconds in which a lab takes its lock

int open_locked(const std::string &path) {
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// Under the name of those that stay; the old one when that cannot be.
std::string rename_kept(const std::string &path) {
    std::error_code error;
    const std::string kept = kKept + path.substr(std::strlen(kFolders));
    fs::rename(path, kept, error);
    return error ? path : kept;
}

// Of labs that were killed. What was to be kept is.
void remove_abandoned() {
    for (const std::string &path : lab_folders(geteuid())) {
        struct stat status = {};
        const bool old = stat(path.c_str(), &status) == 0 && status.st_mtime + kYoung < std::time(nullptr);
        const int lock = old ? open_locked(path) : -1;
        if (lock < 0) {
            continue;
        }
        if (fs::exists(path + kKeepMark)) {
            std::cerr << "== a lab that was killed has left " << rename_kept(path) << ", as --keep asked\n";
        } else {
            remove_folder(path);
        }
        close(lock);
    }
}

}  // namespace

void remove_folder(const std::string &path) {
    constexpr int kTries = 100;
    std::error_code error;
    for (int i = 0; i < kTries && fs::exists(path, error); ++i) {
        fs::remove_all(path, error);
        if (error) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
}

void remove_mount_point(const std::string &root, const std::string &path) {
    std::error_code error;
    for (fs::path place = path; !error && place.string().rfind("/tmp/", 0) == 0; place = place.parent_path()) {
        fs::remove(root + place.string(), error);  // nothing but an empty folder
    }
}

std::vector<std::string> lab_folders(std::optional<uid_t> owner) {
    std::vector<std::string> folders;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(fs::path(kFolders).parent_path(), error)) {
        const std::string path = entry.path();
        struct stat status = {};
        if (path.rfind(kFolders, 0) == 0 && lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
            (!owner || status.st_uid == *owner)) {
            folders.push_back(path);
        }
    }
    return folders;
}

LabFolder::LabFolder(bool keep) : path_(std::string(kFolders) + "XXXXXX"), keep_(keep), lock_(-1) {
    remove_abandoned();
    if (mkdtemp(path_.data()) == nullptr) {
        throw Error(path_ + ": no folder: " + std::strerror(errno));
    }
    lock_ = open_locked(path_);
    if (lock_ < 0) {
        remove_folder(path_);
        throw Error(path_ + ": cannot be locked: " + std::strerror(errno));
    }
    if (keep_) {
        std::ofstream(path_ + kKeepMark).flush();
    }
}

LabFolder::~LabFolder() {
    if (keep_) {
        std::error_code ignored;
        fs::remove(path_ + kKeepMark, ignored);
        std::cout << "== everything is kept in " << rename_kept(path_) << std::endl;
    } else {
        remove_folder(path_);
    }
    close(lock_);
}

}  // namespace lab
