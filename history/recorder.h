// Writes a history: several homes into one database, one writer at a time.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "history/home.h"
#include "history/upkeep.h"

namespace history {

struct RecorderOptions {
    Keep keep;
    Number patience = 120;     // seconds without a moment after which there is a gap
    double commit_every = 60;  // seconds: what a loss of power may cost, and how often flash is written
    Number most_bytes = 0;     // of the file; 0: as many as the disk has
    bool is_durable = true;    // a commit survives a loss of power
};

class Recorder {
public:
    // Throws Failure, kBusy while another one writes the same file.
    Recorder(const std::string &path, const RecorderOptions &options);
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    // One moment of a source. `uptime`: seconds of a clock that nobody sets. After a Failure what was not committed is
    // lost and everything else is well: the next moment goes on from there, with a gap if that is long ago.
    void take(const std::string &source, const reader::Snapshot &snapshot, double uptime);

    // Why a source has no moment just now.
    void miss(const std::string &source, const std::string &cause) { causes_[source] = cause; }

    // Commits when the last commit is long enough ago, or the first moment has come. Throws Failure, as above. True
    // when there was something, which is now on the disk.
    bool commit_if_due(double uptime);
    bool commit();

    // A little less of what is old; with every moment, or never.
    void look_after(Number time, double uptime);

    // The last moment of a home, if there is one.
    std::optional<Number> last_of(const std::string &home) const;

    // What a home is called in the tables: those under other names are others.
    static std::string name_of(const std::string &source, const reader::Snapshot &snapshot);

private:
    class Lock;
    void begin();
    void make_room();
    Home &home_of(const std::string &name, const reader::Snapshot &snapshot);
    template <class Deed>
    void attempt(Deed deed);

    const RecorderOptions options_;
    std::unique_ptr<Lock> lock_;  // before the database: while it is open, nothing else may close this file
    Database database_;
    Store store_;
    Upkeep upkeep_;
    std::map<std::string, std::unique_ptr<Home>> homes_;
    std::map<std::string, std::string> causes_;
    std::string cause_of_start_ = "not recorded";
    bool is_open_ = false;  // a transaction
    std::optional<double> committed_;
    Number time_ = 0;  // of the last moment
    double uptime_ = 0;
};

}  // namespace history
