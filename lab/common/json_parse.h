// One JSON text read to its end, with what is wrong with it in words.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace lab {

// Why a text is no JSON, "line 4: no JSON: ..."; `byte` (0 if unknown) and `what` are what the parser says. One that
// breaks off says so.
std::string json_mistake(const std::string &text, std::size_t byte, const std::string &what);

// The first key that an object of the text has twice: nobody can tell which of the two is meant. Empty when there is
// none.
std::string repeated_key(const std::string &text);

// `mistake` stays empty when the text is JSON.
template <class Json>
Json parse_json(const std::string &text, std::string &mistake) {
    try {
        return Json::parse(text);
    } catch (const typename Json::parse_error &error) {
        mistake = json_mistake(text, error.byte, error.what());
    } catch (const typename Json::exception &error) {
        mistake = json_mistake(text, 0, error.what());
    }
    return Json();
}

}  // namespace lab
