// The folder of a running lab: made at its start, removed at its end.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace lab {

inline constexpr const char *kOrderSocket = "/orders";

class LabFolder {
public:
    // Also removes the folders of this user's labs that were killed. Throws Error.
    explicit LabFolder(bool keep);
    ~LabFolder();
    LabFolder(const LabFolder &) = delete;
    LabFolder &operator=(const LabFolder &) = delete;

    const std::string &path() const { return path_; }

private:
    std::string path_;
    bool keep_;
    int lock_;  // held as long as the lab runs
};

// Tries again for a while: a sandbox that was killed a moment ago may still be writing.
void remove_folder(const std::string &path);

// Where a sandbox with this root has made a place for a folder of the machine's own /tmp.
void remove_mount_point(const std::string &root, const std::string &path);

// The folders of labs, running or not: of one user, or of all.
std::vector<std::string> lab_folders(std::optional<uid_t> owner);

}  // namespace lab
