// Finds the records with a MAC in a list that is searched once per station, in the time of a binary search. It borrows
// the records; they have to stay where they are as long as it is asked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/mac.h"
#include "model/list.h"

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

    // Empties it, with room for so many records; false without memory.
    bool begin(std::size_t records);

    // At most as many times as there is room, then sort once. Records of one MAC are found in ascending order.
    void add(const Mac &mac, const void *record, std::uint64_t order);
    void sort();

    // The first of this MAC; null when there is none.
    const Entry *find(const Mac &mac) const;

    // The one after it of the same MAC; null when there is none.
    const Entry *next(const Entry *entry) const;

private:
    Entry *entries_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// A list of records and an index of it. Without memory for the index the list is walked: slower, with the same results.
template <class T, Mac T::*kMac>
class IndexedList {
public:
    // Takes another list. Its records may not change their MACs or places before the next.
    void enter(const T *head) {
        head_ = head;
        std::size_t count = 0;
        for (const T &record : ListNodes(head)) {
            (void)record;
            ++count;
        }
        is_indexed_ = index_.begin(count);
        if (!is_indexed_) {
            return;
        }
        count = 0;
        for (const T &record : ListNodes(head)) {
            index_.add(record.*kMac, &record, count++);
        }
        index_.sort();
    }

    // Calls `visit` with each record of this MAC in list order, until one returns true. Returns that record; null when
    // none did.
    template <class Visit>
    const T *find(const Mac &mac, Visit visit) const {
        if (!is_indexed_) {
            return walk(mac, visit);
        }
        for (const MacIndex::Entry *entry = index_.find(mac); entry != nullptr; entry = index_.next(entry)) {
            const T *record = static_cast<const T *>(entry->record);
            if (visit(*record)) {
                return record;
            }
        }
        return nullptr;
    }

    // The first record of this MAC; null when there is none.
    const T *find_first(const Mac &mac) const {
        return find(mac, [](const T &) { return true; });
    }

private:
    template <class Visit>
    const T *walk(const Mac &mac, Visit visit) const {
        for (const T &record : ListNodes(head_)) {
            if (same_mac(record.*kMac, mac) && visit(record)) {
                return &record;
            }
        }
        return nullptr;
    }

    const T *head_ = nullptr;
    MacIndex index_;
    bool is_indexed_ = false;
};

}  // namespace qo1905
