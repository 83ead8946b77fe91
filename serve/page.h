// The page's files in their folder, as they are sent.
#pragma once

#include <optional>
#include <string>

namespace serve {

struct PageFile {
    std::string text;  // compressed if that was asked for and is there
    std::string type;
    std::string tag;  // another one when the file is another
    bool is_gzip = false;
};

class Page {
public:
    explicit Page(std::string folder) : folder_(std::move(folder)) {}

    const std::string &folder() const { return folder_; }

    // It may come while the server runs.
    bool is_there() const;

    // "index.html", "vendor/htm.js": nothing else than small letters, digits, - and . in at most one folder, with an
    // ending that a page has. `FILE.gz` beside it is taken where gzip is.
    std::optional<PageFile> find(const std::string &name, bool takes_gzip) const;

private:
    std::string folder_;
};

// Where a program finds the page: beside where it was installed, or in its build folder.
std::string page_folder();

}  // namespace serve
