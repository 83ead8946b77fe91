#include "module/model/mac_index.h"

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

constexpr std::uint64_t kNoMac = UINT64_MAX;
constexpr std::size_t kFirstCapacity = 64;

const Mac &mac_of(const void *node, std::size_t mac_at) {
    return *reinterpret_cast<const Mac *>(static_cast<const char *>(node) + mac_at);
}

bool is_before(const MacIndex::Entry &a, const MacIndex::Entry &b) {
    return a.mac != b.mac ? a.mac < b.mac : a.order < b.order;
}

}  // namespace

MacIndex::~MacIndex() { std::free(entries_); }

void MacIndex::clear() {
    size_ = 0;
    failed_ = false;
}

bool MacIndex::grow() {
    const std::size_t wanted = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
    auto *grown = static_cast<Entry *>(std::realloc(entries_, wanted * sizeof(Entry)));
    if (grown == nullptr) {
        failed_ = true;
        return false;
    }
    entries_ = grown;
    capacity_ = wanted;
    return true;
}

// Keeps a place free behind the last for what ends them.
void MacIndex::add(const Mac &mac, const void *record, std::uint64_t order) {
    if (size_ + 1 >= capacity_ && !grow()) {
        return;
    }
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
    if (size_ > 0) {
        entries_[size_].mac = kNoMac;
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

const void *MacIndex::take(const Mac &mac) {
    const Entry *found = find(mac);
    if (found == nullptr) {
        return nullptr;
    }
    Entry *entry = entries_ + (found - entries_);
    while (entry->record == nullptr && entry[1].mac == entry->mac) {
        ++entry;
    }
    const void *record = entry->record;
    entry->record = nullptr;
    return record;
}

void MacMatch::enter(const MacIndex::Entry *entry) {
    entry_ = entry;
    node_ = entry->record;
}

MacMatch::MacMatch(const void *head, std::size_t mac_at, const Mac &mac) : node_(head), mac_at_(mac_at) {
    walk_to(mac);
}

MacMatch::MacMatch(const IndexedNodes &nodes, const Mac &mac) : mac_at_(nodes.mac_at_) {
    if (!nodes.index_.complete()) {
        node_ = nodes.head_;
        walk_to(mac);
    } else if (const MacIndex::Entry *entry = nodes.index_.find(mac)) {
        enter(entry);
    }
}

void MacMatch::walk_to(const Mac &mac) {
    while (node_ != nullptr && !same_mac(mac_of(node_, mac_at_), mac)) {
        node_ = pointer_at(node_);
    }
}

void MacMatch::advance() {
    if (entry_ == nullptr) {
        const Mac &mac = mac_of(node_, mac_at_);
        node_ = pointer_at(node_);
        walk_to(mac);
    } else if (entry_[1].mac == entry_->mac) {
        enter(entry_ + 1);
    } else {
        node_ = nullptr;
    }
}

void IndexedNodes::enter(const void *head) {
    head_ = head;
    index_.clear();
    std::uint64_t place = 0;
    for (const void *node = head; node != nullptr; node = pointer_at(node)) {
        index_.add(mac_of(node, mac_at_), node, place++);
    }
    index_.sort();
}

}  // namespace qo1905
