// The model as TR-181 tools see it: a value for every path, "Device.X_0A3C5E_IEEE1905.AL.Interface.1.Status".
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace reader {

// Calls `take` with every path and its value, in the order of the file; a list is one value. False with a reason when
// the text is no JSON.
using TakeValue = std::function<void(const std::string &path, const nlohmann::json &value)>;
bool walk_paths(const std::string &text, const TakeValue &take, std::string &reason);

// Whether a path is meant by a pattern: "*" is any one part; what ends in a dot, or stops early, means all beneath.
bool matches_path(const std::string &pattern, const std::string &path);

}  // namespace reader
