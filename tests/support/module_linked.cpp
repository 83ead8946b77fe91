#include "tests/support/module.h"

const Module &module() {
    static const Module linked = {
#define QO1905_TAKE(name) &::name,
        QO1905_EXPORTED_FUNCTIONS(QO1905_TAKE) QO1905_EXPORTED_VARIABLES(QO1905_TAKE)
#undef QO1905_TAKE
    };
    return linked;
}
