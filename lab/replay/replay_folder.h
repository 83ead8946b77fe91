// Where the files of a replay are: a folder like a device's of the lab, with tmp/, run/ and dnsmasq/ in it, and a
// host.log with all that was said.
#pragma once

#include <string>

namespace lab {

class ReplayFolder {
public:
    // An empty name: a new folder in /tmp. One that is there has to be empty, or that of an earlier replay, which is
    // moved aside. Throws Error, also when a replay is running there.
    explicit ReplayFolder(const std::string &name);
    ~ReplayFolder();  // removes what only the replay itself needed
    ReplayFolder(const ReplayFolder &) = delete;
    ReplayFolder &operator=(const ReplayFolder &) = delete;

    const std::string &path() const { return path_; }

    // With all that is in it.
    void throw_away() const;

    // Throws Error when it cannot be written.
    void write(const std::string &name, const std::string &text) const;

private:
    static int lock(const std::string &path);
    void move_aside();

    std::string path_;
    int lock_ = -1;  // held as long as it runs
};

}  // namespace lab
