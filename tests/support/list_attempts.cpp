// Prints the texts that strangers would send, as a JSON array, for tests in other languages.
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "tests/support/attempts.h"

int main() try {
    nlohmann::json list = nlohmann::json::array();
    for (const std::string &attempt : attempts()) {
        list.push_back(attempt);
    }
    (void)std::puts(list.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
    return 0;
} catch (const std::exception &error) {
    (void)std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
