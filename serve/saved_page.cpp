#include "serve/saved_page.h"

#include <filesystem>
#include <random>

namespace serve {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

// In a block of a page, JSON ends where the block's own end stands in it.
std::string in_page(const Json &json) {
    std::string text;
    for (const char c : json.dump(-1, ' ', false, Json::error_handler_t::replace)) {
        text += c == '<' ? "\\u003c" : std::string(1, c);
    }
    return text;
}

std::string random_name() {
    std::random_device random;
    std::string name;
    for (int i = 0; i < 4; ++i) {
        name += std::to_string(random());
    }
    return name;
}

// All modules and the style; the libraries of views that a saved page does not have stay away.
Json files_of(const Page &page) {
    Json files = Json::object();
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(page.folder(), error)) {
        const std::string name = entry.path().filename();
        if (entry.path().extension() == ".js" || entry.path().extension() == ".css") {
            files[name] = page.find(name, false).value_or(PageFile()).text;
        }
    }
    const std::string library = "vendor/htm-preact.js";
    files[library] = page.find(library, false).value_or(PageFile()).text;
    return files;
}

}  // namespace

std::optional<std::string> saved_page(const Page &page, const Json &snapshot) {
    if (!page.is_there()) {
        return std::nullopt;
    }
    const std::string nonce = random_name();
    return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src 'nonce-" +
           nonce +
           "' blob:; img-src data: blob:; base-uri 'none'; form-action 'none'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Mesh</title>\n</head>\n<body>\n"
           "<div id=\"app\"><noscript>This page needs JavaScript.</noscript></div>\n"
           "<script type=\"application/json\" id=\"snapshot\">" +
           in_page(snapshot) + "</script>\n<script type=\"application/json\" id=\"files\">" + in_page(files_of(page)) +
           "</script>\n<script type=\"module\" nonce=\"" + nonce + "\">" +
           page.find("saved.js", false).value_or(PageFile()).text + "</script>\n</body>\n</html>\n";
}

}  // namespace serve
