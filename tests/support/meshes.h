// The meshes of tests/fixtures/meshes as a test meets them: configuration, reports, leases and dump put in place, and
// what is put into the built table through the accessors.
#pragma once

#include <string>

#include "tests/support/module.h"

// Puts the mesh's input in place, hands its reports to the module and builds the table at the time 1700000000. The test
// checks the build's result, which is returned.
int32_t build_mesh(const std::string &name);

// What README.md beside the fixtures lists for the mesh of this name; nothing for most.
void change_table(const std::string &name);
