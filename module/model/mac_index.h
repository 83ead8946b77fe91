// Finds the records with a MAC in a list that is searched once per station, in the time of a binary search. It borrows
// the records; they have to stay where they are as long as it is asked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "module/base/mac.h"
#include "module/model/list.h"

namespace qo1905 {

class MacIndex {
public:
    struct Entry {
        std::uint64_t mac;
        std::uint64_t order;
        const void *record;
    };

    MacIndex() = default;
    ~MacIndex();
    MacIndex(const MacIndex &) = delete;
    MacIndex &operator=(const MacIndex &) = delete;

    // Fill it: clear, add what there is, sort once.
    void clear();
    void add(const Mac &mac, const void *record, std::uint64_t order);
    void sort();

    // False when there was no memory for what was added: then it may not be asked.
    bool complete() const { return !failed_; }

    // The first entry of this MAC, null when there is none. Those of one MAC stand one after the other in ascending
    // order, and behind the last of them always one of another.
    const Entry *find(const Mac &mac) const;

    // The first record of this MAC that was not taken yet, null when there is none. Its entry has no record from then
    // on.
    const void *take(const Mac &mac);

private:
    bool grow();

    Entry *entries_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    bool failed_ = false;
};

// A list and an index of it. Without memory for the index the list is walked: slower, with the same results.
class IndexedNodes {
public:
    // `mac_at` is where the nodes have their MAC.
    explicit IndexedNodes(std::size_t mac_at) : mac_at_(mac_at) {}

    // Takes another list. Its nodes may not change their MACs or places before the next.
    void enter(const void *head);

private:
    friend class MacMatch;

    const void *head_ = nullptr;
    std::size_t mac_at_;
    MacIndex index_;
};

// The first node of a list that has this MAC, then the next one: along an index, or along the list itself.
class MacMatch {
public:
    MacMatch(const IndexedNodes &nodes, const Mac &mac);
    MacMatch(const void *head, std::size_t mac_at, const Mac &mac);

    const void *node() const { return node_; }  // null behind the last
    void advance();

private:
    void enter(const MacIndex::Entry *entry);
    void walk_to(const Mac &mac);

    const void *node_ = nullptr;
    const MacIndex::Entry *entry_ = nullptr;
    std::size_t mac_at_ = 0;
};

// The same with the nodes' type:
//     for (RecordMatch<T> match(list, mac); const T *record = match.record(); match.advance()) ...
template <class T>
class RecordMatch : public MacMatch {
public:
    using MacMatch::MacMatch;
    const T *record() const { return static_cast<const T *>(node()); }
};

}  // namespace qo1905
