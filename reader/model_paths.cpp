#include "reader/model_paths.h"

#include <string_view>
#include <vector>

#include "reader/json.h"

namespace reader {
namespace {

constexpr std::size_t kLongestPath = 1024;  // of a model the longest has about 120

// A value goes out when it is whole, so a text whose first reading fails is told anew from its beginning: what was told
// before is told once.
class PathHandler : public JsonHandler {
public:
    explicit PathHandler(const TakeValue &take) : take_(take) {}

    void start_again() override {
        skip_ = told_;
        told_ = 0;
        open_.clear();
        path_.clear();
        list_ = Json();
        lists_ = 0;
    }

    bool start_object(std::size_t) override {
        open_.push_back(path_.size());
        return true;
    }
    bool end_object() override {
        path_.resize(open_.back());
        open_.pop_back();
        return true;
    }
    bool key(std::string &key) override {
        path_.resize(open_.back());
        path_ += (path_.empty() ? "" : ".") + key;
        return path_.size() <= kLongestPath;
    }

    // A list in a list is no more than its values, one after the other.
    bool start_array(std::size_t) override {
        if (lists_++ == 0) {
            list_ = Json::array();
        }
        return true;
    }
    bool end_array() override {
        if (--lists_ == 0) {
            tell(list_);
        }
        return true;
    }

    bool string(std::string &value) override { return add(value); }
    bool number_integer(std::int64_t value) override { return add(value); }
    bool number_unsigned(std::uint64_t value) override { return add(value); }
    bool number_float(double value, const std::string &) override { return add(value); }
    bool boolean(bool value) override { return add(value); }
    bool null() override { return add(nullptr); }
    bool binary(Json::binary_t &) override { return true; }

private:
    template <class Value>
    bool add(const Value &value) {
        if (lists_ != 0) {
            list_.push_back(value);
        } else {
            tell(value);
        }
        return true;
    }

    void tell(const Json &value) {
        if (++told_ > skip_) {
            take_(path_, value);
        }
    }

    const TakeValue &take_;
    std::string path_;
    std::vector<std::size_t> open_;  // how long the path was where each open object began
    Json list_;
    unsigned lists_ = 0;
    std::size_t told_ = 0;
    std::size_t skip_ = 0;
};

std::string_view next_part(std::string_view &rest) {
    const std::size_t dot = rest.find('.');
    const std::string_view part = rest.substr(0, dot);
    rest.remove_prefix(dot == std::string_view::npos ? rest.size() : dot + 1);
    return part;
}

}  // namespace

bool walk_paths(const std::string &text, const TakeValue &take, std::string &reason) {
    PathHandler handler(take);
    return read_json(text, handler, reason);
}

bool matches_path(const std::string &pattern, const std::string &path) {
    std::string_view wanted = pattern;
    std::string_view rest = path;
    while (!wanted.empty()) {
        const bool is_at_end = rest.empty();
        const std::string_view part = next_part(wanted);
        const std::string_view here = next_part(rest);
        if (is_at_end || (part != "*" && part != here)) {
            return false;
        }
    }
    return true;
}

}  // namespace reader
