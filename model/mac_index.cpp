#include "model/mac_index.h"

#include <cstdlib>
#include <cstring>

namespace qo1905 {
namespace {

// The MAC as one number; in which order they come does not matter.
std::uint64_t mac_key(const Mac &mac) {
    std::uint32_t first;
    std::uint16_t last;
    std::memcpy(&first, mac, sizeof(first));
    std::memcpy(&last, mac + sizeof(first), sizeof(last));
    return std::uint64_t{last} << 32U | first;
}

bool is_before(const MacIndex::Entry &a, const MacIndex::Entry &b) {
    return a.mac != b.mac ? a.mac < b.mac : a.order < b.order;
}

}  // namespace

MacIndex::~MacIndex() { std::free(entries_); }

bool MacIndex::begin(std::size_t records) {
    size_ = 0;
    if (records <= capacity_) {
        return true;
    }
    // What is there is of no use any more, so nothing has to be copied.
    std::free(entries_);
    entries_ = static_cast<Entry *>(std::calloc(records, sizeof(Entry)));
    capacity_ = entries_ != nullptr ? records : 0;
    return entries_ != nullptr;
}

void MacIndex::add(const Mac &mac, const void *record, std::uint64_t order) {
    entries_[size_++] = {mac_key(mac), order, record};
}

// A shell sort: unlike with qsort, nothing has to be called to compare two entries.
void MacIndex::sort() {
    std::size_t gap = 1;
    while (gap < size_ / 3) {
        gap = gap * 3 + 1;
    }
    for (; gap > 0; gap /= 3) {
        for (std::size_t i = gap; i < size_; ++i) {
            const Entry entry = entries_[i];
            std::size_t place = i;
            for (; place >= gap && is_before(entry, entries_[place - gap]); place -= gap) {
                entries_[place] = entries_[place - gap];
            }
            entries_[place] = entry;
        }
    }
}

// Halves what is left without a branch on the comparison: no processor can predict it.
const MacIndex::Entry *MacIndex::find(const Mac &mac) const {
    const std::uint64_t key = mac_key(mac);
    const Entry *first = entries_;
    std::size_t left = size_;
    while (left > 1) {
        const std::size_t half = left / 2;
        first += half * static_cast<std::size_t>(first[half - 1].mac < key);
        left -= half;
    }
    return left == 1 && first->mac == key ? first : nullptr;
}

const MacIndex::Entry *MacIndex::next(const Entry *entry) const {
    const Entry *after = entry + 1;
    return after != entries_ + size_ && after->mac == entry->mac ? after : nullptr;
}

}  // namespace qo1905
