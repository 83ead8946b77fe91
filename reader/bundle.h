// Bundles: everything of one moment of a gateway in one .tar.gz, for a ticket. The files lie in it as they lay on the
// gateway, with their times; beside them "bundle.json" tells what made it and what is missing. Nothing of an archive is
// ever unpacked to a disk.
#pragma once

#include <optional>
#include <string>

#include "reader/source.h"

namespace reader {

// Whether bytes begin as gzip's do.
bool looks_like_bundle(const std::string &bytes);

// What a bundle holds; `file` is what it is called, and its bytes.
Inputs read_bundle(const Input &file);

// Writes a new one that says that `made_by`, a program and its version, made it; - on standard output; what is wrong,
// if it cannot be. One that is there already stays.
std::optional<Problem> write_bundle(const Inputs &inputs, const std::string &made_by, const std::string &path);

}  // namespace reader
