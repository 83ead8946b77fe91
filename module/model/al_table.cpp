#include "module/model/al_table.h"

#include "module/model/list.h"

namespace qo1905 {

qo1905_al_table *al_table = nullptr;

int destroyIeee1905DevTable(qo1905_device *&devices) {
    if (devices == nullptr) {
        return QO1905_FAILURE;
    }
    free_list(devices);
    return QO1905_SUCCESS;
}

int destroy_al_table() {
    free_nodes(al_table, NodeKind::kAlTable);
    al_table = nullptr;
    return QO1905_SUCCESS;
}

}  // namespace qo1905
