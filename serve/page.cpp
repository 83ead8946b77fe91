#include "serve/page.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "reader/input.h"

namespace serve {
namespace {

namespace fs = std::filesystem;

struct Type {
    const char *ending;
    const char *name;
};
constexpr std::array<Type, 4> kTypes = {{{".html", "text/html; charset=utf-8"},
                                         {".js", "text/javascript; charset=utf-8"},
                                         {".css", "text/css; charset=utf-8"},
                                         {".svg", "image/svg+xml"}}};

bool ends_in(const std::string &text, const std::string &end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

const char *type_of(const std::string &name) {
    for (const Type &type : kTypes) {
        if (ends_in(name, type.ending)) {
            return type.name;
        }
    }
    return nullptr;
}

// No way leads out of the folder, or to what is hidden in it.
bool is_name(const std::string &name) {
    const bool allowed = name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-./") == std::string::npos;
    return allowed && std::count(name.begin(), name.end(), '/') <= 1 && name.front() != '.' && name.front() != '/' &&
           name.find("/.") == std::string::npos && name.find("..") == std::string::npos;
}

std::string tag_of(const std::string &path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return "";
    }
    return std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec) + '-' +
           std::to_string(status.st_size);
}

std::optional<PageFile> read(const std::string &path, const char *type) {
    const std::string tag = tag_of(path);
    reader::Input file = tag.empty() ? reader::Input() : reader::read_file(path);
    if (tag.empty() || file.problem) {
        return std::nullopt;
    }
    return PageFile{std::move(file.text), type, tag, false};
}

}  // namespace

bool Page::is_there() const { return !tag_of(folder_ + "/index.html").empty(); }

std::optional<PageFile> Page::find(const std::string &name, bool takes_gzip) const {
    const char *type = name.empty() || !is_name(name) ? nullptr : type_of(name);
    if (type == nullptr) {
        return std::nullopt;
    }
    const std::string path = folder_ + '/' + name;
    auto compressed = takes_gzip ? read(path + ".gz", type) : std::nullopt;
    if (compressed) {
        compressed->is_gzip = true;
        compressed->tag += "-gzip";
        return compressed;
    }
    return read(path, type);
}

std::string page_folder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const char *place : {"../share/qo1905/viewer", "viewer", "../viewer"}) {
        const fs::path folder = (program / place).lexically_normal();
        if (fs::exists(folder / "index.html", error)) {
            return folder;
        }
    }
    return (program / "viewer").lexically_normal();  // where a build would put it
}

}  // namespace serve
