#include "module/model/al_table.h"

#include "module/model/dump_bytes.h"
#include "module/model/list.h"

namespace qo1905 {

qo1905_al_table *al_table = nullptr;

void destroyIeee1905DevTable(qo1905_device *&devices) {
    free_list(devices);
    forget_dump_bytes();
}

void destroy_al_table() {
    free_list(al_table);
    forget_dump_bytes();
}

}  // namespace qo1905
