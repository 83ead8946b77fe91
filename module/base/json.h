// Reading JSON that strangers wrote: missing members, wrong types and nulls all read as "not there", so that no caller
// has to ask for a type, and json-c is never asked what makes it abort the process.
#pragma once

#include <cstddef>
#include <memory>

struct json_object;
struct lh_table;

namespace qo1905 {

struct JsonRelease {
    void operator()(json_object *tree) const;
};
using JsonTree = std::unique_ptr<json_object, JsonRelease>;

// Null when the file cannot be read, is not a regular file or holds no JSON.
JsonTree json_read_file(const char *path);

// Null when the zero-terminated text is not JSON.
JsonTree json_parse(const char *text);

// A member, borrowed from its object; null when the object is none or has no such member, or the member is null.
json_object *json_member(json_object *object, const char *key);

// A member as text, borrowed; null when it is not there. json-c's text of another type counts.
const char *json_text(json_object *object, const char *key);

// Several members in one walk through the object: texts[i] is what json_text gives for keys[i]. The keys stand
// `key_size` bytes apart.
void json_texts(json_object *object, const char *keys, std::size_t key_size, const char **texts, std::size_t count);
template <std::size_t N, std::size_t kSize>
void json_texts(json_object *object, const char (&keys)[N][kSize], const char *(&texts)[N]) {
    json_texts(object, keys[0], kSize, texts, N);
}

// A member as an integer, 0 when it is not there. What json-c reads as an integer from another type counts.
int json_number(json_object *object, const char *key);

bool json_is_array(json_object *value);

// The elements of an array, as a range; what is not an array has none. Elements may be null.
class JsonItems {
public:
    explicit JsonItems(json_object *array);

    class Iterator {
    public:
        Iterator(json_object *array, std::size_t index) : array_(array), index_(index) {}
        json_object *operator*() const;
        Iterator &operator++() {
            ++index_;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return index_ != other.index_; }

    private:
        json_object *array_;
        std::size_t index_;
    };

    Iterator begin() const { return {array_, 0}; }
    Iterator end() const { return {array_, size_}; }
    std::size_t size() const { return size_; }

    // Null beyond the end, too.
    json_object *operator[](std::size_t index) const;

private:
    json_object *array_;
    std::size_t size_;
};

// Anything by text, in the time of a hash: json-c's own, whose seed nobody outside knows.
class TextIndex {
public:
    TextIndex() = default;
    ~TextIndex();
    TextIndex(const TextIndex &) = delete;
    TextIndex &operator=(const TextIndex &) = delete;

    // Both are borrowed. What is there already stays. False without memory.
    [[nodiscard]] bool add(const char *key, const void *value);

    // Null when there is none, or no key.
    const void *find(const char *key) const;

private:
    lh_table *table_ = nullptr;
};

// A member's elements.
inline JsonItems json_items(json_object *object, const char *key) { return JsonItems(json_member(object, key)); }

}  // namespace qo1905
