// Prints the texts that strangers would send, as a JSON array, for tests in other languages.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/support/attempts.h"

int main() {
    nlohmann::json list = nlohmann::json::array();
    for (const std::string &attempt : attempts()) {
        list.push_back(attempt);
    }
    std::puts(list.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
}
