#include "lab/replay/replay_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "lab/common/error.h"

namespace lab {
namespace {

namespace fs = std::filesystem;

constexpr const char *kMark = "host.log";  // every replay leaves one

std::string make_folder(const std::string &name) {
    if (name.empty()) {
        std::string path = "/tmp/qo1905-replay.XXXXXX";
        if (mkdtemp(path.data()) == nullptr) {
            throw Error(path + ": no folder: " + std::strerror(errno));
        }
        return path;
    }
    std::error_code error;
    fs::create_directories(name, error);
    if (error) {
        throw Error(name + ": no folder: " + error.message());
    }
    return fs::canonical(name);
}

}  // namespace

int ReplayFolder::lock(const std::string &path) {
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        close(fd);
        throw Error(path + (error == EWOULDBLOCK ? ": another replay is running there; choose another --out"
                                                 : std::string(": cannot be locked: ") + std::strerror(error)));
    }
    return fd;
}

ReplayFolder::ReplayFolder(const std::string &name) : path_(make_folder(name)), lock_(lock(path_)) {
    if (!fs::is_empty(path_) && !fs::exists(fs::path(path_) / kMark)) {
        close(lock_);
        throw Error(path_ + ": there are files, and not those of a replay; choose another --out");
    }
    if (!fs::is_empty(path_)) {
        move_aside();
    }
    fs::create_directories(path_ + "/tmp/scratch");
}

// What an earlier replay left is kept until the next but one: this one may fail.
void ReplayFolder::move_aside() {
    const std::string aside = path_ + ".before";
    if (fs::exists(aside) && !fs::exists(fs::path(aside) / kMark)) {
        throw Error(aside + ": is in the way; what an earlier replay left would go there");
    }
    fs::remove_all(aside);
    fs::rename(path_, aside);
    fs::create_directory(path_);
    close(lock_);
    lock_ = lock(path_);
    std::cout << "== what an earlier replay left there is now in " << aside << std::endl;
}

void ReplayFolder::throw_away() const {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

ReplayFolder::~ReplayFolder() {
    std::error_code ignored;
    fs::remove_all(path_ + "/tmp/scratch", ignored);
    fs::remove(path_ + "/tmp/mapd_ctrl", ignored);
    close(lock_);
}

void ReplayFolder::write(const std::string &name, const std::string &text) const {
    std::ofstream file(path_ + '/' + name, std::ios::binary);
    file << text;
    file.close();
    if (file.fail()) {
        throw Error(path_ + '/' + name + ": cannot be written: " + std::strerror(errno));
    }
}

}  // namespace lab
