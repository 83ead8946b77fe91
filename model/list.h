// Singly linked lists of plain records: every node begins with `next`, nodes come from calloc.
#pragma once

#include <cstdlib>

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

// Frees every node, each after `clear` has freed what it owns, and leaves the list empty.
template <class T, class Clear>
void free_list(T *&head, Clear clear) {
    while (head != nullptr) {
        T *node = head;
        head = node->next;
        clear(*node);
        std::free(node);
    }
}

template <class T>
void free_list(T *&head) {
    free_list(head, [](T &) {});
}

}  // namespace qo1905
