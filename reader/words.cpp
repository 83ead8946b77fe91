#include "reader/words.h"

#include <ctime>

namespace reader {

const char *word(Role role) { return role == Role::kController ? "controller" : "agent"; }

const char *word(Band band) { return band == Band::k2_4GHz ? "2.4 GHz" : "5 GHz"; }

const char *word(Medium medium) {
    constexpr const char *kWords[] = {"2.4 GHz", "5 GHz", "Ethernet"};
    return kWords[static_cast<int>(medium)];
}

const char *word(Interface::Use use) {
    constexpr const char *kWords[] = {"bss", "uplink", "other"};
    return kWords[static_cast<int>(use)];
}

const char *word(EventKind kind) {
    constexpr const char *kWords[] = {"join",   "leave", "roam",     "up",   "down",   "parent",
                                      "medium", "role",  "firmware", "name", "address"};
    return kWords[static_cast<int>(kind)];
}

const char *word(Missing::Part part) {
    constexpr const char *kWords[] = {"model", "dump", "leases", "list"};
    return kWords[static_cast<int>(part)];
}

const char *word(Problem::Kind kind) {
    constexpr const char *kWords[] = {"missing", "unreadable", "torn"};
    return kWords[static_cast<int>(kind)];
}

namespace {

template <class Word>
std::optional<Word> among(const std::string &text, std::initializer_list<Word> values) {
    for (const Word value : values) {
        if (text == word(value)) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace

template <>
std::optional<Role> value_of(const std::string &text) {
    return among(text, {Role::kController, Role::kAgent});
}

template <>
std::optional<Band> value_of(const std::string &text) {
    return among(text, {Band::k2_4GHz, Band::k5GHz});
}

template <>
std::optional<Medium> value_of(const std::string &text) {
    return among(text, {Medium::k2_4GHz, Medium::k5GHz, Medium::kEthernet});
}

template <>
std::optional<Interface::Use> value_of(const std::string &text) {
    return among(text, {Interface::Use::kBss, Interface::Use::kUplink, Interface::Use::kOther});
}

std::string utc(Time time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts = {};
    (void)gmtime_r(&seconds, &parts);
    char text[40];
    const std::size_t size = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, size};
}

}  // namespace reader
