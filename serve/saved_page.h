// The page as one file that needs no server.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "serve/page.h"

namespace serve {

// With a snapshot inside; absent when the page is not there. Nothing in it runs but the page itself, whatever the names
// in the snapshot are: they are data in a block of JSON, and what may run is named by a number that nobody knows
// before.
std::optional<std::string> saved_page(const Page &page, const nlohmann::ordered_json &snapshot);

}  // namespace serve
