// Counts the Agents of the dump and remembers who they are, for the report sender. Timer thread.

#include <cstring>

#include "module/base/diag.h"
#include "module/base/json.h"
#include "module/base/owned.h"
#include "module/model/agents.h"
#include "module/model/list.h"
#include "qo1905.h"

namespace qo1905 {
namespace {

constexpr char kName[] = "get1905AgentDevNumber";

// The daemon writes "02"; what it would be cut to counts as well, an empty text included.
bool is_agent_role(const char *role) { return role != nullptr && std::strncmp("02", role, std::strlen(role)) == 0; }

bool remember_agent(json_object *device, ListTail<Agent> &tail) {
    const char *al_mac = json_text(device, "AL MAC");
    if (al_mac == nullptr) {
        std::printf("[%s] get controller AL MAC is NULL !! \n", kName);
        return false;
    }
    auto *agent = record_new<Agent>();
    if (agent == nullptr) {
        std::printf("%s: Allocate curLinkMetricInfo structure buf failed!!\n", kName);
        return false;
    }
    parse_mac(al_mac, agent->AlMac);
    tail.append(agent);
    return true;
}

}  // namespace
}  // namespace qo1905

using namespace qo1905;

int32_t get1905AgentDevNumber(json_object *topology) {
    free_list(agents);
    ListTail<Agent> tail(agents);
    int32_t count = 0;
    for (json_object *device : JsonItems(topology)) {
        if (device == nullptr) {
            std::printf("%s: dev1905 == NULL !!!!!!!!!!!!!\n", kName);
            return 0;
        }
        if (!is_agent_role(json_text(device, "Device role"))) {
            continue;
        }
        if (!remember_agent(device, tail)) {
            return 0;
        }
        ++count;
    }
    return count;
}
