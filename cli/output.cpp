#include "cli/output.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <ctime>
#include <iomanip>
#include <numeric>
#include <sstream>

#include "cli/text.h"
#include "cli/tone.h"
#include "reader/words.h"

namespace cli {
namespace {

constexpr std::size_t kMostInTable = 40;  // columns of one cell
constexpr std::size_t kMostInWide = 128;
constexpr const char *kUnknown = "-";

using Places = std::vector<std::size_t>;

Places chosen_columns(const Table &table, const Options &options) {
    Places places;
    for (const std::string &id : options.columns) {
        const auto found = std::find_if(table.columns.begin(), table.columns.end(),
                                        [&](const Column &column) { return column.id == id; });
        if (found == table.columns.end()) {
            std::string ids;
            for (const Column &column : table.columns) {
                ids.append(ids.empty() ? "" : ",").append(column.id);
            }
            throw CLI::ValidationError("--columns",
                                       std::string("there is no ").append(id).append("; there are: ") + ids);
        }
        places.push_back(static_cast<std::size_t>(found - table.columns.begin()));
    }
    for (std::size_t i = 0; options.columns.empty() && i < table.columns.size(); ++i) {
        if (table.columns[i].in_table || options.format == Format::kWide || options.format == Format::kTsv) {
            places.push_back(i);
        }
    }
    return places;
}

std::string print_rows(const Table &table, const Places &places, bool header) {
    std::string text;
    for (std::size_t i = 0; header && i < places.size(); ++i) {
        text += table.columns[places[i]].id + (i + 1 < places.size() ? '\t' : '\n');
    }
    for (const auto &row : table.rows) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            text += visible(row[places[i]]) + (i + 1 < places.size() ? '\t' : '\n');
        }
    }
    return text;
}

// A table as text: cells cut and aligned.
class Grid {
public:
    Grid(const Table &table, Places places, const Options &options)
        : table_(table), places_(std::move(places)), options_(options) {
        for (const std::size_t place : places_) {
            std::size_t widest = options.header ? width(table.columns[place].header) : 0;
            for (const auto &row : table.rows) {
                widest = std::max(widest, width(cell(row, place)));
            }
            widths_.push_back(widest);
        }
        if (options.width != 0) {
            drop_columns();
            shrink_columns();
        }
    }

    std::string text() const {
        std::string text;
        if (options_.header) {
            text += line([&](std::size_t i) {
                return paint(fill(i, table_.columns[places_[i]].header), Tone::kStrong, options_);
            });
        }
        for (const auto &row : table_.rows) {
            text += line([&](std::size_t i) {
                const std::string shown = cell(row, places_[i]);
                return paint(fill(i, shown), tone(table_.columns[places_[i]], shown), options_);
            });
        }
        return text;
    }

private:
    std::string cell(const std::vector<std::string> &row, std::size_t place) const {
        const std::size_t most = options_.format == Format::kWide ? kMostInWide : kMostInTable;
        return row[place].empty() ? kUnknown : cut(visible(row[place]), most);
    }

    std::size_t taken() const { return std::accumulate(widths_.begin(), widths_.end(), kGap * (widths_.size() - 1)); }

    // A stump of a MAC is of no use to anybody; whoever has chosen the columns gets them.
    void drop_columns() {
        while (options_.columns.empty() && taken() > options_.width) {
            const auto first = std::max_element(places_.begin(), places_.end(), [this](std::size_t a, std::size_t b) {
                return table_.columns[a].goes < table_.columns[b].goes;
            });
            if (table_.columns[*first].goes == 0) {
                return;
            }
            widths_.erase(widths_.begin() + (first - places_.begin()));
            places_.erase(first);
        }
    }

    // Then the widest give way, as long as something can be read in them.
    void shrink_columns() {
        for (std::size_t too_many = taken() - std::min(taken(), options_.width); too_many > 0; --too_many) {
            const auto widest = std::max_element(widths_.begin(), widths_.end());
            if (*widest <= kLeast) {
                return;
            }
            --*widest;
        }
    }

    std::string fill(std::size_t i, const std::string &text) const {
        return pad(cut(text, widths_[i]), widths_[i], table_.columns[places_[i]].right_aligned);
    }

    static Tone tone(const Column &column, const std::string &shown) {
        return column.is_signal && shown != kUnknown ? tone_of(std::stoi(shown)) : Tone::kPlain;
    }

    template <class TextOf>
    std::string line(TextOf text_of) const {
        std::string line;
        for (std::size_t i = 0; i < places_.size(); ++i) {
            line += (i == 0 ? "" : std::string(kGap, ' ')) + text_of(i);
        }
        return line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }

    static constexpr std::size_t kGap = 2;
    static constexpr std::size_t kLeast = 8;
    const Table &table_;
    Places places_;
    const Options &options_;
    std::vector<std::size_t> widths_;
};

}  // namespace

std::string time_text(reader::Time time, const Options &options) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts = {};
    if (options.in_utc) {
        gmtime_r(&seconds, &parts);
    } else {
        localtime_r(&seconds, &parts);
    }
    std::ostringstream text;
    text << std::put_time(&parts, options.in_utc ? "%Y-%m-%d %H:%M:%SZ" : "%Y-%m-%d %H:%M:%S");
    return text.str();
}

void refuse_format(const char *verb, const Options &options) {
    if (options.format_is_chosen || !options.columns.empty()) {
        throw CLI::ValidationError(verb, "has one output, which -o and --columns do not change");
    }
}

bool is_json(Format format) { return format == Format::kJson || format == Format::kNdjson; }

bool is_for_people(Format format) { return format == Format::kTable || format == Format::kWide; }

std::string print(const nlohmann::ordered_json &json, Format format) {
    return visible_json(json.dump(format == Format::kJson ? 2 : -1)) + '\n';
}

std::string print(const Table &table, const Options &options, nlohmann::ordered_json whole, const std::string &key) {
    if (is_json(options.format) && !options.columns.empty()) {
        throw CLI::ValidationError("--columns", "json has all of it");
    }
    if (options.format == Format::kJson) {
        whole[key] = table.items;
        return print(whole, options.format);
    }
    if (options.format == Format::kNdjson) {
        std::string text;
        for (const auto &item : table.items) {
            text += print(item, options.format);
        }
        return text;
    }
    const Places places = chosen_columns(table, options);
    if (options.format == Format::kTsv || options.format == Format::kValue) {
        return print_rows(table, places, options.header && options.format == Format::kTsv);
    }
    return Grid(table, places, options).text();
}

}  // namespace cli
