#include "model/mac_index.h"

#include <algorithm>
#include <cstdlib>

namespace qo1905 {
namespace {

// A number that compares as the bytes do.
std::uint64_t mac_key(const Mac &mac) {
    std::uint64_t key = 0;
    for (const std::uint8_t byte : mac) {
        key = key << 8U | byte;
    }
    return key;
}

bool is_before(const MacIndex::Entry &a, const MacIndex::Entry &b) {
    return a.mac != b.mac ? a.mac < b.mac : a.order < b.order;
}

int compare(const void *a, const void *b) {
    return is_before(*static_cast<const MacIndex::Entry *>(a), *static_cast<const MacIndex::Entry *>(b)) ? -1 : 1;
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

// What comes in order is left as it is.
void MacIndex::sort() {
    if (!std::is_sorted(entries_, entries_ + size_, is_before)) {
        std::qsort(entries_, size_, sizeof(Entry), compare);
    }
}

const MacIndex::Entry *MacIndex::find(const Mac &mac) const {
    const std::uint64_t key = mac_key(mac);
    const Entry *end = entries_ + size_;
    const Entry *found = std::lower_bound<const Entry *>(
        entries_, end, key, [](const Entry &entry, std::uint64_t wanted) { return entry.mac < wanted; });
    return found != end && found->mac == key ? found : nullptr;
}

const MacIndex::Entry *MacIndex::next(const Entry *entry) const {
    const Entry *after = entry + 1;
    return after != entries_ + size_ && after->mac == entry->mac ? after : nullptr;
}

}  // namespace qo1905
