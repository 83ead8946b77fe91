#include "module/output/item_list.h"

namespace qo1905 {

void ItemBuffer::add(Text item) {
    if (items_++ == 0) {
        text_.clear();
    }
    if (full_) {
        return;
    }
    const std::size_t length = text_.length();
    text_.append(length == 0 ? "\""sv : ", \""sv);
    text_.append(item);
    text_.append('"');
    if (text_.truncated()) {
        text_.cut(length);
        full_ = true;
    }
}

}  // namespace qo1905
