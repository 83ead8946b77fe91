#include "cli/output.h"

#include <CLI/Error.hpp>
#include <algorithm>

#include "cli/text.h"

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

std::string print_table(const Table &table, const Places &places, const Options &options) {
    const std::size_t most = options.format == Format::kWide ? kMostInWide : kMostInTable;
    const auto cell = [&](const std::vector<std::string> &row, std::size_t place) {
        return row[place].empty() ? kUnknown : cut(visible(row[place]), most);
    };
    std::vector<std::size_t> widths;
    for (const std::size_t place : places) {
        std::size_t widest = options.header ? width(table.columns[place].header) : 0;
        for (const auto &row : table.rows) {
            widest = std::max(widest, width(cell(row, place)));
        }
        widths.push_back(widest);
    }
    std::string text;
    const auto line = [&](const std::function<std::string(std::size_t)> &text_of) {
        std::string one;
        for (std::size_t i = 0; i < places.size(); ++i) {
            one += (i == 0 ? "" : "  ") + pad(text_of(places[i]), widths[i], table.columns[places[i]].right_aligned);
        }
        text += one.substr(0, one.find_last_not_of(' ') + 1) + '\n';
    };
    if (options.header) {
        line([&](std::size_t place) { return table.columns[place].header; });
    }
    for (const auto &row : table.rows) {
        line([&](std::size_t place) { return cell(row, place); });
    }
    return text;
}

}  // namespace

bool is_json(Format format) { return format == Format::kJson || format == Format::kNdjson; }

std::string print(const nlohmann::ordered_json &json, Format format) {
    return json.dump(format == Format::kJson ? 2 : -1) + '\n';
}

std::string print(const Table &table, const Options &options, nlohmann::ordered_json whole, const std::string &key) {
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
    return print_table(table, places, options);
}

}  // namespace cli
