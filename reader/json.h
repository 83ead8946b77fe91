// Reading JSON that nobody promised anything about: what is not there, or of another type, is absent.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "reader/mac.h"

namespace reader {

using Json = nlohmann::json;

// What a text holds, or why it is no JSON: "line 3: ...". Bytes that a string of JSON may not hold (line ends, control
// characters, bytes that are no UTF-8) are taken for U+FFFD: the module itself prints a line end into one list.
std::optional<Json> parse_json(const std::string &text, std::string &reason);

// The same without a tree: hands what it meets to `handler`, once, or twice when the first reading fails; the handler
// is then told by start_again(). False with a reason when it is no JSON.
class JsonHandler : public nlohmann::json_sax<Json> {
public:
    virtual void start_again() = 0;
    const std::string &mistake() const { return mistake_; }
    std::size_t mistake_at() const { return mistake_at_; }

    bool parse_error(std::size_t position, const std::string &, const nlohmann::detail::exception &error) final {
        mistake_at_ = position;
        mistake_ = error.what();
        return false;
    }

private:
    std::size_t mistake_at_ = 0;
    std::string mistake_;
};
bool read_json(const std::string &text, JsonHandler &handler, std::string &reason);

// The same for a text of its own: what is no UTF-8 becomes U+FFFD.
std::string valid_utf8(const std::string &text);

// The member of an object; null (the JSON value) when there is none.
const Json &member(const Json &object, const char *key);

// The elements of an array member, none when it is none.
const Json &items(const Json &object, const char *key);

std::optional<std::string> text_of(const Json &object, const char *key);
std::optional<Mac> mac_of(const Json &object, const char *key);

// A whole number, or a text that is one, within the range.
std::optional<int> number_of(const Json &object, const char *key, int least, int most);

// Whether `key` is "PREFIX.N", an object of a numbered kind.
bool is_numbered(const std::string &key, const char *prefix);

}  // namespace reader
