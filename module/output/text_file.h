// A file's text as it grows in memory, and its one write to the disk. A front end that polls the file finds the old
// text or the new one; if it comes between the opening and the write, an empty file or a beginning of the new text.
#pragma once

#include <cstddef>

#include "module/base/text.h"

namespace qo1905 {

// A growing text. Without memory it remembers so and takes nothing more.
class MemoryText {
public:
    MemoryText() = default;
    ~MemoryText();
    MemoryText(const MemoryText &) = delete;
    MemoryText &operator=(const MemoryText &) = delete;

    void put(Text text);

    // Room for so many bytes at the end, null when there is none. What is printed there counts once `end_at` is told
    // where it ends.
    char *room(std::size_t bytes) { return bytes <= capacity_ - size_ || grow(bytes) ? data_ + size_ : nullptr; }
    void end_at(const char *end) { size_ = static_cast<std::size_t>(end - data_); }

    // The text cannot be had whole: nothing is taken from now on.
    void fail();
    bool failed() const { return failed_; }

    std::size_t size() const { return size_; }
    Text view() const { return {data_, size_}; }

private:
    bool grow(std::size_t bytes);

    char *data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    bool failed_ = false;
};

// Writes a finished text over the file, opened as mode "w" does it, in one write. A file that cannot be opened is
// skipped silently; a text that is not whole is not written, so the previous file stays, and a line says so.
void write_text_file(const char *path, const MemoryText &text);

}  // namespace qo1905
