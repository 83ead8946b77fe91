// The items of a "[ ... ]" of the JSON files, in a buffer of a fixed size; those that do not fit are left out whole.
#pragma once

#include <cstddef>

#include "module/base/text.h"

namespace qo1905 {

// The buffer keeps its text until the next list has an item: readers know the lists of the object before in an object
// without any.
class ItemBuffer {
public:
    explicit ItemBuffer(TextBuffer &text) : text_(text) {}

    void begin() {
        items_ = 0;
        full_ = false;
    }

    // Item number one overwrites the text of the list before. `item` is put in quotes.
    void add(Text item);

    bool full() const { return full_; }
    Text view() const { return text_.view(); }

private:
    TextBuffer &text_;
    unsigned items_ = 0;
    bool full_ = false;
};

template <std::size_t N>
class ItemList : public ItemBuffer {
public:
    ItemList() : ItemBuffer(storage_) {}

private:
    BoundedText<N> storage_;
};

}  // namespace qo1905
