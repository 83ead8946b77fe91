// SQLite as this project uses it: values in, values out, and every failure an exception with a reason.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace history {

// Why a database cannot be used, or no more.
class Failure : public std::runtime_error {
public:
    enum class Kind {
        kMissing,     // there is no such file
        kUnreadable,  // it cannot be opened, or is no such database, or is damaged
        kNewer,       // written by a later version of this program
        kBusy,        // somebody else writes it
        kFull,        // no room on the disk, or more than it may hold
    };
    Failure(Kind kind, const std::string &reason) : std::runtime_error(reason), kind_(kind) {}
    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

using Number = std::int64_t;

class Database;

// A statement with places for values, used again and again.
class Statement {
public:
    Statement(const Database &database, const std::string &sql);

    // The value of the place that comes next, from the first on.
    Statement &bind(Number value);
    Statement &bind(const std::string &text);
    Statement &bind_blob(std::string_view bytes);
    Statement &bind(std::nullopt_t);
    template <class Value>
    Statement &bind(const std::optional<Value> &value) {
        return value ? bind(*value) : bind(std::nullopt);
    }

    // The next row; false after the last, and the statement can be bound anew.
    bool step();

    // To the end: for what has no rows.
    void run();

    // Of the row; a number that is null is 0.
    Number number(int column) const;
    std::optional<Number> optional_number(int column) const;
    std::string text(int column) const;
    std::optional<std::string> optional_text(int column) const;

    // Ends a walk before its last row.
    void reset();

private:
    void check(int result) const;

    struct Close {
        void operator()(sqlite3_stmt *statement) const;
    };
    const Database *database_;
    std::unique_ptr<sqlite3_stmt, Close> statement_;
    int bound_ = 0;
};

class Database {
public:
    enum class Use { kRead, kWrite };

    // kWrite makes a file that is not there.
    Database(const std::string &path, Use use);

    const std::string &path() const { return path_; }

    void run(const std::string &sql);
    Number number(const std::string &sql) const;
    Number last_id() const;

    // From now on no statement may take longer than some seconds from when it is made; those that would fail.
    void limit_time();

    // What SQLite says is wrong, as an exception.
    [[noreturn]] void fail() const;

private:
    void open(const std::string &name, int flags);
    void restart_time() const;

    friend class Statement;
    struct Close {
        void operator()(sqlite3 *handle) const;
    };
    std::string path_;
    std::unique_ptr<std::chrono::steady_clock::time_point> end_;  // of the question that is asked
    std::unique_ptr<sqlite3, Close> handle_;
};

}  // namespace history
