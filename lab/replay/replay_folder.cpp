#include "lab/replay/replay_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "lab/common/error.h"

namespace lab {
namespace {

namespace fs = std::filesystem;

constexpr const char *kMark = "host.log";  // every replay leaves one
constexpr const char *kParts[] = {"tmp", "run", "dnsmasq", "rc.d", "device.json", kMark};

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

ReplayFolder::ReplayFolder(const std::string &name) : path_(make_folder(name)) {
    lock_ = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (lock_ < 0 || flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        close(lock_);
        throw Error(path_ + (error == EWOULDBLOCK ? ": another replay is running there; choose another --out"
                                                  : std::string(": cannot be locked: ") + std::strerror(error)));
    }
    if (!fs::is_empty(path_) && !fs::exists(fs::path(path_) / kMark)) {
        close(lock_);
        throw Error(path_ + ": there are files, and not those of a replay; choose another --out");
    }
    for (const char *part : kParts) {
        std::error_code ignored;
        fs::remove_all(fs::path(path_) / part, ignored);
    }
    fs::create_directories(path_ + "/tmp/scratch");
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
