// What the module made of a cycle, read back from the files that it wrote.
#pragma once

#include <array>
#include <ctime>
#include <string>

namespace lab {

struct CycleSummary {
    int files_written = 0;
    int agents = -1;  // in the data model; -1 when that does not parse
    int stations = 0;
    long model_bytes = 0;

    // For a person: "3 devices, 2 Agents, 12 stations; 3 files written".
    std::string text() const;
};

class FileReader {
public:
    // `folder`: the device's /tmp, as it is seen from here.
    explicit FileReader(std::string folder);

    // To be called after each cycle.
    CycleSummary read();

private:
    std::string folder_;
    std::array<timespec, 3> last_written_ = {};
};

}  // namespace lab
