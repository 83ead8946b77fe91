#include "lab/common/json.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>

#include "lab/common/error.h"
#include "lab/common/input.h"
#include "lab/common/json_parse.h"
#include "lab/common/text.h"

namespace lab {

using Json = nlohmann::ordered_json;

namespace {

std::string child_place(const std::string &place, const std::string &key) {
    return place + (place.find(": ") == std::string::npos ? ": " : ".") + key;
}

// What the parser says after its own heading and place.
std::string reason(const std::string &what) {
    const std::size_t head = what.find("] ");
    const std::size_t place = what.find(": ");
    const bool has_place = what.find("parse error at ") != std::string::npos && place != std::string::npos;
    return has_place ? what.substr(place + 2) : head != std::string::npos ? what.substr(head + 2) : what;
}

// Follows a parser from key to key.
class KeyWatcher : public nlohmann::json_sax<nlohmann::json> {
public:
    const std::string &repeated() const { return repeated_; }

    bool start_object(std::size_t) override {
        open_.emplace_back();
        return true;
    }
    bool end_object() override {
        open_.pop_back();
        return true;
    }
    bool key(std::string &key) override {
        const bool is_new = open_.back().insert(key).second;
        repeated_ = is_new ? "" : key;
        return is_new;  // one is enough
    }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(std::int64_t) override { return true; }
    bool number_unsigned(std::uint64_t) override { return true; }
    bool number_float(double, const std::string &) override { return true; }
    bool string(std::string &) override { return true; }
    bool binary(nlohmann::json::binary_t &) override { return true; }
    bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &) override { return false; }

private:
    std::vector<std::set<std::string>> open_;  // keys of the objects that are being read
    std::string repeated_;
};

}  // namespace

std::string json_mistake(const std::string &text, std::size_t byte, const std::string &what) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(byte, text.size()));
    const bool is_cut = what.find("unexpected end of input") != std::string::npos ||
                        what.find("missing closing quote") != std::string::npos;
    const std::string line = byte == 0 ? "" : "line " + std::to_string(1 + std::count(text.begin(), end, '\n')) + ": ";
    return line + "no JSON: " + (is_cut && !text.empty() ? "it ends there, in the middle: " : "") + reason(what);
}

std::string repeated_key(const std::string &text) {
    KeyWatcher keys;
    (void)nlohmann::json::sax_parse(text, &keys);
    return keys.repeated();
}

JsonValue::JsonValue(std::shared_ptr<const Json> root, const Json *value, std::string place)
    : root_(std::move(root)), value_(value), place_(std::move(place)) {}

JsonValue JsonValue::read_file(const std::string &path) { return parse(read_input(path), input_name(path)); }

JsonValue JsonValue::parse(const std::string &text, const std::string &source) {
    std::string mistake;
    const auto root = std::make_shared<const Json>(parse_json<Json>(text, mistake));
    const std::string repeated = mistake.empty() ? repeated_key(text) : "";
    if (!repeated.empty()) {
        mistake = "key \"" + one_line(repeated) + "\" is there twice";
    }
    if (!mistake.empty()) {
        throw Error(source + ": " + mistake);
    }
    return {root, root.get(), source};
}

void JsonValue::fail(const std::string &what) const { throw Error(one_line(place_ + ": " + what)); }

std::vector<std::string> JsonValue::keys() const {
    if (!value_->is_object()) {
        fail("must be an object");
    }
    std::vector<std::string> keys;
    for (const auto &member : value_->items()) {
        keys.push_back(member.key());
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

bool JsonValue::is_array() const { return value_->is_array(); }

bool JsonValue::has(const std::string &key) const { return value_->is_object() && value_->contains(key); }

JsonValue JsonValue::at(const std::string &key) const {
    if (!has(key)) {
        fail("key \"" + key + "\" is missing");
    }
    return {root_, &value_->at(key), child_place(place_, key)};
}

std::vector<JsonValue> JsonValue::items() const {
    if (!value_->is_array()) {
        fail("must be an array");
    }
    std::vector<JsonValue> items;
    for (const Json &item : *value_) {
        items.push_back({root_, &item, place_ + "[" + std::to_string(items.size()) + "]"});
    }
    return items;
}

std::vector<JsonValue> JsonValue::items_of(const std::string &key) const {
    return has(key) ? at(key).items() : std::vector<JsonValue>();
}

std::string JsonValue::text() const {
    if (!value_->is_string()) {
        fail("must be a text");
    }
    return value_->get<std::string>();
}

bool JsonValue::boolean() const {
    if (!value_->is_boolean()) {
        fail("must be true or false");
    }
    return value_->get<bool>();
}

std::int64_t JsonValue::whole(std::int64_t least, std::int64_t most) const {
    const bool too_large = value_->is_number_unsigned() && value_->get<std::uint64_t>() > INT64_MAX;
    const bool is_whole = value_->is_number_integer() && !too_large;
    const auto value = is_whole ? value_->get<std::int64_t>() : 0;
    if (!is_whole || value < least || value > most) {
        fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value;
}

int JsonValue::integer(int least, int most) const { return static_cast<int>(whole(least, most)); }

std::string JsonValue::mac() const {
    std::string mac = text();
    if (!is_mac(mac)) {
        fail("must be a MAC address such as \"02:00:00:00:00:01\"");
    }
    return mac;
}

// All zeros is nobody, and an odd first byte means many.
std::string JsonValue::device_mac() const {
    std::string address = mac();
    const bool is_group = (std::stoi(address.substr(0, 2), nullptr, 16) & 1) != 0;
    if (is_group || address == "00:00:00:00:00:00") {
        fail(address + " is no device's MAC");
    }
    return address;
}

std::string JsonValue::text_or(const std::string &key, const std::string &otherwise) const {
    return has(key) ? at(key).text() : otherwise;
}

bool JsonValue::boolean_or(const std::string &key, bool otherwise) const {
    return has(key) ? at(key).boolean() : otherwise;
}

int JsonValue::integer_or(const std::string &key, int least, int most, int otherwise) const {
    return has(key) ? at(key).integer(least, most) : otherwise;
}

std::string JsonValue::mac_or(const std::string &key, const std::string &otherwise) const {
    return has(key) ? at(key).mac() : otherwise;
}

std::string JsonValue::dump() const { return value_->dump(); }

}  // namespace lab
