// Bundles: everything of one moment of a gateway in one .tar.gz, for a ticket. The files lie in it as they lay on the
// gateway, with their times; beside them "bundle.json" tells what made it and what is missing. Nothing of an archive is
// ever unpacked to a disk.
#pragma once

#include <optional>
#include <string>

#include "reader/source.h"

namespace reader {

// Whether a file begins as gzip does.
bool looks_like_bundle(const std::string &path);

SourceOrProblem open_bundle(const std::string &path);

// What a bundle is told to say of itself.
struct BundleNotes {
    std::string made_by;  // program and version
    bool is_anonymous = false;
};

// Writes one; what is wrong, if it cannot be.
std::optional<Problem> write_bundle(const Inputs &inputs, const BundleNotes &notes, const std::string &path);

}  // namespace reader
