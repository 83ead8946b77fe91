#include "module/model/agents.h"

namespace qo1905 {

Agent *agents = nullptr;

}  // namespace qo1905
