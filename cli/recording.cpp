#include "cli/recording.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>

#include "cli/serving.h"
#include "cli/text.h"
#include "cli/times.h"
#include "history/recorder.h"
#include "reader/changes.h"

namespace cli {
namespace {

using reader::Problem;
using reader::Snapshot;

struct Recording {
    std::vector<std::string> sources;
    std::string file;
    history::RecorderOptions options;
    double every = 5;     // seconds between two questions to an address
    double most_mib = 0;  // of the file
};

double uptime() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

// The one who writes, for all sources; says once when it cannot, and once when it can again.
class Writer {
public:
    explicit Writer(const Recording &wanted) : recorder_(wanted.file, wanted.options) {}

    void take(const std::string &source, const Snapshot &moment) {
        const std::lock_guard<std::mutex> lock(mutex_);
        attempt([&] {
            recorder_.take(source, moment, uptime());
            recorder_.look_after(history::seconds_of(moment.time), uptime());
            ++moments_;
        });
    }

    std::size_t moments() const { return moments_; }

    void miss(const std::string &source, const std::string &cause) {
        const std::lock_guard<std::mutex> lock(mutex_);
        recorder_.miss(source, cause);
    }

    void commit_if_due() {
        const std::lock_guard<std::mutex> lock(mutex_);
        attempt([&] { note_commit(recorder_.commit_if_due(uptime())); });
    }

    // False when something is lost.
    bool commit() {
        const std::lock_guard<std::mutex> lock(mutex_);
        attempt([&] { note_commit(recorder_.commit()); });
        return said_.empty();
    }

private:
    template <class Deed>
    void attempt(Deed deed) {
        try {
            deed();
        } catch (const std::exception &failure) {
            if (said_.empty()) {
                say(std::string(failure.what()) + "; trying again with what comes next");
            }
            said_ = failure.what();
        }
    }

    // Only what is on the disk shows that all is well again.
    void note_commit(bool is_done) {
        if (is_done && !said_.empty()) {
            say("recording again");
            said_.clear();
        }
    }

    std::mutex mutex_;
    history::Recorder recorder_;
    std::string said_;
    std::size_t moments_ = 0;
};

// One source, followed by a thread of its own.
class Followed {
public:
    Followed(const std::string &name, std::unique_ptr<reader::Source> source, bool is_one_of_many, Writer &writer,
             int stop, std::chrono::milliseconds pause)
        : name_(name), source_(std::move(source)), writer_(writer), teller_(is_one_of_many ? name + ": " : "") {
        thread_ = std::thread([this, stop, pause] { reader::follow(*source_, pause, stop, [this] { look(); }); });
    }
    ~Followed() { thread_.join(); }
    Followed(const Followed &) = delete;
    Followed &operator=(const Followed &) = delete;

private:
    void look() {
        try {
            see();
        } catch (const std::exception &problem) {
            teller_.tell(problem.what());  // such as no memory
        }
        writer_.commit_if_due();
    }

    void see() {
        reader::Inputs inputs = source_->read();
        if (!inputs.model.problem && inputs.model.time == seen_) {
            return;
        }
        const Snapshot moment = reader::make_settled_snapshot(*source_, inputs, [] { return true; });
        const Problem *problem = moment.problem_with(reader::Missing::Part::kModel);
        teller_.tell(problem != nullptr ? problem->text() : "");
        if (problem != nullptr) {
            writer_.miss(name_, problem->text());
            return;
        }
        seen_ = inputs.model.time;
        writer_.take(name_, moment);
    }

