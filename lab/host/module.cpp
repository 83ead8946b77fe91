#include "lab/host/module.h"

#include <dlfcn.h>

#include "lab/common/error.h"
#include "lab/host/timer.h"

namespace lab {
namespace {

using Function = std::int32_t (*)();

Function find(void *module, const char *name) { return reinterpret_cast<Function>(dlsym(module, name)); }

}  // namespace

Module::Module(const std::string &path) {
    void *module = dlopen(path.c_str(), RTLD_NOW);
    if (module == nullptr) {
        throw Error(std::string("the module does not load: ") + dlerror());
    }
    const Function init = find(module, "qo1905_init");
    if (init == nullptr) {
        throw Error(path + ": no module, it has no qo1905_init");
    }
    write_change_log_ = find(module, "writeJsonqo1905log");
    init();
    if (registered_event() == nullptr) {
        throw Error(path + ": registered no timer event");
    }
}

void Module::write_change_log() const {
    if (write_change_log_ != nullptr) {
        (void)write_change_log_();
    }
}

}  // namespace lab
