#include "reader/json.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace reader {
namespace {

const Json kNull;
const Json kNoItems = Json::array();
const std::string kReplacement = "\xef\xbf\xbd";

// How many bytes the UTF-8 character at a place has; 0 when there is none (Unicode, Table 3-7).
std::size_t character_size(const std::string &text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xc0U) == 0x80; };
    const unsigned first = byte(at);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xc2 && first <= 0xdf && continues(at + 1)) {
        return 2;
    }
    const unsigned second = byte(at + 1);
    if (first >= 0xe0 && first <= 0xef && continues(at + 1) && continues(at + 2)) {
        const bool fits = !(first == 0xe0 && second < 0xa0) && !(first == 0xed && second >= 0xa0);
        return fits ? 3 : 0;
    }
    if (first >= 0xf0 && first <= 0xf4 && continues(at + 1) && continues(at + 2) && continues(at + 3)) {
        const bool fits = !(first == 0xf0 && second < 0x90) && !(first == 0xf4 && second >= 0x90);
        return fits ? 4 : 0;
    }
    return 0;
}

std::string repaired(const std::string &text) {
    std::string good;
    good.reserve(text.size() + text.size() / 8);
    bool quoted = false;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = character_size(text, i);
        const bool control = static_cast<unsigned char>(text[i]) < 0x20;
        if (size == 0 || (quoted && control)) {
            good += kReplacement;
            ++i;
            continue;
        }
        const bool escaped = quoted && text[i] == '\\' && i + 1 < text.size() &&
                             static_cast<unsigned char>(text[i + 1]) >= 0x20 &&
                             static_cast<unsigned char>(text[i + 1]) < 0x80;
        quoted = text[i] == '"' ? !quoted : quoted;
        const std::size_t taken = escaped ? 2 : size;
        good.append(text, i, taken);
        i += taken;
    }
    return good;
}

// "line 3: no JSON: ..." of what the parser says.
std::string explain(const std::string &text, std::size_t byte, const std::string &what) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(byte, text.size()));
    const std::size_t place = what.find(": ");
    return "line " + std::to_string(1 + std::count(text.begin(), end, '\n')) +
           ": no JSON: " + (place == std::string::npos ? what : what.substr(place + 2));
}

}  // namespace

std::optional<Json> parse_json(const std::string &text, std::string &reason) {
    Json parsed = Json::parse(text, nullptr, false);
    if (!parsed.is_discarded()) {
        return parsed;
    }
    const std::string second = repaired(text);
    try {
        return Json::parse(second);
    } catch (const Json::parse_error &error) {
        reason = explain(second, error.byte, error.what());
    } catch (const Json::exception &error) {
        reason = std::string("no JSON: ") + error.what();
    }
    return std::nullopt;
}

bool read_json(const std::string &text, JsonHandler &handler, std::string &reason) {
    if (Json::sax_parse(text, &handler)) {
        return true;
    }
    handler.start_again();
    const std::string second = repaired(text);
    if (Json::sax_parse(second, &handler)) {
        return true;
    }
    reason = explain(second, handler.mistake_at(), handler.mistake());
    return false;
}

std::string valid_utf8(const std::string &text) {
    std::string good;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = character_size(text, i);
        good += size == 0 ? kReplacement : text.substr(i, size);
        i += size == 0 ? 1 : size;
    }
    return good;
}

const Json &member(const Json &object, const char *key) {
    if (!object.is_object()) {
        return kNull;
    }
    const auto found = object.find(key);
    return found != object.end() ? *found : kNull;
}

const Json &items(const Json &object, const char *key) {
    const Json &found = member(object, key);
    return found.is_array() ? found : kNoItems;
}

std::optional<std::string> text_of(const Json &object, const char *key) {
    const Json &found = member(object, key);
    return found.is_string() ? std::optional(found.get_ref<const std::string &>()) : std::nullopt;
}

std::optional<Mac> mac_of(const Json &object, const char *key) {
    const Json &found = member(object, key);
    return found.is_string() ? Mac::parse(found.get_ref<const std::string &>()) : std::nullopt;
}

std::optional<int> number_of(const Json &object, const char *key, int least, int most) {
    const Json &found = member(object, key);
    std::int64_t number = 0;
    if (found.is_string()) {
        const auto &text = found.get_ref<const std::string &>();
        const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
        if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
            return std::nullopt;
        }
    } else if (found.is_number_unsigned()) {
        const auto value = found.get<std::uint64_t>();
        number = value > INT32_MAX ? INT64_MAX : static_cast<std::int64_t>(value);
    } else if (found.is_number_integer()) {
        number = found.get<std::int64_t>();
    } else {
        return std::nullopt;
    }
    return number >= least && number <= most ? std::optional(static_cast<int>(number)) : std::nullopt;
}

bool is_numbered(const std::string &key, const char *prefix) {
    const std::size_t size = std::strlen(prefix);
    return key.size() > size + 1 && key.compare(0, size, prefix) == 0 && key[size] == '.' &&
           std::all_of(key.begin() + static_cast<std::ptrdiff_t>(size) + 1, key.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace reader
