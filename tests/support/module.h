// The module as a host sees it: loaded from its file, its exports found by name. The same tests can be linked with the
// rooms instead (tests/support/module_linked.cpp), where allocations can be made to fail.
#pragma once

#include "exports.h"  // QO1905_EXPORTED_FUNCTIONS and QO1905_EXPORTED_VARIABLES, made of module/qo1905.map
#include "qo1905.h"

struct Module {
#define QO1905_MEMBER(name) decltype(&::name) name;
    QO1905_EXPORTED_FUNCTIONS(QO1905_MEMBER)
    QO1905_EXPORTED_VARIABLES(QO1905_MEMBER)
#undef QO1905_MEMBER
};

// The module of this process; loaded at the first call.
const Module &module();
