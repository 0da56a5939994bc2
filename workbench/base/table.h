// Small CSV tables, such as scripts and labels: a fixed header, fields that may be in
// quotes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/numbers.h"

namespace wgr {

struct TableRow {
  size_t line;  // in the file, from 1
  std::vector<std::string> fields;
};

inline constexpr size_t kMostRows = 1000000;  // of a table; labels of years have fewer

// The rows of a table that starts with the line `header`; each has as many fields as it.
// Any of the columns `also`, comma separated, may follow in the file, each once; their
// fields follow in the order of `also`, empty where the file has none. Empty lines are
// skipped. Throws UsageError with file and line for anything else, and for more than
// `most` rows.
std::vector<TableRow> read_table(const std::string& path, const std::string& header,
                                 const std::string& also = "", size_t most = kMostRows);

// Field `index` of a row as a number of the range; throws UsageError with file and line.
double number_in(const TableRow& row, size_t index, const std::string& path,
                 const NumberRange& range);

[[noreturn]] void refuse_row(const TableRow& row, const std::string& path,
                             const std::string& reason);

// A text as a field of a row, in quotes where it needs them. Throws UsageError for what
// no field can hold: a line break, or bytes that are not UTF-8.
std::string field(const std::string& text);

}  // namespace wgr
