#include "cli/times.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <ctime>

namespace cli {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;

constexpr struct {
    char letter;
    std::int64_t seconds;
} kUnits[] = {{'s', 1}, {'m', kMinute}, {'h', kHour}, {'d', kDay}, {'w', 7 * kDay}, {'y', 365 * kDay}};

constexpr const char *kDays[] = {"sunday", "monday", "tuesday", "wednesday", "thursday", "friday", "saturday"};

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Reads a text from its beginning; what does not fit leaves it as it is.
class Words {
public:
    explicit Words(std::string text) : text_(std::move(text)) {}

    bool is_over() const { return at_ == text_.size(); }

    bool take(const std::string &word) {
        if (text_.compare(at_, word.size(), word) != 0) {
            return false;
        }
        at_ += word.size();
        return true;
    }

    // Of so many digits.
    std::optional<int> number(std::size_t digits, int least, int most) {
        int value = 0;
        const char *begin = text_.data() + at_;
        if (text_.size() - at_ < digits ||
            !std::all_of(begin, begin + digits, [](char c) { return c >= '0' && c <= '9'; })) {
            return std::nullopt;
        }
        (void)std::from_chars(begin, begin + digits, value);
        if (value < least || value > most) {
            return std::nullopt;
        }
        at_ += digits;
        return value;
    }

private:
    std::string text_;
    std::size_t at_ = 0;
};

struct Zone {
    bool in_utc;

    std::tm parts(std::int64_t time) const {
        const auto seconds = static_cast<std::time_t>(time);
        std::tm parts = {};
        (void)(in_utc ? gmtime_r(&seconds, &parts) : localtime_r(&seconds, &parts));
        return parts;
    }

    // The zone itself tells whether it is summer.
    std::int64_t time(std::tm parts) const {
        if (in_utc) {
            return timegm(&parts);
        }
        std::tm summer = parts;
        summer.tm_isdst = 1;
        std::tm winter = parts;
        winter.tm_isdst = 0;
        parts.tm_isdst = -1;
        const std::time_t time = mktime(&parts);
        const std::time_t first = mktime(&summer);
        (void)mktime(&winter);
        // Of an hour that is there twice, the one of summer is the first.
        return summer.tm_isdst == 1 && winter.tm_isdst == 0 && first < time ? first : time;
    }
};

// "03:00" or "03:00:05".
bool take_clock(Words &words, std::tm &parts) {
    auto hour = words.number(2, 0, 23);
    hour = hour ? hour : words.number(1, 0, 9);
    if (!hour || !words.take(":")) {
        return false;
    }
    const auto minute = words.number(2, 0, 59);
    parts.tm_hour = *hour;
    parts.tm_min = minute.value_or(0);
    parts.tm_sec = 0;
    if (minute && words.take(":")) {
        const auto second = words.number(2, 0, 60);
        parts.tm_sec = second.value_or(0);
        return second.has_value();
    }
    return minute.has_value();
}

std::optional<std::int64_t> read_ago(const std::string &text, std::int64_t now) {
    if (text.empty() || text[0] != '-') {
        return std::nullopt;
    }
    const auto ago = read_duration(text.substr(1));
    return ago ? std::optional(now - *ago) : std::nullopt;
}

// How many days ago a word means, and after how many it comes again: of weekdays and of a clock alone the last is
// meant.
struct Day {
    int ago;
    int again;  // days; 0: there is only one
};

std::optional<Day> take_day(Words &words, int today) {
    if (words.take("yesterday")) {
        return Day{1, 0};
    }
    if (words.take("today")) {
        return Day{0, 0};
    }
    constexpr int kWeek = 7;
    for (int day = 0; day < kWeek; ++day) {
        if (words.take(kDays[day]) || words.take(std::string(kDays[day], 3))) {
            return Day{(today - day + kWeek) % kWeek, kWeek};
        }
    }
    return std::nullopt;
}

// "today", "yesterday 03:00", "monday 14:00", "03:00".
std::optional<std::int64_t> read_day(const std::string &text, std::int64_t now, const Zone &zone) {
    Words words(text);
    std::tm parts = zone.parts(now);
    const auto named = take_day(words, parts.tm_wday);
    const Day day = named.value_or(Day{0, 1});
    parts.tm_mday -= day.ago;
    parts.tm_hour = parts.tm_min = parts.tm_sec = 0;
    const bool has_clock = !named || words.take(" ");
    if ((has_clock && !take_clock(words, parts)) || !words.is_over()) {
        return std::nullopt;
    }
    const std::int64_t time = zone.time(parts);
    if (day.again == 0 || time <= now) {
        return time;
    }
    parts.tm_mday -= day.again;
    return zone.time(parts);
}

// "Z", "+01:00", "-0530": seconds east of Greenwich.
std::optional<std::int64_t> take_offset(Words &words) {
    if (words.take("z")) {
        return 0;
    }
    const bool is_west = words.take("-");
    if (!is_west && !words.take("+")) {
        return std::nullopt;
    }
    const auto hours = words.number(2, 0, 23);
    (void)words.take(":");
    const auto minutes = words.number(2, 0, 59);
    if (!hours || !minutes) {
        return std::nullopt;
    }
    return (is_west ? -1 : 1) * (*hours * kHour + *minutes * kMinute);
}

std::optional<std::int64_t> read_date(const std::string &text, const Zone &zone) {
    Words words(text);
    std::tm parts = {};
    const auto year = words.number(4, 1970, 9999);
    const auto month = year && words.take("-") ? words.number(2, 1, 12) : std::nullopt;
    const auto day = month && words.take("-") ? words.number(2, 1, 31) : std::nullopt;
    if (!day) {
        return std::nullopt;
    }
    parts.tm_year = *year - 1900;
    parts.tm_mon = *month - 1;
    parts.tm_mday = *day;
    const std::tm wanted = parts;
    std::optional<std::int64_t> offset;
    if (words.take("t") || words.take(" ")) {
        if (!take_clock(words, parts)) {
            return std::nullopt;
        }
        if (!words.is_over() && !(offset = take_offset(words))) {
            return std::nullopt;
        }
    }
    std::tm check = wanted;
    (void)timegm(&check);
    if (!words.is_over() || check.tm_mday != wanted.tm_mday) {
        return std::nullopt;
    }
    return offset ? timegm(&parts) - *offset : zone.time(parts);
}

// As programs write them: ten digits, which no date has.
std::optional<std::int64_t> read_seconds(const std::string &text) {
    constexpr std::size_t kDigits = 10;
    std::int64_t seconds = 0;
    const bool is_number = text.size() == kDigits && text.find_first_not_of("0123456789") == std::string::npos &&
                           std::from_chars(text.data(), text.data() + text.size(), seconds).ec == std::errc();
    return is_number ? std::optional(seconds) : std::nullopt;
}

}  // namespace

