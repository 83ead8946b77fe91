// The folder of a running lab: made at its start, removed at its end.
#pragma once

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

// The folders of this user's labs, running or not.
std::vector<std::string> lab_folders();

}  // namespace lab
