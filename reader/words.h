// The words of the values that snapshots hold, as all outputs spell them.
#pragma once

#include <string>

#include "reader/events.h"
#include "reader/snapshot.h"

namespace reader {

const char *word(Role role);           // "controller", "agent"
const char *word(Band band);           // "2.4 GHz", "5 GHz"
const char *word(Medium medium);       // the same and "Ethernet"
const char *word(Interface::Use);      // "bss", "uplink", "other"
const char *word(EventKind kind);      // "join", "leave", "roam", "up", "down", "parent", ...
const char *word(Missing::Part part);  // "model", "dump", "leases", "list"
const char *word(Problem::Kind kind);  // "missing", "unreadable", "torn"

// The value of a word; none that is not of its kind.
template <class Word>
std::optional<Word> value_of(const std::string &text);
template <>
std::optional<Role> value_of(const std::string &text);
template <>
std::optional<Band> value_of(const std::string &text);
template <>
std::optional<Medium> value_of(const std::string &text);
template <>
std::optional<Interface::Use> value_of(const std::string &text);

// ISO 8601 in UTC, "2026-11-22T01:08:40Z".
std::string utc(Time time);

}  // namespace reader