    const std::string name_;
    const std::unique_ptr<reader::Source> source_;
    Writer &writer_;
    Teller teller_;
    reader::Time seen_;
    std::thread thread_;
};

// Ends all of them.
class Stopper {
public:
    Stopper() : descriptor_(eventfd(0, EFD_CLOEXEC)) {}
    ~Stopper() { close(descriptor_); }
    Stopper(const Stopper &) = delete;
    Stopper &operator=(const Stopper &) = delete;
    int descriptor() const { return descriptor_; }
    void stop() const {
        const std::uint64_t one = 1;
        (void)!write(descriptor_, &one, sizeof(one));
    }

private:
    int descriptor_;
};

void record(Recording &wanted, const Options &options, Answer &answer) {
    const std::vector<std::string> sources =
        wanted.sources.empty() ? std::vector<std::string>{options.source} : wanted.sources;
    constexpr double kMebibyte = 1 << 20;
    wanted.options.most_bytes = static_cast<history::Number>(wanted.most_mib * kMebibyte);
    // A source that is none makes no database.
    std::vector<std::unique_ptr<reader::Source>> opened;
    std::transform(sources.begin(), sources.end(), std::back_inserter(opened), open_changing);
    const EndingSignals signals;
    Writer writer(wanted);
    {
        const Stopper stopper;
        std::vector<std::unique_ptr<Followed>> followed;
        const auto pause = std::chrono::milliseconds(static_cast<long>(wanted.every * 1000));
        try {
            for (std::size_t i = 0; i < sources.size(); ++i) {
                followed.push_back(std::make_unique<Followed>(sources[i], std::move(opened[i]), sources.size() > 1,
                                                              writer, stopper.descriptor(), pause));
            }
            std::string names = sources[0];
            for (std::size_t i = 1; i < sources.size(); ++i) {
                names += ", " + sources[i];
            }
            say("recording " + names + " into " + wanted.file + " (Ctrl-C ends)");
            (void)signals.wait();
        } catch (...) {
            stopper.stop();
            throw;
        }
        stopper.stop();
    }
    if (!writer.commit()) {
        answer.end_with(kUnreadable);
    }
    say("recorded " + counted(writer.moments(), "moment"));
    signals.let_go();
}

void add_duration(CLI::App &verb, const char *name, history::Number &value, const char *help) {
    verb.add_option_function<std::string>(
            name, [&value](const std::string &text) { value = read_duration(text).value(); }, help)
        ->type_name("DURATION")
        ->check(CLI::Validator(check_duration, ""))
        ->default_str(duration_text(value));
}

}  // namespace

int tell(const std::exception &failure) {
    say(failure.what());
    const auto *known = dynamic_cast<const history::Failure *>(&failure);
    return known != nullptr && known->kind() == history::Failure::Kind::kMissing ? kNoModel : kUnreadable;
}

CLI::Option *add_database(CLI::App &verb, std::string &file) {
    return verb.add_option("--db", file, "Database of the history")->type_name("FILE")->envname("QO1905_DB");
}

void add_recording(CLI::App &app, Question &question) {
    const auto wanted = std::make_shared<Recording>();
    CLI::App *verb = app.add_subcommand("record", "Remembers what a mesh is like, in a database that history asks");
    verb->footer(
        "Example:\n  qo1905 record --db home.db lab:gateway    until Ctrl-C; beside it: qo1905 history --db home.db "
        "roams");
    verb->add_option("SOURCE", wanted->sources, "As --source takes it; several are told apart by their names");
    add_database(*verb, wanted->file)->required();
    verb->add_option("--every", wanted->every, "Seconds between two questions to an address")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 1e6));
    verb->add_option("--commit-every", wanted->options.commit_every,
                     "Seconds between two commits: what a loss of power may cost")
        ->capture_default_str()
        ->check(CLI::Range(1.0, 86400.0));
    add_duration(*verb, "--gap", wanted->options.patience, "Without a model for longer there is a gap");
    history::Keep &keep = wanted->options.keep;
    add_duration(*verb, "--keep-samples", keep.samples, "Then they become 5 minutes each");
    add_duration(*verb, "--keep-minutes", keep.five_minutes, "Then these become hours");
    add_duration(*verb, "--keep-hours", keep.hours, "Then they are dropped");
    add_duration(*verb, "--keep-sessions", keep.sessions, "With events, gaps and counts; then they are dropped");
    verb->add_option("--max-size", wanted->most_mib, "MiB that the file may take; then nothing more is recorded")
        ->check(CLI::Range(1.0, 1e7));
    verb->callback([&question, wanted] {
        question.deed = [&question, wanted](Answer &answer) {
            refuse_format("record", question.options);
            try {
                record(*wanted, question.options, answer);
            } catch (const history::Failure &failure) {
                answer.end_with(tell(failure));
            }
        };
    });
}

}  // namespace cli
