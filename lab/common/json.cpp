#include "lab/common/json.h"

#include <json-c/json.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "lab/common/error.h"

namespace lab {

std::string read_text(const std::string &path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        throw Error(path + ": cannot be read: " + std::strerror(errno != 0 ? errno : EIO));
    }
    return text;
}

namespace {

bool is_mac(const std::string &text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool fits = i % 3 == 2 ? text[i] == ':' : std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (!fits) {
            return false;
        }
    }
    return text.size() == 17;
}

std::string child_place(const std::string &place, const std::string &key) {
    return place + (place.find(": ") == std::string::npos ? ": " : ".") + key;
}

}  // namespace

JsonValue::JsonValue(std::shared_ptr<json_object> root, json_object *value, std::string place)
    : root_(std::move(root)), value_(value), place_(std::move(place)) {}

JsonValue JsonValue::read_file(const std::string &path) {
    const std::string text = read_text(path);
    const std::unique_ptr<json_tokener, void (*)(json_tokener *)> tokener(json_tokener_new(), json_tokener_free);
    json_object *tree = json_tokener_parse_ex(tokener.get(), text.c_str(), static_cast<int>(text.size()) + 1);
    const json_tokener_error error = json_tokener_get_error(tokener.get());
    if (error != json_tokener_success) {
        const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<long>(tokener->char_offset), '\n');
        throw Error(path + ": line " + std::to_string(line) + ": no JSON: " + json_tokener_error_desc(error));
    }
    std::shared_ptr<json_object> root(tree, json_object_put);
    return {root, tree, path};
}

void JsonValue::fail(const std::string &what) const { throw Error(place_ + ": " + what); }

std::vector<std::string> JsonValue::keys() const {
    if (json_object_is_type(value_, json_type_object) == 0) {
        fail("must be an object");
    }
    std::vector<std::string> keys;
    json_object_object_foreach(value_, key, member) {
        (void)member;
        keys.emplace_back(key);
    }
    return keys;
}

void JsonValue::allow_keys(const std::vector<std::string> &allowed) const {
    for (const std::string &key : keys()) {
        if (std::find(allowed.begin(), allowed.end(), key) == allowed.end()) {
            fail("unknown key \"" + key + "\"");
        }
    }
}

bool JsonValue::has(const std::string &key) const {
    return json_object_is_type(value_, json_type_object) != 0 &&
           json_object_object_get_ex(value_, key.c_str(), nullptr) != 0;
}

JsonValue JsonValue::at(const std::string &key) const {
    if (!has(key)) {
        fail("key \"" + key + "\" is missing");
    }
    return {root_, json_object_object_get(value_, key.c_str()), child_place(place_, key)};
}

std::vector<JsonValue> JsonValue::items() const {
    if (json_object_is_type(value_, json_type_array) == 0) {
        fail("must be an array");
    }
    std::vector<JsonValue> items;
    for (std::size_t i = 0; i < json_object_array_length(value_); ++i) {
        items.push_back({root_, json_object_array_get_idx(value_, i), place_ + "[" + std::to_string(i) + "]"});
    }
    return items;
}

std::string JsonValue::text() const {
    if (json_object_is_type(value_, json_type_string) == 0) {
        fail("must be a text");
    }
    return json_object_get_string(value_);
}

bool JsonValue::boolean() const {
    if (json_object_is_type(value_, json_type_boolean) == 0) {
        fail("must be true or false");
    }
    return json_object_get_boolean(value_) != 0;
}

int JsonValue::integer(int least, int most) const {
    const auto value = json_object_get_int64(value_);
    if (json_object_is_type(value_, json_type_int) == 0 || value < least || value > most) {
        fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return static_cast<int>(value);
}

std::string JsonValue::mac() const {
    std::string mac = text();
    if (!is_mac(mac)) {
        fail("must be a MAC address such as \"02:00:00:00:00:01\"");
    }
    return mac;
}

std::string JsonValue::text_or(const std::string &key, const std::string &otherwise) const {
    return has(key) ? at(key).text() : otherwise;
}

bool JsonValue::boolean_or(const std::string &key, bool otherwise) const {
    return has(key) ? at(key).boolean() : otherwise;
}

std::string JsonValue::mac_or(const std::string &key, const std::string &otherwise) const {
    return has(key) ? at(key).mac() : otherwise;
}

std::string JsonValue::dump() const { return json_object_to_json_string_ext(value_, JSON_C_TO_STRING_PLAIN); }

}  // namespace lab
