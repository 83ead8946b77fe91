// One line per cycle for a person: what the module made of the mesh, read back from the files it wrote.
#pragma once

#include <array>
#include <ctime>
#include <string>

namespace lab {

class CycleSummary {
public:
    // `files_at`: where the files can be read from outside a sandbox.
    explicit CycleSummary(std::string files_at);

    // To be called after each cycle.
    std::string line(unsigned cycle);

private:
    std::string files_at_;
    std::array<timespec, 3> last_written_ = {};
};

}  // namespace lab
