#include "model/al_table.h"

#include <cstddef>
#include <type_traits>

#include "model/list.h"

namespace qo1905 {

qo1905_al_table *al_table = nullptr;

namespace {

// A node is copied, zeroed and linked as plain memory, and the lists rely on where `next` stands.
template <class T>
constexpr bool is_list_node() {
    return std::is_trivial_v<T> && std::is_standard_layout_v<T> && offsetof(T, next) == 0;
}
static_assert(is_list_node<qo1905_link>());
static_assert(is_list_node<qo1905_al_interface>());
static_assert(is_list_node<qo1905_reserved_node>());
static_assert(is_list_node<qo1905_device_interface>());
static_assert(is_list_node<qo1905_non1905_neighbor>());
static_assert(is_list_node<qo1905_non1905_group>());
static_assert(is_list_node<qo1905_1905_neighbor>());
static_assert(is_list_node<qo1905_1905_group>());
static_assert(is_list_node<qo1905_bridging_tuple>());
static_assert(is_list_node<qo1905_sta_info>());
static_assert(is_list_node<qo1905_device>());
static_assert(is_list_node<qo1905_client>());
static_assert(is_list_node<qo1905_report>());
static_assert(std::is_trivial_v<qo1905_al_table> && std::is_standard_layout_v<qo1905_al_table>);

template <class T>
void free_buffer(T *&buffer) {
    std::free(buffer);
    buffer = nullptr;
}

void clear_al_interface(qo1905_al_interface &interface) {
    free_list(interface.Reserved);
    free_list(interface.Link);
    free_buffer(interface.ReservedBuffer);
    free_buffer(interface.Information);
}

void clear_device(qo1905_device &device) {
    free_list(device.Interface, [](qo1905_device_interface &interface) { free_buffer(interface.ReservedBuffer); });
    free_list(device.NonIEEE1905Neighbor, [](qo1905_non1905_group &group) { free_list(group.Neighbor); });
    free_list(device.IEEE1905Neighbor, [](qo1905_1905_group &group) { free_list(group.Neighbor); });
    free_list(device.BridgingTuple, [](qo1905_bridging_tuple &tuple) { free_buffer(tuple.InterfaceList); });
    free_list(device.STAInfo);
}

}  // namespace

int destroyIeee1905DevTable(qo1905_device *&devices) {
    if (devices == nullptr) {
        return QO1905_FAILURE;
    }
    free_list(devices, clear_device);
    return QO1905_SUCCESS;
}

int destroy_al_table() {
    if (al_table == nullptr) {
        return QO1905_SUCCESS;
    }
    free_list(al_table->Interface, clear_al_interface);
    for (qo1905_reserved_list &list : al_table->Reserved) {
        free_list(list.Head, [](qo1905_reserved_node &node) { free_buffer(node.Buffer); });
    }
    free_list(al_table->ReservedList);
    destroyIeee1905DevTable(al_table->NetworkTopology.IEEE1905Device);
    free_buffer(al_table->Security.Password);
    free_buffer(al_table->Information);
    free_buffer(al_table);
    return QO1905_SUCCESS;
}

}  // namespace qo1905
