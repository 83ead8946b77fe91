#include "history/database.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace history {
namespace {

constexpr int kPatience = 2000;  // ms: another process may be at its checkpoint

Failure::Kind kind_of(int result) {
    constexpr struct {
        int result;
        Failure::Kind kind;
    } kKinds[] = {{SQLITE_FULL, Failure::Kind::kFull},
                  {SQLITE_IOERR, Failure::Kind::kFull},
                  {SQLITE_BUSY, Failure::Kind::kBusy},
                  {SQLITE_LOCKED, Failure::Kind::kBusy}};
    for (const auto &row : kKinds) {
        if (row.result == (result & 0xff)) {
            return row.kind;
        }
    }
    return Failure::Kind::kUnreadable;
}

// A database that only reads makes none; a missing one is told as such.
void expect_file(const std::string &path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        const auto kind = errno == ENOENT ? Failure::Kind::kMissing : Failure::Kind::kUnreadable;
        throw Failure(kind, path + ": " + std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(Failure::Kind::kUnreadable, path + ": is no file");
    }
}

bool is_about_marks(int error) {
    const int kind = error & 0xff;
    return kind == SQLITE_READONLY || kind == SQLITE_CANTOPEN;
}

// With what has a meaning in an address spelt out.
std::string uri_of(const std::string &path) {
    constexpr const char *kDigits = "0123456789abcdef";
    std::string uri = "file:";
    for (const char c : path) {
        if (c == '%' || c == '?' || c == '#') {
            const auto byte = static_cast<unsigned char>(c);
            uri += std::string("%") + kDigits[byte >> 4U] + kDigits[byte & 0xfU];
        } else {
            uri += c;
        }
    }
    return uri;
}

}  // namespace

void Database::Close::operator()(sqlite3 *handle) const { sqlite3_close_v2(handle); }

Database::Database(const std::string &path, Use use) : path_(path) {
    if (use == Use::kWrite) {
        open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        return;
    }
    expect_file(path);
    open(path, SQLITE_OPEN_READONLY);
    // Where this process may not put its marks beside the file, nobody writes it either: it is taken as it stands.
    if (sqlite3_exec(handle_.get(), "SELECT 1 FROM sqlite_master", nullptr, nullptr, nullptr) != SQLITE_OK &&
        is_about_marks(sqlite3_errcode(handle_.get()))) {
        open(uri_of(path) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    }
}

void Database::open(const std::string &name, int flags) {
    sqlite3 *handle = nullptr;
    const int result = sqlite3_open_v2(name.c_str(), &handle, flags | SQLITE_OPEN_EXRESCODE, nullptr);
    handle_.reset(handle);
    if (handle == nullptr) {
        throw Failure(Failure::Kind::kUnreadable, path_ + ": no memory");
    }
    if (result != SQLITE_OK) {
        fail();
    }
    sqlite3_busy_timeout(handle, kPatience);
    // A file of somebody else is data: nothing in it may call functions, or lead the library astray.
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
}

void Database::fail() const {
    const int result = sqlite3_extended_errcode(handle_.get());
    throw Failure(kind_of(result), path_ + ": " + sqlite3_errmsg(handle_.get()));
}

void Database::run(const std::string &sql) {
    if (sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail();
    }
}

Number Database::number(const std::string &sql) const {
    Statement statement(*this, sql);
    return statement.step() ? statement.number(0) : 0;
}

namespace {

constexpr auto kLongest = std::chrono::seconds(10);

int is_too_late(void *end) {
    return std::chrono::steady_clock::now() > *static_cast<const std::chrono::steady_clock::time_point *>(end) ? 1 : 0;
}

}  // namespace

void Database::limit_time() {
    constexpr int kSteps = 100000;
    end_ = std::make_unique<std::chrono::steady_clock::time_point>();
    restart_time();
    sqlite3_progress_handler(handle_.get(), kSteps, is_too_late, end_.get());
}

void Database::restart_time() const {
    if (end_) {
        *end_ = std::chrono::steady_clock::now() + kLongest;
    }
}

Number Database::last_id() const { return sqlite3_last_insert_rowid(handle_.get()); }

void Statement::Close::operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }

Statement::Statement(const Database &database, const std::string &sql) : database_(&database) {
    database.restart_time();
    sqlite3_stmt *statement = nullptr;
    check(sqlite3_prepare_v3(database.handle_.get(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    statement_.reset(statement);
}

void Statement::check(int result) const {
    if (result != SQLITE_OK) {
        database_->fail();
    }
}

Statement &Statement::bind(Number value) {
    check(sqlite3_bind_int64(statement_.get(), ++bound_, value));
    return *this;
}

Statement &Statement::bind(const std::string &text) {
    check(sqlite3_bind_text(statement_.get(), ++bound_, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
    return *this;
}

Statement &Statement::bind_blob(std::string_view bytes) {
    check(
        sqlite3_bind_blob(statement_.get(), ++bound_, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT));
    return *this;
}

Statement &Statement::bind(std::nullopt_t) {
    check(sqlite3_bind_null(statement_.get(), ++bound_));
    return *this;
}

bool Statement::step() {
    const int result = sqlite3_step(statement_.get());
    if (result == SQLITE_ROW) {
        return true;
    }
    if (result != SQLITE_DONE) {
        try {
            database_->fail();
        } catch (const Failure &) {
            reset();
            throw;
        }
    }
    reset();
    return false;
}

void Statement::run() {
    while (step()) {
    }
}

void Statement::reset() {
    sqlite3_reset(statement_.get());
    bound_ = 0;
}

Number Statement::number(int column) const { return sqlite3_column_int64(statement_.get(), column); }

std::optional<Number> Statement::optional_number(int column) const {
    if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) {
        return std::nullopt;
    }
    return number(column);
}

std::string Statement::text(int column) const {
    const void *bytes = sqlite3_column_blob(statement_.get(), column);
    const int size = sqlite3_column_bytes(statement_.get(), column);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char *>(bytes), static_cast<std::size_t>(size));
}

std::optional<std::string> Statement::optional_text(int column) const {
    if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) {
        return std::nullopt;
    }
    return text(column);
}

}  // namespace history
