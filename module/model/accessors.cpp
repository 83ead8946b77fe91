// The exported ways into the table, the variables that are there for the host, and the entry points that announce
// themselves as not implemented.

#include "module/base/diag.h"
#include "module/model/al_table.h"
#include "module/model/stubs.h"

using namespace qo1905;

char DeviceMode[32] = "unknow";
qo1905_intf_table intfTable = {{0, 0}, ""};
char WIFI_WIFI_AP_IFNAME[16] = {};
char WIFI_WIFI_AP_IFNAME_5G[16] = {};

qo1905_al_table *getAlTable() { return al_table; }

// Each looks at the global once: what it saw is what it answers from.
qo1905_al_interface *getIntfTable() {
    const qo1905_al_table *table = al_table;
    return table != nullptr ? table->Interface : nullptr;
}

qo1905_security *getSecurityTable() {
    qo1905_al_table *table = al_table;
    if (table == nullptr) {
        std::printf("%s: al_table is NULL\r\n", "getSecurityTable");
        return nullptr;
    }
    return &table->Security;
}

qo1905_network_topology *getNetTopolTable() {
    qo1905_al_table *table = al_table;
    return table != nullptr ? &table->NetworkTopology : nullptr;
}

#define QO1905_DEFINE_STUB(name, line) \
    int32_t name() { return notice_not_implemented(#name, line); }
QO1905_STUBS(QO1905_DEFINE_STUB)
#undef QO1905_DEFINE_STUB
