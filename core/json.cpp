#include "core/json.h"

#include <fcntl.h>
#include <json-c/json.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qo1905 {

void JsonRelease::operator()(json_object *tree) const { json_object_put(tree); }

JsonTree json_read_file(const char *path) {
    // Non-blocking, so that a FIFO left at this path cannot hold up the timer thread.
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    struct stat status;
    JsonTree tree;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
        tree.reset(json_object_from_fd(fd));
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

int json_number(json_object *object, const char *key) { return json_object_get_int(json_member(object, key)); }

bool json_is_array(json_object *value) { return json_object_is_type(value, json_type_array) != 0; }

JsonItems::JsonItems(json_object *array)
    : array_(array), size_(json_is_array(array) ? json_object_array_length(array) : 0) {}

json_object *JsonItems::operator[](std::size_t index) const {
    return index < size_ ? json_object_array_get_idx(array_, index) : nullptr;
}

json_object *JsonItems::Iterator::operator*() const { return json_object_array_get_idx(array_, index_); }

}  // namespace qo1905
