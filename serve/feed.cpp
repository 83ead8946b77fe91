#include "serve/feed.h"

#include <sys/eventfd.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <stdexcept>

#include "reader/changes.h"
#include "reader/json_form.h"

namespace serve {
namespace {

using reader::Inputs;
using reader::Missing;
using reader::Problem;
using reader::Snapshot;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostEvents = 10000;
constexpr std::ptrdiff_t kMostAtOnce = 1000;

std::string compressed(const std::string &text) {
    constexpr int kGzipWindow = 15 + 16;
    constexpr int kMemory = 8;
    z_stream stream = {};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("no memory to compress with");
    }
    std::string out(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return result == Z_STREAM_END ? out : std::string();
}

// Strangers' bytes that are no UTF-8 have become U+FFFD when they were read.
std::string dump(const nlohmann::ordered_json &json) {
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

bool is_same(const reader::Input &one, const reader::Input &other) {
    const auto reason = [](const reader::Input &file) { return file.problem ? file.problem->text() : ""; };
    return one.text == other.text && reason(one) == reason(other);
}

bool is_same(const Inputs &a, const Inputs &b) {
    return a.model.time == b.model.time && is_same(a.model, b.model) && is_same(a.dump, b.dump) &&
           is_same(a.leases, b.leases) && is_same(a.list_24g, b.list_24g) && is_same(a.list_5g, b.list_5g) &&
           is_same(a.log, b.log);
}

// What is wrong with the model now, beside the last that was good.
Snapshot with_problem(Snapshot snapshot, const Problem &problem) {
    snapshot.missing.insert(snapshot.missing.begin(), Missing{Missing::Part::kModel, problem});
    return snapshot;
}

std::string start_name() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

}  // namespace

Sendable sendable(std::string plain) {
    std::string gzip = compressed(plain);
    return {std::move(plain), std::move(gzip)};
}

const Sendable &Publication::json() const {
    std::call_once(json_made_, [this] { json_ = sendable(dump(reader::to_json(snapshot_))); });
    return json_;
}

const Sendable &Publication::lines() const {
    std::call_once(lines_made_, [this] {
        std::string text = dump(reader::heading_json(snapshot_));
        for (const reader::Device &device : snapshot_.devices) {
            text += dump({{"device", reader::to_json(device)}});
        }
        for (const reader::Station &station : snapshot_.stations) {
            text += dump({{"station", reader::to_json(station)}});
        }
        lines_ = sendable(std::move(text));
    });
    return lines_;
}

Feed::Feed(std::unique_ptr<reader::Source> source, std::chrono::milliseconds pause)
    : source_(std::move(source)), pause_(pause), start_(start_name()), stop_descriptor_(eventfd(0, EFD_CLOEXEC)) {
    look();
    if (source_->can_change()) {
        thread_ = std::thread([this] { follow(); });
    }
}

Feed::~Feed() {
    stop();
    if (thread_.joinable()) {
        thread_.join();
    }
    close(stop_descriptor_);
}

void Feed::stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        is_stopped_ = true;
    }
    changed_.notify_all();
    const std::uint64_t one = 1;
    (void)!write(stop_descriptor_, &one, sizeof(one));
}

std::shared_ptr<const Publication> Feed::now() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return now_;
}

Feed::News Feed::news_after(std::uint64_t number, const std::string &version, Clock::time_point until) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, until, [&] {
        return is_stopped_ || last_ != number || (!version.empty() && now_->version() != version);
    });
    News news{now_->version(), last_, false, {}};
    const std::uint64_t first = last_ - events_.size() + 1;
    if (number > last_) {
        return news;  // of another server, before this one
    }
    news.has_gap = number + 1 < first;
    const auto skipped = std::min<std::uint64_t>(events_.size(), number + 1 > first ? number + 1 - first : 0);
    const auto begin = events_.begin() + static_cast<std::ptrdiff_t>(skipped);
    news.events.assign(begin, begin + std::min<std::ptrdiff_t>(events_.end() - begin, kMostAtOnce));
    news.last = news.events.empty() ? last_ : news.events.back().number;
    return news;
}

void Feed::follow() {
    reader::follow(*source_, pause_, stop_descriptor_, [this] {
        try {
            look();
        } catch (const std::exception &) {
            // Such as no memory: what is there is handed out until there is some.
        }
    });
}

bool Feed::is_stopped() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return is_stopped_;
}

void Feed::look() {
    Inputs inputs = source_->read();
    if (now_ != nullptr && is_same(inputs, read_)) {
        return;
    }
    Snapshot snapshot =
        reader::make_settled_snapshot(*source_, inputs, [this] { return good_ != nullptr && !is_stopped(); });
    read_ = inputs;
    const Problem *problem = snapshot.problem_with(Missing::Part::kModel);
    if (problem != nullptr && good_ != nullptr) {
        publish(with_problem(good_->snapshot(), *problem), good_->inputs(), {});
        return;
    }
    if (problem != nullptr) {
        publish(std::move(snapshot), std::move(inputs), {});
        return;
    }
    Snapshot whole = good_ ? reader::with_local_stations(snapshot, compared_) : snapshot;
    const auto happened = good_ ? reader::events(compared_, whole) : std::vector<reader::Event>();
    compared_ = std::move(whole);
    publish(std::move(snapshot), std::move(inputs), happened);
    good_ = now();
}

void Feed::publish(Snapshot snapshot, Inputs inputs, const std::vector<reader::Event> &happened) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (const reader::Event &event : happened) {
            events_.push_back({++last_, event});
        }
        while (events_.size() > kMostEvents) {
            events_.pop_front();
        }
        now_ = std::make_shared<const Publication>(std::move(snapshot), std::move(inputs),
                                                   start_ + '-' + std::to_string(++states_));
    }
    changed_.notify_all();
}

}  // namespace serve
