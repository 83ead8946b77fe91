#include "history/recorder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "history/schema.h"

namespace history {

// Held by the one who writes. The database's own locks let go between two transactions.
class Recorder::Lock {
public:
    explicit Lock(const std::string &path) : descriptor_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
        if (descriptor_ < 0) {
            throw Failure(Failure::Kind::kUnreadable, path + ": " + std::strerror(errno));
        }
        if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
            close(descriptor_);
            throw Failure(Failure::Kind::kBusy, path + ": another process records into it");
        }
    }
    ~Lock() { close(descriptor_); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    int descriptor_;
};

Recorder::Recorder(const std::string &path, const RecorderOptions &options)
    : options_(options),
      lock_(std::make_unique<Lock>(path)),
      database_(open_for_writing(path, options.is_durable)),
      store_(database_),
      upkeep_(database_, options.keep) {
    if (options_.most_bytes != 0) {
        const Number page = database_.number("PRAGMA page_size");
        (void)database_.number("PRAGMA max_page_count = " + std::to_string(options_.most_bytes / page));
    }
}

Recorder::~Recorder() {
    try {
        commit();
    } catch (const std::exception &) {
        // Whoever wants to know commits before.
    }
}

void Recorder::begin() {
    if (!is_open_) {
        database_.run("BEGIN IMMEDIATE");
        is_open_ = true;
    }
}

// What fails is undone, and everything that is remembered with it.
template <class Deed>
void Recorder::attempt(Deed deed) {
    try {
        deed();
    } catch (const std::exception &failure) {
        try {
            database_.run("ROLLBACK");
        } catch (const Failure &) {
            // SQLite has done so by itself.
        }
        is_open_ = false;
        homes_.clear();
        cause_of_start_ = failure.what();
        make_room();
        throw;
    }
}

// What is old goes also while nothing new can come, or there would never be room again.
void Recorder::make_room() {
    try {
        begin();
        upkeep_.step(time_, uptime_, Upkeep::Haste::kUrgent);
        database_.run("COMMIT");
    } catch (const Failure &) {
        try {
            database_.run("ROLLBACK");
        } catch (const Failure &) {
            // SQLite has done so by itself.
        }
    }
    is_open_ = false;
}

std::string Recorder::name_of(const std::string &source, const reader::Snapshot &snapshot) {
    return snapshot.anonymous.empty() ? source : source + " (" + snapshot.anonymous + ")";
}

Home &Recorder::home_of(const std::string &name, const reader::Snapshot &snapshot) {
    std::unique_ptr<Home> &home = homes_[name];
    if (!home) {
        home = std::make_unique<Home>(store_, name, snapshot, options_.patience, cause_of_start_);
    }
    return *home;
}

void Recorder::take(const std::string &source, const reader::Snapshot &snapshot, double uptime) {
    time_ = seconds_of(snapshot.time);
    uptime_ = uptime;
    attempt([&] {
        begin();
        Home &home = home_of(name_of(source, snapshot), snapshot);
        const auto cause = causes_.find(source);
        if (cause != causes_.end()) {
            home.miss(cause->second);
            causes_.erase(cause);
        }
        home.take(snapshot, uptime);
    });
}

void Recorder::look_after(Number time, double uptime) {
    attempt([&] {
        begin();
        upkeep_.step(time, uptime);
    });
}

bool Recorder::commit_if_due(double uptime) {
    if (committed_ && uptime - *committed_ < options_.commit_every) {
        return false;
    }
    committed_ = uptime;
    return commit();
}

bool Recorder::commit() {
    if (!is_open_) {
        return false;
    }
    attempt([&] {
        for (auto &[name, home] : homes_) {
            home->settle();
        }
        database_.run("COMMIT");
        is_open_ = false;
    });
    return true;
}

std::optional<Number> Recorder::last_of(const std::string &home) const {
    Statement row(database_, "SELECT last FROM source WHERE name = ?");
    return row.bind(home).step() ? std::optional(row.number(0)) : std::nullopt;
}

}  // namespace history
