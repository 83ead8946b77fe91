#include "module/base/json.h"

#include <fcntl.h>
#include <json-c/json.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "module/base/owned.h"

namespace qo1905 {

void JsonRelease::operator()(json_object *tree) const { json_object_put(tree); }

namespace {

struct TokenerRelease {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};

// Reads on to the end, whatever size the file had before; false without memory or beyond what json-c takes. A file that
// gives less than was asked for has ended: nobody has to ask once more.
bool read_all(int fd, std::size_t size_before, HeapPtr<char> &text, std::size_t &length) {
    std::size_t capacity = 0;
    while (length == capacity) {
        capacity = capacity == 0 ? size_before + 1 : capacity * 2;
        auto *grown = capacity > INT_MAX ? nullptr : static_cast<char *>(std::realloc(text.get(), capacity));
        if (grown == nullptr) {
            return false;
        }
        (void)text.release();
        text.reset(grown);
        const ssize_t count = read(fd, grown + length, capacity - length);
        length += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

// In one piece, where json-c itself would read 4 KiB at a time into a text that grows.
json_object *parse_file(int fd, std::size_t size_before) {
    HeapPtr<char> text;
    std::size_t length = 0;
    const std::unique_ptr<json_tokener, TokenerRelease> tokener(json_tokener_new());
    if (tokener == nullptr || !read_all(fd, size_before, text, length)) {
        return nullptr;
    }
    return json_tokener_parse_ex(tokener.get(), text.get(), static_cast<int>(length));
}

}  // namespace

JsonTree json_read_file(const char *path) {
    // Non-blocking, so that a FIFO left at this path cannot hold up the timer thread.
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    struct stat status;
    JsonTree tree;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size < INT_MAX) {
        tree.reset(parse_file(fd, static_cast<std::size_t>(status.st_size)));
    }
    close(fd);
    return tree;
}

JsonTree json_parse(const char *text) { return JsonTree(json_tokener_parse(text)); }

json_object *json_member(json_object *object, const char *key) {
    return json_object_is_type(object, json_type_object) != 0 ? json_object_object_get(object, key) : nullptr;
}

const char *json_text(json_object *object, const char *key) {
    json_object *member = json_member(object, key);
    return member != nullptr ? json_object_get_string(member) : nullptr;
}

void json_texts(json_object *object, const char *keys, std::size_t key_size, const char **texts, std::size_t count) {
    std::fill_n(texts, count, nullptr);
    if (json_object_is_type(object, json_type_object) == 0) {
        return;
    }
    std::size_t missing = count;
    for (const lh_entry *entry = lh_table_head(json_object_get_object(object)); entry != nullptr && missing > 0;
         entry = lh_entry_next(entry)) {
        const auto *key = static_cast<const char *>(lh_entry_k(entry));
        const char *wanted = keys;
        for (std::size_t i = 0; i < count; ++i, wanted += key_size) {
            if (*wanted == *key && std::strcmp(wanted, key) == 0) {
                auto *member = static_cast<json_object *>(lh_entry_v(entry));
                texts[i] = member != nullptr ? json_object_get_string(member) : nullptr;
                --missing;  // no key is there twice
            }
        }
    }
}

int json_number(json_object *object, const char *key) { return json_object_get_int(json_member(object, key)); }

bool json_is_array(json_object *value) { return json_object_is_type(value, json_type_array) != 0; }

JsonItems::JsonItems(json_object *array)
    : array_(array), size_(json_is_array(array) ? json_object_array_length(array) : 0) {}

json_object *JsonItems::operator[](std::size_t index) const {
    return index < size_ ? json_object_array_get_idx(array_, index) : nullptr;
}

json_object *JsonItems::Iterator::operator*() const { return json_object_array_get_idx(array_, index_); }

TextIndex::~TextIndex() {
    if (table_ != nullptr) {
        lh_table_free(table_);
    }
}

bool TextIndex::add(const char *key, const void *value) {
    constexpr int kFirstSize = 16;
    if (table_ == nullptr) {
        table_ = lh_kchar_table_new(kFirstSize, nullptr);
    }
    return table_ != nullptr && (find(key) != nullptr || lh_table_insert(table_, key, value) == 0);
}

const void *TextIndex::find(const char *key) const {
    void *value = nullptr;
    if (table_ != nullptr && key != nullptr) {
        (void)lh_table_lookup_ex(table_, key, &value);
    }
    return value;
}

}  // namespace qo1905
