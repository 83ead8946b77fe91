#include "module/model/mac_index.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qo1905 {
namespace {

constexpr std::size_t kFirstCapacity = 64;

bool is_before(const MacIndex::Entry &a, const MacIndex::Entry &b) {
    return a.key != b.key ? a.key < b.key : a.order < b.order;
}

}  // namespace

std::uint64_t mac_key(const Mac &mac) {
    std::uint32_t first;
    std::uint16_t last;
    std::memcpy(&first, mac, sizeof(first));
    std::memcpy(&last, mac + sizeof(first), sizeof(last));
    return std::uint64_t{last} << 32U | first;
}

MacIndex::~MacIndex() { std::free(entries_); }

bool MacIndex::add(std::uint64_t key, const void *record) {
    if (size_ == capacity_) {
        const std::size_t wanted = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
        auto *grown = static_cast<Entry *>(std::realloc(entries_, wanted * sizeof(Entry)));
        if (grown == nullptr) {
            return false;
        }
        entries_ = grown;
        capacity_ = wanted;
    }
    entries_[size_] = {key, size_, record};
    ++size_;
    return true;
}

void MacIndex::sort() {
    if (size_ > 1) {
        std::sort(entries_, entries_ + size_, is_before);
    }
}

MacIndex::Entry *MacIndex::find(std::uint64_t key) const {
    // Halves what is left without a branch on the comparison: no processor can predict it.
    Entry *first = entries_;
    std::size_t left = size_;
    while (left > 1) {
        const std::size_t half = left / 2;
        first += half * static_cast<std::size_t>(first[half - 1].key < key);
        left -= half;
    }
    return left == 1 && first->key == key ? first : nullptr;
}

MacIndex::Entry *MacIndex::next(const Entry *entry) const {
    Entry *following = entries_ + (entry - entries_) + 1;
    return following != end() && following->key == entry->key ? following : nullptr;
}

}  // namespace qo1905
