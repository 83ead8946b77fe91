#include "history/words.h"

namespace history {
namespace {

template <class Value>
struct Row {
    Value value;
    const char *word;
};

constexpr Row<Came> kCame[] = {{Came::kStart, "start"},
                               {Came::kJoin, "join"},
                               {Came::kRoam, "roam"},
                               {Came::kBack, "back"},
                               {Came::kMoved, "moved"}};
constexpr Row<Went> kWent[] = {
    {Went::kGap, "gap"}, {Went::kLeave, "leave"}, {Went::kRoam, "roam"}, {Went::kMoved, "moved"}};

template <class Value, std::size_t N>
const char *word_in(const Row<Value> (&rows)[N], Value value) {
    for (const auto &row : rows) {
        if (row.value == value) {
            return row.word;
        }
    }
    return rows[0].word;
}

// A file may hold any number.
template <class Value, std::size_t N>
Value value_in(const Row<Value> (&rows)[N], Number number) {
    for (const auto &row : rows) {
        if (static_cast<Number>(row.value) == number) {
            return row.value;
        }
    }
    return rows[0].value;
}

}  // namespace

const char *word(Came came) { return word_in(kCame, came); }
const char *word(Went went) { return word_in(kWent, went); }
Came came_of(Number number) { return value_in(kCame, number); }
Went went_of(Number number) { return value_in(kWent, number); }

}  // namespace history
