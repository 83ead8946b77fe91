// The published formats, docs/schema/*.json, built in.
#pragma once

#include <array>

namespace cli {

struct Schema {
    const char *name;
    const char *text;
};

extern const std::array<Schema, 5> kSchemas;

}  // namespace cli
