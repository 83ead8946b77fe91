// Singly linked lists of plain records: every node begins with `next`, nodes come from calloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "qo1905.h"

namespace qo1905 {

// Appends at the end of a list in constant time. Holds on to the last link, so nothing else may change the list's end
// meanwhile.
template <class T>
class ListTail {
public:
    explicit ListTail(T *&head) : link_(&head) {
        while (*link_ != nullptr) {
            link_ = &(*link_)->next;
        }
    }
    void append(T *node) {
        *link_ = node;
        link_ = &node->next;
    }

private:
    T **link_;
};

// For range-for over the nodes behind a head.
template <class T>
class ListNodes {
public:
    explicit ListNodes(T *head) : head_(head) {}

    class Iterator {
    public:
        explicit Iterator(T *node) : node_(node) {}
        T &operator*() const { return *node_; }
        Iterator &operator++() {
            node_ = node_->next;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return node_ != other.node_; }

    private:
        T *node_;
    };

    Iterator begin() const { return Iterator(head_); }
    Iterator end() const { return Iterator(nullptr); }

private:
    T *head_;
};

// The pointer that stands at this place of a record. Of a node's pointers the first is `next`. Always inlined: a call
// would be longer.
[[gnu::always_inline]] inline void *pointer_at(const void *record, std::size_t place = 0) {
    void *pointer;
    std::memcpy(&pointer, static_cast<const char *>(record) + place, sizeof(pointer));
    return pointer;
}

// What a pointer in a record points to, as far as freeing goes.
enum class NodeKind : std::uint8_t {
    kUnknown,
    kBlock,  // no list: one block of memory
    kPlain,  // nodes that own nothing
    kReserved,
    kAlInterface,
    kDeviceInterface,
    kNon1905Group,
    k1905Group,
    kBridgingTuple,
    kDevice,
    kReport,
    kAlTable,  // the root; no list either
};

// Of every record by its type: one that is not listed cannot be freed by mistake as if it owned nothing.
template <class T>
inline constexpr NodeKind kNodeKind = NodeKind::kUnknown;
template <>
inline constexpr NodeKind kNodeKind<void> = NodeKind::kBlock;
template <>
inline constexpr NodeKind kNodeKind<char> = NodeKind::kBlock;
template <>
inline constexpr NodeKind kNodeKind<std::uint8_t> = NodeKind::kBlock;
template <>
inline constexpr NodeKind kNodeKind<std::uint8_t[6]> = NodeKind::kBlock;
template <>
inline constexpr NodeKind kNodeKind<qo1905_link> = NodeKind::kPlain;
template <>
inline constexpr NodeKind kNodeKind<qo1905_non1905_neighbor> = NodeKind::kPlain;
template <>
inline constexpr NodeKind kNodeKind<qo1905_1905_neighbor> = NodeKind::kPlain;
template <>
inline constexpr NodeKind kNodeKind<qo1905_sta_info> = NodeKind::kPlain;
template <>
inline constexpr NodeKind kNodeKind<qo1905_client> = NodeKind::kPlain;
template <>
inline constexpr NodeKind kNodeKind<qo1905_reserved_node> = NodeKind::kReserved;
template <>
inline constexpr NodeKind kNodeKind<qo1905_al_interface> = NodeKind::kAlInterface;
template <>
inline constexpr NodeKind kNodeKind<qo1905_device_interface> = NodeKind::kDeviceInterface;
template <>
inline constexpr NodeKind kNodeKind<qo1905_non1905_group> = NodeKind::kNon1905Group;
template <>
inline constexpr NodeKind kNodeKind<qo1905_1905_group> = NodeKind::k1905Group;
template <>
inline constexpr NodeKind kNodeKind<qo1905_bridging_tuple> = NodeKind::kBridgingTuple;
template <>
inline constexpr NodeKind kNodeKind<qo1905_device> = NodeKind::kDevice;
template <>
inline constexpr NodeKind kNodeKind<qo1905_report> = NodeKind::kReport;
template <>
inline constexpr NodeKind kNodeKind<qo1905_al_table> = NodeKind::kAlTable;

// Frees every node from the first on, and before it what it owns. Takes null.
void free_nodes(void *first, NodeKind kind);

template <class T>
void free_list(T *&head) {
    static_assert(kNodeKind<T> != NodeKind::kUnknown, "say in kNodeKind what such a node owns");
    free_nodes(head, kNodeKind<T>);
    head = nullptr;
}

}  // namespace qo1905
