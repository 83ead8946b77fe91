// How answers leave: as tables for people, as rows for scripts, as JSON for programs.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace cli {

enum class Format { kTable, kWide, kJson, kNdjson, kTsv, kValue };

struct Options {
    std::string source;  // as reader::open_source takes it
    Format format = Format::kTable;
    std::vector<std::string> columns;  // by id; none: the format's own
    bool header = true;
    bool names = true;  // false: MACs only
    bool in_utc = false;
    double max_age = 0;  // seconds; 0: any
};

struct Column {
    std::string id;  // in --columns, and the header of tsv
    std::string header;
    bool in_table = true;  // else in the wide one only
    bool right_aligned = false;
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

bool is_json(Format format);

}  // namespace cli
