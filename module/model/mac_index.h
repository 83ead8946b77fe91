// Finds records by MAC in the time of a binary search, where a list would be searched once per station. The records are
// borrowed; they have to stay where they are as long as the index is asked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "module/base/mac.h"

namespace qo1905 {

// A MAC as one number; in which order they come does not matter. The upper 16 bits are 0.
std::uint64_t mac_key(const Mac &mac);

class MacIndex {
public:
    struct Entry {
        std::uint64_t key;
        std::size_t order;
        const void *record;
    };

    MacIndex() = default;
    ~MacIndex();
    MacIndex(const MacIndex &) = delete;
    MacIndex &operator=(const MacIndex &) = delete;

    // Some of the entries, one behind the other.
    struct Part {
        Entry *first = nullptr;
        std::size_t size = 0;

        // The first entry whose key is not less than this one; behind the last when there is none.
        Entry *at_least(std::uint64_t key) const;

        // The first entry of this key that was added; null when there is none.
        Entry *find(std::uint64_t key) const;
    };

    // Fill it: clear, add what there is, sort. `add` is false without memory; the index may not be asked then. What is
    // added with ascending keys may be sorted part by part: `sort` leaves what stands before the entry `from` alone.
    void clear() { size_ = 0; }
    [[nodiscard]] bool add(std::uint64_t key, const void *record);
    void sort(std::size_t from = 0);
    std::size_t size() const { return size_; }

    // The first entry of this key that was added, then the one added after it; null when there is none.
    Entry *find(std::uint64_t key) const { return all().find(key); }
    Entry *next(const Entry *entry) const;

    // The entries whose keys are at least the one and below the other.
    Part between(std::uint64_t least, std::uint64_t beyond) const;

    // All entries, by key: a range.
    Entry *begin() const { return entries_; }
    Entry *end() const { return entries_ + size_; }
    Part all() const { return {entries_, size_}; }

private:
    Entry *entries_ = nullptr;  // of twice the capacity: the second half is for sorting
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// The nodes of one list, by the MAC in each:
//     for (auto *match = index.find(mac); match != nullptr; match = index.next(match)) ... index.node(match)
template <class T>
class NodeIndex {
public:
    using MacField = Mac T::*;

    // Takes the nodes behind a head in place of those before; false without memory. A null head is an empty list.
    [[nodiscard]] bool build(const T *head, MacField mac) {
        index_.clear();
        for (const T *node = head; node != nullptr; node = node->next) {
            if (!index_.add(mac_key(node->*mac), node)) {
                return false;
            }
        }
        index_.sort();
        return true;
    }

    const MacIndex::Entry *find(const Mac &mac) const { return index_.find(mac_key(mac)); }
    const MacIndex::Entry *next(const MacIndex::Entry *match) const { return index_.next(match); }
    static const T *node(const MacIndex::Entry *match) { return static_cast<const T *>(match->record); }

    // The first node of the list with this MAC, null when there is none.
    const T *first(const Mac &mac) const {
        const MacIndex::Entry *match = find(mac);
        return match != nullptr ? node(match) : nullptr;
    }

private:
    MacIndex index_;
};

}  // namespace qo1905
