#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/module.h"

namespace {

void *find(void *library, const char *name) {
    void *symbol = dlsym(library, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::abort();
    }
    return symbol;
}

Module load() {
    void *library = dlopen(QO1905_MODULE, RTLD_NOW);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::abort();
    }
    Module module;
#define QO1905_FIND(name) module.name = reinterpret_cast<decltype(module.name)>(find(library, #name));
    QO1905_EXPORTED_FUNCTIONS(QO1905_FIND)
    QO1905_EXPORTED_VARIABLES(QO1905_FIND)
#undef QO1905_FIND
    return module;
}

}  // namespace

const Module &module() {
    static const Module loaded = load();
    return loaded;
}
