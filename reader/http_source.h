// The files of a gateway, asked of its REST server.
#pragma once

#include <string>

#include "reader/source.h"

namespace reader {

SourceOrProblem open_http_source(const std::string &address);

}  // namespace reader
