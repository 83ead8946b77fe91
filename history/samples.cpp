#include "history/samples.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace history {
namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20U;
constexpr char kFormat = 1;  // before everything that is packed

// --- numbers as bytes: seven bits each, the low ones first ---

class Writer {
public:
    void put(std::uint64_t value) {
        for (; value >= 0x80; value >>= 7U) {
            bytes_ += static_cast<char>(value | 0x80U);
        }
        bytes_ += static_cast<char>(value);
    }

    // Small whatever their sign: 0, -1, 1, -2, ... are 0, 1, 2, 3, ...
    void put_signed(Number value) {
        put(static_cast<std::uint64_t>(value) << 1U ^ static_cast<std::uint64_t>(value < 0 ? -1 : 0));
    }

    const std::string &bytes() const { return bytes_; }

private:
    std::string bytes_;
};

class Reader {
public:
    explicit Reader(const std::string &bytes) : bytes_(bytes) {}

    std::uint64_t get() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            if (at_ == bytes_.size()) {
                is_good_ = false;
                return 0;
            }
            const auto byte = static_cast<unsigned char>(bytes_[at_++]);
            value |= static_cast<std::uint64_t>(byte & 0x7fU) << shift;
            if (byte < 0x80) {
                return value;
            }
        }
        is_good_ = false;
        return 0;
    }

    Number get_signed() {
        const std::uint64_t value = get();
        return static_cast<Number>(value >> 1U ^ (~(value & 1U) + 1));
    }

    // How many follow, each of a byte at least.
    std::size_t get_count() {
        const std::uint64_t count = get();
        is_good_ = is_good_ && count <= bytes_.size() - at_;
        return is_good_ ? static_cast<std::size_t>(count) : 0;
    }

    bool is_good() const { return is_good_; }

private:
    const std::string &bytes_;
    std::size_t at_ = 0;
    bool is_good_ = true;
};

