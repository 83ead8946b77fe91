#include "module/model/list.h"

#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace qo1905 {
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

// A pointer in a record to what belongs to it.
struct Owned {
    NodeKind owner;
    NodeKind nodes;
    std::uint16_t place;
};

constexpr Owned kOwned[] = {
    {NodeKind::kAlTable, NodeKind::kAlInterface, offsetof(qo1905_al_table, Interface)},
    {NodeKind::kAlTable, NodeKind::kReserved, offsetof(qo1905_al_table, Reserved[0].Head)},
    {NodeKind::kAlTable, NodeKind::kReserved, offsetof(qo1905_al_table, Reserved[1].Head)},
    {NodeKind::kAlTable, NodeKind::kPlain, offsetof(qo1905_al_table, ReservedList)},
    {NodeKind::kAlTable, NodeKind::kDevice, offsetof(qo1905_al_table, NetworkTopology.IEEE1905Device)},
    {NodeKind::kAlTable, NodeKind::kBlock, offsetof(qo1905_al_table, Security.Password)},
    {NodeKind::kAlTable, NodeKind::kBlock, offsetof(qo1905_al_table, Information)},
    {NodeKind::kReserved, NodeKind::kBlock, offsetof(qo1905_reserved_node, Buffer)},
    {NodeKind::kAlInterface, NodeKind::kPlain, offsetof(qo1905_al_interface, Reserved)},
    {NodeKind::kAlInterface, NodeKind::kPlain, offsetof(qo1905_al_interface, Link)},
    {NodeKind::kAlInterface, NodeKind::kBlock, offsetof(qo1905_al_interface, ReservedBuffer)},
    {NodeKind::kAlInterface, NodeKind::kBlock, offsetof(qo1905_al_interface, Information)},
    {NodeKind::kDevice, NodeKind::kDeviceInterface, offsetof(qo1905_device, Interface)},
    {NodeKind::kDevice, NodeKind::kNon1905Group, offsetof(qo1905_device, NonIEEE1905Neighbor)},
    {NodeKind::kDevice, NodeKind::k1905Group, offsetof(qo1905_device, IEEE1905Neighbor)},
    {NodeKind::kDevice, NodeKind::kBridgingTuple, offsetof(qo1905_device, BridgingTuple)},
    {NodeKind::kDevice, NodeKind::kPlain, offsetof(qo1905_device, STAInfo)},
    {NodeKind::kDeviceInterface, NodeKind::kBlock, offsetof(qo1905_device_interface, ReservedBuffer)},
    {NodeKind::kNon1905Group, NodeKind::kPlain, offsetof(qo1905_non1905_group, Neighbor)},
    {NodeKind::k1905Group, NodeKind::kPlain, offsetof(qo1905_1905_group, Neighbor)},
    {NodeKind::kBridgingTuple, NodeKind::kBlock, offsetof(qo1905_bridging_tuple, InterfaceList)},
    {NodeKind::kReport, NodeKind::kPlain, offsetof(qo1905_report, clientList)},
};

void free_owned(const void *record, NodeKind kind) {
    for (const Owned &owned : kOwned) {
        if (owned.owner == kind) {
            free_nodes(pointer_at(record, owned.place), owned.nodes);
        }
    }
}

// True for what is one block, with nothing behind it.
constexpr bool stands_alone(NodeKind kind) { return kind == NodeKind::kBlock || kind == NodeKind::kAlTable; }

}  // namespace

void free_nodes(void *first, NodeKind kind) {
    while (first != nullptr) {
        void *next = stands_alone(kind) ? nullptr : pointer_at(first);
        if (kind > NodeKind::kPlain) {
            free_owned(first, kind);
        }
        std::free(first);
        first = next;
    }
}

}  // namespace qo1905
