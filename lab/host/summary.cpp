#include "lab/host/summary.h"

#include <json-c/json.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

namespace lab {
namespace {

constexpr const char *kFiles[] = {"/tmp/qo1905.json", "/tmp/ecnt_agent_assoc_list.24g",
                                  "/tmp/ecnt_agent_assoc_list.5g"};

std::string plural(long count, const std::string &noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

long agents_in_model() {
    const std::unique_ptr<json_object, int (*)(json_object *)> model(json_object_from_file(kFiles[0]), json_object_put);
    json_object *value = model.get();
    for (const char *key : {"Device", "X_0A3C5E_IEEE1905", "AL", "NetworkTopology", "IEEE1905DeviceNumberOfEntries"}) {
        json_object *member = nullptr;
        if (json_object_object_get_ex(value, key, &member) == 0) {
            return -1;
        }
        value = member;
    }
    return json_object_get_int(value);
}

long lines_of(const char *path) {
    std::ifstream file(path);
    return std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n');
}

}  // namespace

CycleSummary::CycleSummary(std::string files_at) : files_at_(std::move(files_at)) {
    (void)line(0);  // what lies there already was not written by a cycle
}

std::string CycleSummary::line(unsigned cycle) {
    int written = 0;
    timespec *before = last_written_.data();
    for (const char *path : kFiles) {
        struct stat status = {};
        const bool exists = stat(path, &status) == 0;
        if (exists && (status.st_mtim.tv_sec != before->tv_sec || status.st_mtim.tv_nsec != before->tv_nsec)) {
            *before = status.st_mtim;
            ++written;
        }
        ++before;
    }
    std::ostringstream text;
    text << "cycle " << cycle << ": ";
    if (written == 0) {
        text << "no files written";
        return text.str();
    }
    const long agents = agents_in_model();
    if (agents < 0) {
        text << "the data model does not parse; ";
    } else {
        text << plural(agents + 1, "device") << ", " << plural(agents, "Agent") << ", ";
    }
    text << plural(lines_of(kFiles[1]) + lines_of(kFiles[2]), "station") << "; " << plural(written, "file")
         << " written in " << files_at_;
    return text.str();
}

}  // namespace lab
