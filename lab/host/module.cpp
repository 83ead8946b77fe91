#include "lab/host/module.h"

#include <dlfcn.h>

#include <ctime>

#include "lab/common/error.h"
#include "lab/host/timer.h"

namespace lab {
namespace {

template <class Function>
Function find(void *module, const char *name) {
    return reinterpret_cast<Function>(dlsym(module, name));
}

}  // namespace

Module::Module(const std::string &path) {
    void *module = dlopen(path.c_str(), RTLD_NOW);
    if (module == nullptr) {
        throw Error(std::string("the module does not load: ") + dlerror());
    }
    const auto init = find<std::int32_t (*)()>(module, "qo1905_init");
    if (init == nullptr) {
        throw Error(path + ": no module, it has no qo1905_init");
    }
    write_change_log_ = find<std::int32_t (*)()>(module, "writeJsonqo1905log");
    network_ = find<qo1905_network_topology *(*)()>(module, "getNetTopolTable");
    init();
    if (registered_event() == nullptr) {
        throw Error(path + ": registered no timer event");
    }
}

void Module::write_change_log() {
    qo1905_network_topology *network = network_ != nullptr ? network_() : nullptr;
    if (network != nullptr) {
        change_log_.update(*network, static_cast<std::uint32_t>(std::time(nullptr)));
    }
    if (write_change_log_ != nullptr) {
        (void)write_change_log_();
    }
}

}  // namespace lab
