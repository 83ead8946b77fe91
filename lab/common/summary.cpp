#include "lab/common/summary.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "lab/common/text.h"
#include "reader/model_file.h"

namespace lab {
namespace {

constexpr const char *kFiles[] = {"/qo1905.json", "/ecnt_agent_assoc_list.24g", "/ecnt_agent_assoc_list.5g"};

int agents_in_model(const std::string &path) {
    std::string reason;
    const auto model = reader::parse_model(reader::read_file(path).text, reason);
    return model ? static_cast<int>(model->devices.size()) : -1;
}

int lines_of(const std::string &path) {
    std::ifstream file(path);
    return static_cast<int>(std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n'));
}

}  // namespace

std::string CycleSummary::text() const {
    if (files_written == 0) {
        return "no files written";
    }
    const std::string devices = agents < 0 ? "the data model does not parse; "
                                           : plural(agents + 1, "device") + ", " + plural(agents, "Agent") + ", ";
    return devices + plural(stations, "station") + "; " + plural(files_written, "file") + " written";
}

FileReader::FileReader(std::string folder) : folder_(std::move(folder)) {
    (void)read();  // what lies there already was not written by a cycle
}

CycleSummary FileReader::read() {
    CycleSummary summary;
    timespec *before = last_written_.data();
    for (const char *name : kFiles) {
        struct stat status = {};
        const bool exists = stat((folder_ + name).c_str(), &status) == 0;
        if (exists && (status.st_mtim.tv_sec != before->tv_sec || status.st_mtim.tv_nsec != before->tv_nsec)) {
            *before = status.st_mtim;
            ++summary.files_written;
        }
        if (name == kFiles[0]) {
            summary.model_bytes = exists ? status.st_size : 0;
        }
        ++before;
    }
    if (summary.files_written != 0) {
        summary.agents = agents_in_model(folder_ + kFiles[0]);
        summary.stations = lines_of(folder_ + kFiles[1]) + lines_of(folder_ + kFiles[2]);
    }
    return summary;
}

}  // namespace lab