// Sums that a stranger's bytes may ask for end somewhere, without overflow.
Number add(Number a, Number b) {
    return static_cast<Number>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
Number subtract(Number a, Number b) {
    return static_cast<Number>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

// --- compression without a header: there are thousands of short ones ---

constexpr int kWindow = -15;

std::string deflated(const std::string &bytes) {
    z_stream stream = {};
    constexpr int kMemory = 8;
    std::string out(compressBound(static_cast<uLong>(bytes.size())) + 1, kFormat);
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kWindow, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data() + 1);
    stream.avail_out = static_cast<uInt>(out.size() - 1);
    (void)deflate(&stream, Z_FINISH);
    out.resize(1 + stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string inflated(const std::string &bytes) {
    z_stream stream = {};
    if (bytes.empty() || bytes[0] != kFormat || inflateInit2(&stream, kWindow) != Z_OK) {
        return "";
    }
    std::string out;
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data() + 1));
    stream.avail_in = static_cast<uInt>(bytes.size() - 1);
    int result = Z_OK;
    while (result == Z_OK && out.size() < kMostBytes) {
        constexpr std::size_t kPiece = 4096;
        const std::size_t size = out.size();
        out.resize(size + kPiece);
        stream.next_out = reinterpret_cast<Bytef *>(out.data() + size);
        stream.avail_out = kPiece;
        result = inflate(&stream, Z_NO_FLUSH);
        out.resize(size + kPiece - stream.avail_out);
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END ? out : "";
}

// --- columns: what is alike stands together ---

// Each by its difference to the one before; one that is unknown is told as such.
class Differences {
public:
    std::uint64_t next(const std::optional<int> &value) {
        if (!value) {
            return 0;
        }
        Writer writer;
        const Number difference = *value - last_;
        last_ = *value;
        return 1 + (static_cast<std::uint64_t>(difference) << 1U ^ static_cast<std::uint64_t>(difference < 0 ? -1 : 0));
    }

    std::optional<int> back(std::uint64_t code) {
        if (code == 0) {
            return std::nullopt;
        }
        --code;
        last_ = static_cast<std::int32_t>(add(last_, static_cast<Number>(code >> 1U ^ (~(code & 1U) + 1))));
        return static_cast<int>(last_);
    }

private:
    Number last_ = 0;
};

template <class Get>
void put_numbers(Writer &writer, const std::vector<LinkedSample> &samples, Get get) {
    Number last = 0;
    for (const LinkedSample &sample : samples) {
        writer.put_signed(subtract(get(sample), last));
        last = get(sample);
    }
}

template <class Get>
void get_numbers(Reader &reader, std::vector<LinkedSample> &samples, Get get) {
    Number last = 0;
    for (LinkedSample &sample : samples) {
        last = add(last, reader.get_signed());
        get(sample) = last;
    }
}

constexpr std::optional<int> Sample::*kValues[] = {&Sample::signal, &Sample::rate};

// A roll-up as plain numbers, each a small one: times and lows by their difference to the one before, sums and highs by
// what they are above the low.
constexpr std::size_t kColumns = 11;
using Columns = std::array<Number, kColumns>;

class RollUpColumns {
public:
    Columns next(const RollUp &part) {
        Columns columns{subtract(part.time, time_), subtract(part.link, link_), part.n};
        time_ = part.time;
        link_ = part.link;
        put(part.signal, low_[0], columns, 3);
        put(part.rate, low_[1], columns, 7);
        return columns;
    }

    RollUp back(const Columns &columns) {
        time_ = add(time_, columns[0]);
        link_ = add(link_, columns[1]);
        return {time_, link_, columns[2], get(columns, low_[0], 3), get(columns, low_[1], 7)};
    }

private:
    static constexpr Number kMost = 1 << 24;

    static void put(const Range &range, Number &low, Columns &columns, std::size_t at) {
        columns[at] = range.n;
        if (range.n != 0) {
            columns[at + 1] = range.min - low;
            columns[at + 2] = range.max - range.min;
            columns[at + 3] = range.sum - range.n * range.min;
            low = range.min;
        }
    }

    static Range get(const Columns &columns, Number &low, std::size_t at) {
        Range range;
        range.n = std::clamp<Number>(columns[at], 0, kMost);
        if (range.n != 0) {
            range.min = low = std::clamp(add(low, columns[at + 1]), -kMost, kMost);
            range.max = add(range.min, columns[at + 2]);
            range.sum = add(range.n * range.min, columns[at + 3]);
        }
        return range;
    }

    Number time_ = 0, link_ = 0;
    Number low_[2] = {0, 0};
};

}  // namespace

void Range::add(Number value) {
    min = n == 0 ? value : std::min(min, value);
    max = n == 0 ? value : std::max(max, value);
    sum += value;
    ++n;
}

void Range::add(const Range &other) {
    if (other.n == 0) {
        return;
    }
    min = n == 0 ? other.min : std::min(min, other.min);
    max = n == 0 ? other.max : std::max(max, other.max);
    sum = history::add(sum, other.sum);
    n += other.n;
}

namespace {

// The one of that time and link, which is among the last few.
RollUp &part_of(std::vector<RollUp> &parts, Number time, Number link) {
    for (auto part = parts.rbegin(); part != parts.rend() && part->time == time; ++part) {
        if (part->link == link) {
            return *part;
        }
    }
    parts.push_back({time, link, 0, {}, {}});
    return parts.back();
}

}  // namespace

std::vector<RollUp> roll_up(const std::vector<LinkedSample> &samples, Number unit) {
    std::vector<RollUp> parts;
    for (const LinkedSample &linked : samples) {
        RollUp &part = part_of(parts, start_of(unit, linked.sample.time), linked.link);
        ++part.n;
        if (linked.sample.signal) {
            part.signal.add(*linked.sample.signal);
        }
        if (linked.sample.rate) {
            part.rate.add(*linked.sample.rate);
        }
    }
    return parts;
}

std::vector<RollUp> roll_up(const std::vector<RollUp> &parts, Number unit) {
    std::vector<RollUp> sums;
    for (const RollUp &part : parts) {
        RollUp &whole = part_of(sums, start_of(unit, part.time), part.link);
        whole.n += part.n;
        whole.signal.add(part.signal);
        whole.rate.add(part.rate);
    }
    return sums;
}

std::string pack(const std::vector<LinkedSample> &samples) {
    Writer writer;
    writer.put(samples.size());
    put_numbers(writer, samples, [](const LinkedSample &linked) { return linked.sample.time; });
    put_numbers(writer, samples, [](const LinkedSample &linked) { return linked.link; });
    for (const auto value : kValues) {
        Differences differences;
        for (const LinkedSample &linked : samples) {
            writer.put(differences.next(linked.sample.*value));
        }
    }
    return deflated(writer.bytes());
}

std::vector<LinkedSample> unpack_samples(const std::string &bytes) {
    const std::string plain = inflated(bytes);
    Reader reader(plain);
    std::vector<LinkedSample> samples(reader.get_count());
    get_numbers(reader, samples, [](LinkedSample &linked) -> Number & { return linked.sample.time; });
    get_numbers(reader, samples, [](LinkedSample &linked) -> Number & { return linked.link; });
    for (const auto value : kValues) {
        Differences differences;
        for (LinkedSample &linked : samples) {
            linked.sample.*value = differences.back(reader.get());
        }
    }
    return reader.is_good() ? samples : std::vector<LinkedSample>();
}

std::string pack(const std::vector<RollUp> &parts) {
    RollUpColumns columns;
    std::vector<Columns> rows;
    std::transform(parts.begin(), parts.end(), std::back_inserter(rows),
                   [&](const RollUp &part) { return columns.next(part); });
    Writer writer;
    writer.put(rows.size());
    for (std::size_t column = 0; column < kColumns; ++column) {
        for (const Columns &row : rows) {
            writer.put_signed(row[column]);
        }
    }
    return deflated(writer.bytes());
}

std::vector<RollUp> unpack_roll_ups(const std::string &bytes) {
    const std::string plain = inflated(bytes);
    Reader reader(plain);
    std::vector<Columns> rows(reader.get_count());
    for (std::size_t column = 0; column < kColumns; ++column) {
        for (Columns &row : rows) {
            row[column] = reader.get_signed();
        }
    }
    RollUpColumns columns;
    std::vector<RollUp> parts;
    if (reader.is_good()) {
        std::transform(rows.begin(), rows.end(), std::back_inserter(parts),
                       [&](const Columns &row) { return columns.back(row); });
    }
    return parts;
}

std::string pack_tail(const std::vector<TailSample> &samples) {
    Writer writer;
    writer.put(samples.size());
    TailSample last = {0, {{0, {}, {}}, 0}};
    for (const TailSample &tail : samples) {
        writer.put_signed(subtract(tail.node, last.node));
        writer.put_signed(subtract(tail.linked.link, last.linked.link));
        writer.put_signed(subtract(tail.linked.sample.time, last.linked.sample.time));
        for (const auto value : kValues) {
            writer.put(Differences().next(tail.linked.sample.*value));
        }
        last = tail;
    }
    return kFormat + writer.bytes();
}

std::vector<TailSample> unpack_tail(const std::string &bytes) {
    if (bytes.empty() || bytes[0] != kFormat) {
        return {};
    }
    const std::string plain = bytes.substr(1);
    Reader reader(plain);
    std::vector<TailSample> samples(reader.get_count());
    TailSample last = {0, {{0, {}, {}}, 0}};
    for (TailSample &tail : samples) {
        tail.node = last.node = add(last.node, reader.get_signed());
        tail.linked.link = last.linked.link = add(last.linked.link, reader.get_signed());
        tail.linked.sample.time = last.linked.sample.time = add(last.linked.sample.time, reader.get_signed());
        for (const auto value : kValues) {
            tail.linked.sample.*value = Differences().back(reader.get());
        }
    }
    return reader.is_good() ? samples : std::vector<TailSample>();
}

}  // namespace history
