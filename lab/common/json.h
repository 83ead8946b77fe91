// Reading the lab's own JSON strictly: every mistake is told with the file, the place in it and what is wrong.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace lab {

class JsonValue {
public:
    // Throws Error when the file ("-" for standard input) cannot be read, is no JSON or has a key twice.
    static JsonValue read_file(const std::string &path);

    // The same of a text; `source` is what mistakes name as the file.
    static JsonValue parse(const std::string &text, const std::string &source);

    // The members that an object may have; throws at any other.
    void allow_keys(const std::vector<std::string> &allowed) const;

    bool is_array() const;
    bool has(const std::string &key) const;
    JsonValue at(const std::string &key) const;  // throws when it is not there
    std::vector<JsonValue> items() const;        // throws when this is no array
    std::vector<std::string> keys() const;       // throws when this is no object

    std::string text() const;
    bool boolean() const;
    int integer(int least, int most) const;
    std::int64_t whole(std::int64_t least, std::int64_t most) const;
    std::string mac() const;         // a text of six bytes in hexadecimal with colons
    std::string device_mac() const;  // one that a single device can have

    // The items of an optional array; none when it is not there.
    std::vector<JsonValue> items_of(const std::string &key) const;

    std::string text_or(const std::string &key, const std::string &otherwise) const;
    bool boolean_or(const std::string &key, bool otherwise) const;
    int integer_or(const std::string &key, int least, int most, int otherwise) const;
    std::string mac_or(const std::string &key, const std::string &otherwise) const;

    // The value as JSON on one line.
    std::string dump() const;

    [[noreturn]] void fail(const std::string &what) const;

private:
    JsonValue(std::shared_ptr<const nlohmann::ordered_json> root, const nlohmann::ordered_json *value,
              std::string place);

    std::shared_ptr<const nlohmann::ordered_json> root_;  // keeps the tree alive
    const nlohmann::ordered_json *value_;
    std::string place_;  // "FILE: wifi[1].name"
};

}  // namespace lab
