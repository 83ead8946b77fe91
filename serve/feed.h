// What a server hands out: a source that a thread of its own follows, the last good moment of it, and what has
// happened.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "reader/events.h"
#include "reader/source.h"

namespace serve {

// One text in the two ways in which it is sent.
struct Sendable {
    std::string plain;
    std::string gzip;
};
Sendable sendable(std::string plain);

// One state of a mesh. Never changes once it is there, so that any number of threads may send it.
class Publication {
public:
    Publication(reader::Snapshot snapshot, reader::Inputs inputs, std::string version)
        : snapshot_(std::move(snapshot)), inputs_(std::move(inputs)), version_(std::move(version)) {}

    // The last good one; what is wrong with the model since then stands in its `missing`.
    const reader::Snapshot &snapshot() const { return snapshot_; }
    const reader::Inputs &inputs() const { return inputs_; }

    // Names this state among all that this server and others have had.
    const std::string &version() const { return version_; }

    // docs/schema/snapshot.json, made when somebody wants it.
    const Sendable &json() const;

    // The same a line each: the heading, {"device": ...} and {"station": ...}; whoever reads thousands of stations can
    // do so bit by bit.
    const Sendable &lines() const;

private:
    const reader::Snapshot snapshot_;
    const reader::Inputs inputs_;
    const std::string version_;
    mutable std::once_flag json_made_, lines_made_;
    mutable Sendable json_, lines_;
};

struct NumberedEvent {
    std::uint64_t number;  // from 1 on
    reader::Event event;
};

class Feed {
public:
    // Looks once before it returns. Addresses are asked every `pause`; files are watched.
    Feed(std::unique_ptr<reader::Source> source, std::chrono::milliseconds pause);
    ~Feed();
    Feed(const Feed &) = delete;
    Feed &operator=(const Feed &) = delete;

    std::shared_ptr<const Publication> now() const;

    struct News {
        std::string version;  // of the state
        std::uint64_t last;   // the number of the last event that is told; 0 before the first
        bool has_gap;         // some after the one that was named are not kept any more
        std::vector<NumberedEvent> events;
    };

    // What has happened after that number, a thousand events at most; whoever asks for what is after `last` gets the
    // next. Waits until something has, until the state is another than `version` (if one is named), or until the time
    // is over.
    News news_after(std::uint64_t number, const std::string &version, std::chrono::steady_clock::time_point until);

    // Ends all waiting, for good.
    void stop();

private:
    void follow();
    void look();
    void publish(reader::Snapshot snapshot, reader::Inputs inputs, const std::vector<reader::Event> &happened);
    bool is_stopped() const;

    const std::unique_ptr<reader::Source> source_;
    const std::chrono::milliseconds pause_;
    const std::string start_;  // of this server, in all its versions
    int stop_descriptor_;

    // Of the thread alone.
    std::shared_ptr<const Publication> good_;
    reader::Inputs read_;        // what was read last
    reader::Snapshot compared_;  // what the next events are counted from

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::shared_ptr<const Publication> now_;
    std::deque<NumberedEvent> events_;
    std::uint64_t last_ = 0;
    std::uint64_t states_ = 0;
    bool is_stopped_ = false;

    std::thread thread_;  // last: it uses the others
};

}  // namespace serve