std::optional<std::int64_t> read_time(const std::string &text, std::int64_t now, bool in_utc) {
    const std::string lower = lower_case(text);
    const Zone zone{in_utc};
    if (lower == "now") {
        return now;
    }
    if (const auto time = read_ago(lower, now)) {
        return time;
    }
    if (const auto time = read_day(lower, now, zone)) {
        return time;
    }
    if (!lower.empty() && lower.back() == 'z') {
        if (const auto time = read_day(lower.substr(0, lower.size() - 1), now, Zone{true})) {
            return time;
        }
    }
    if (const auto time = read_seconds(lower)) {
        return time;
    }
    return read_date(lower, zone);
}

std::optional<std::int64_t> read_duration(const std::string &text) {
    constexpr std::int64_t kMost = 1000000;
    std::int64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || count < 0 || count > kMost || end + 1 != text.data() + text.size()) {
        return std::nullopt;
    }
    for (const auto &unit : kUnits) {
        if (unit.letter == *end) {
            return count * unit.seconds;
        }
    }
    return std::nullopt;
}

std::string check_duration(const std::string &text) {
    return read_duration(text) ? "" : text + ": is no duration such as 90m, 12h, 7d, 2w or 1y";
}

std::string duration_text(std::int64_t seconds) {
    constexpr struct {
        std::int64_t seconds;
        const char *name;
    } kNames[] = {{kDay, " d"}, {kHour, " h"}, {kMinute, " min"}, {1, " s"}};
    std::string text;
    int units = 0;
    for (const auto &unit : kNames) {
        const std::int64_t count = seconds / unit.seconds;
        if (count != 0 && units < 2) {
            text += (text.empty() ? "" : " ") + std::to_string(count) + unit.name;
        }
        units += count != 0 || units != 0 ? 1 : 0;
        seconds %= unit.seconds;
    }
    return text.empty() ? "0 s" : text;
}

}  // namespace cli
