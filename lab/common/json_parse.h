// One JSON text read to its end, with what is wrong with it in words.
#pragma once

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace lab {

// Why a text is no JSON, "line 4: no JSON: ..."; `byte` (0 if unknown) and `what` are what the parser says. One that
// breaks off says so.
std::string json_mistake(const std::string &text, std::size_t byte, const std::string &what);

// Remembers the first key that an object has twice: nobody can tell which of the two is meant.
class RepeatedKey {
public:
    void see(nlohmann::json::parse_event_t event, const std::string &key);
    const std::string &key() const { return key_; }

private:
    std::vector<std::set<std::string>> open_;  // keys of the objects that are being read
    std::string key_;
};

// `mistake` stays empty when the text is JSON.
template <class Json>
Json parse_json(const std::string &text, RepeatedKey &repeated, std::string &mistake) {
    const auto see = [&repeated](int, nlohmann::json::parse_event_t event, const Json &parsed) {
        const bool is_key = event == nlohmann::json::parse_event_t::key;
        repeated.see(event, is_key ? parsed.template get<std::string>() : "");
        return true;
    };
    try {
        return Json::parse(text, see);
    } catch (const typename Json::parse_error &error) {
        mistake = json_mistake(text, error.byte, error.what());
    } catch (const typename Json::exception &error) {
        mistake = json_mistake(text, 0, error.what());
    }
    return Json();
}

}  // namespace lab
