#include "module/model/list.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <type_traits>
#include <utility>

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

// Who owns, what, and where it stands: all three follow from the record and its field.
#define QO1905_OWNS(record, field) \
    Owned { kNodeKind<record>, kNodeKind<std::remove_pointer_t<decltype(record::field)>>, offsetof(record, field) }

constexpr Owned kOwned[] = {
    QO1905_OWNS(qo1905_al_table, Interface),
    QO1905_OWNS(qo1905_al_table, Reserved[0].Head),
    QO1905_OWNS(qo1905_al_table, Reserved[1].Head),
    QO1905_OWNS(qo1905_al_table, ReservedList),
    QO1905_OWNS(qo1905_al_table, NetworkTopology.IEEE1905Device),
    QO1905_OWNS(qo1905_al_table, Security.Password),
    QO1905_OWNS(qo1905_al_table, Information),
    QO1905_OWNS(qo1905_reserved_node, Buffer),
    QO1905_OWNS(qo1905_al_interface, Reserved),
    QO1905_OWNS(qo1905_al_interface, Link),
    QO1905_OWNS(qo1905_al_interface, ReservedBuffer),
    QO1905_OWNS(qo1905_al_interface, Information),
    QO1905_OWNS(qo1905_device, Interface),
    QO1905_OWNS(qo1905_device, NonIEEE1905Neighbor),
    QO1905_OWNS(qo1905_device, IEEE1905Neighbor),
    QO1905_OWNS(qo1905_device, BridgingTuple),
    QO1905_OWNS(qo1905_device, STAInfo),
    QO1905_OWNS(qo1905_device_interface, ReservedBuffer),
    QO1905_OWNS(qo1905_non1905_group, Neighbor),
    QO1905_OWNS(qo1905_1905_group, Neighbor),
    QO1905_OWNS(qo1905_bridging_tuple, InterfaceList),
    QO1905_OWNS(qo1905_report, clientList),
};
#undef QO1905_OWNS

constexpr bool all_known() {
    for (const Owned &owned : kOwned) {
        if (owned.owner == NodeKind::kUnknown || owned.nodes == NodeKind::kUnknown) {
            return false;
        }
    }
    return true;
}
static_assert(all_known());

constexpr std::size_t kKinds = static_cast<std::size_t>(NodeKind::kAlTable) + 1;

// By kind: most nodes own nothing, and are not looked up.
constexpr std::array<bool, kKinds> owners() {
    std::array<bool, kKinds> is_owner{};
    for (const Owned &owned : kOwned) {
        is_owner[static_cast<std::size_t>(owned.owner)] = true;
    }
    return is_owner;
}
constexpr std::array<bool, kKinds> kIsOwner = owners();

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
    const bool is_owner = kIsOwner[static_cast<std::size_t>(kind)];
    while (first != nullptr) {
        void *next = stands_alone(kind) ? nullptr : pointer_at(first);
        if (is_owner) {
            free_owned(first, kind);
        }
        std::free(first);
        first = next;
    }
}

}  // namespace qo1905
