#include "module/model/mac_index.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace qo1905 {
namespace {

constexpr std::size_t kFirstCapacity = 64;

using Entry = MacIndex::Entry;

bool is_before(const Entry &a, const Entry &b) { return a.key < b.key; }

// Two sorted runs, the one behind the other, into one. What is equal stays in its order.
void merge(const Entry *left, const Entry *middle, const Entry *end, Entry *out) {
    for (const Entry *right = middle; left != middle || right != end; ++out) {
        const bool right_is_next = left == middle || (right != end && is_before(*right, *left));
        *out = right_is_next ? *right++ : *left++;
    }
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
        auto *grown = static_cast<Entry *>(std::realloc(entries_, 2 * wanted * sizeof(Entry)));
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

// A merge sort between the two halves of the memory: n log n whatever comes in, and a kilobyte less of a router's flash
// than the standard library's.
void MacIndex::sort(std::size_t from) {
    const std::size_t count = size_ - from;
    Entry *const sorted = entries_ + from;
    if (std::is_sorted(sorted, sorted + count, is_before)) {
        return;  // as many of one MAC always are
    }
    Entry *source = sorted;
    Entry *target = entries_ + capacity_;
    for (std::size_t width = 1; width < count; width *= 2) {
        for (std::size_t at = 0; at < count; at += 2 * width) {
            merge(source + at, source + std::min(at + width, count), source + std::min(at + 2 * width, count),
                  target + at);
        }
        std::swap(source, target);
    }
    if (source != sorted) {
        std::copy(source, source + count, sorted);
    }
}

MacIndex::Entry *MacIndex::Part::at_least(std::uint64_t key) const {
    // Halves what is left without a branch on the comparison: no processor can predict it.
    Entry *at = first;
    std::size_t left = size;
    while (left > 1) {
        const std::size_t half = left / 2;
        at += half * static_cast<std::size_t>(at[half - 1].key < key);
        left -= half;
    }
    return left == 1 && at->key < key ? at + 1 : at;
}

MacIndex::Entry *MacIndex::Part::find(std::uint64_t key) const {
    Entry *entry = at_least(key);
    return entry != first + size && entry->key == key ? entry : nullptr;
}

MacIndex::Part MacIndex::between(std::uint64_t least, std::uint64_t beyond) const {
    Entry *from = all().at_least(least);
    return {from, static_cast<std::size_t>(all().at_least(beyond) - from)};
}

MacIndex::Entry *MacIndex::next(const Entry *entry) const {
    Entry *following = entries_ + (entry - entries_) + 1;
    return following != end() && following->key == entry->key ? following : nullptr;
}

}  // namespace qo1905
