// How answers leave: as tables for people, as rows for scripts, as JSON for programs.
#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "reader/input.h"

namespace cli {

enum class Format { kTable, kWide, kJson, kNdjson, kTsv, kValue };

struct FormatName {
    const char *name;  // as people type it
    Format format;
};
inline constexpr FormatName kFormats[] = {{"table", Format::kTable}, {"wide", Format::kWide},
                                          {"json", Format::kJson},   {"ndjson", Format::kNdjson},
                                          {"tsv", Format::kTsv},     {"value", Format::kValue}};

// The words of such a table.
template <class Table>
std::vector<std::string> names_in(const Table &table) {
    std::vector<std::string> names;
    for (const auto &row : table) {
        names.emplace_back(row.name);
    }
    return names;
}

// The row of that name, which is there.
template <class Table>
const auto &row_of(const Table &table, const std::string &name) {
    return *std::find_if(std::begin(table), std::end(table), [&](const auto &row) { return name == row.name; });
}

struct Options {
    std::string source;  // as reader::open_source takes it
    bool source_is_chosen = false;
    Format format = Format::kTable;
    bool format_is_chosen = false;
    std::vector<std::string> columns;  // by id; none: the format's own
    bool header = true;
    bool names = true;  // false: MACs only
    bool in_utc = false;
    double max_age = 0;  // seconds; 0: any

    // What standard output can do.
    bool has_utf8 = true;
    bool bars = false;
    bool colour = false;
    std::size_t width = 0;  // columns of the terminal; 0: any number
};

// For eyes in the words of the place, or in UTC: "2026-11-22 03:12:01", "2026-11-22 03:12:01Z".
std::string time_text(reader::Time time, const Options &options);

struct Column {
    std::string id;  // in --columns, and the header of tsv
    std::string header;
    bool in_table = true;  // else in the wide one only
    bool right_aligned = false;
    bool is_signal = false;  // dBm
    int goes = 0;            // where there is no room: the column with the highest number first; 0 stays
};

// Rows of text under columns; a cell that is unknown is empty. The text may hold anything.
struct Table {
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
    std::vector<nlohmann::ordered_json> items;  // the same rows as JSON
};

// In every format. `whole` is what JSON says around the rows, which it gets as the member `key`.
// Throws CLI::ValidationError for a column that is not there.
std::string print(const Table &table, const Options &options, nlohmann::ordered_json whole, const std::string &key);

// One JSON value on its own.
std::string print(const nlohmann::ordered_json &json, Format format);

// For what has one form: throws CLI::ValidationError if another is asked for.
void refuse_format(const char *verb, const Options &options);

bool is_json(Format format);
bool is_for_people(Format format);

}  // namespace cli
