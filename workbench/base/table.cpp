#include "base/table.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "base/text_lines.h"

namespace wgr {

static constexpr size_t kLongestLine = 4096;  // characters, without a CR
static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The fields of a line; one in double quotes may hold commas, and "" for a quote.
static std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '"' && quoted && i + 1 < line.size() && line[i + 1] == '"') {
      fields.back() += line[++i];
    } else if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

void refuse_row(const TableRow& row, const std::string& path, const std::string& reason) {
  throw UsageError(fmt::format("{}:{}: {}", path, row.line, reason));
}

// A line fit to be split: of a bounded length, UTF-8, without a carriage return.
static bool next_checked(std::ifstream& file, const std::string& path, size_t line,
                         std::string& text) {
  if (!next_line(file, text, kLongestLine + 1)) return false;
  if (!text.empty() && text.back() == '\r') text.pop_back();
  if (text.size() > kLongestLine) {
    refuse_row({line, {}}, path, fmt::format("longer than {} characters", kLongestLine));
  }
  if (!is_utf8(text)) refuse_row({line, {}}, path, "is not UTF-8");
  return true;
}

namespace {

// Where a table has the required columns.
struct Columns {
  std::string text;  // the first line
  size_t count = 0;
  std::vector<std::optional<size_t>> at;  // of each column that may follow
};

}  // namespace

// The columns of a first line: those of the header, then any of `also`, each once.
static std::optional<Columns> columns_of(const std::string& text,
                                         const std::string& header,
                                         const std::vector<std::string>& also) {
  Columns columns = {text, 0, std::vector<std::optional<size_t>>(also.size())};
  const bool starts = text == header || text.rfind(header + ",", 0) == 0;
  if (!starts) return std::nullopt;
  const std::vector<std::string> names = split(text);
  columns.count = names.size();
  for (size_t i = split(header).size(); i < names.size(); ++i) {
    const auto found = std::find(also.begin(), also.end(), names[i]);
    if (found == also.end()) return std::nullopt;
    std::optional<size_t>& at = columns.at[static_cast<size_t>(found - also.begin())];
    if (at) return std::nullopt;
    at = i;
  }
  return columns;
}

// The fields of the header's columns, then those that may follow, in the order of the
// request.
static void put_in_order(const Columns& columns, size_t known, TableRow& row) {
  std::vector<std::string> fields(
      row.fields.begin(), row.fields.begin() + static_cast<std::ptrdiff_t>(known));
  for (const std::optional<size_t>& at : columns.at) {
    fields.push_back(at ? row.fields[*at] : "");
  }
  row.fields = std::move(fields);
}

std::vector<TableRow> read_table(const std::string& path, const std::string& header,
                                 const std::string& also, size_t most) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": cannot be read: " + std::strerror(errno));
  const TableRow first = {1, {}};
  const size_t known = split(header).size();
  std::string text;
  if (!next_checked(file, path, 1, text) && !file.bad()) {
    refuse_row(first, path, "the file is empty: the first line must be " + header);
  }
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.erase(0, kByteOrderMark.size());
  }
  const std::optional<Columns> columns =
      columns_of(text, header, also.empty() ? std::vector<std::string>() : split(also));
  if (!file.bad() && !columns) {
    refuse_row(first, path,
               "the first line must be " + header +
                   (also.empty() ? "" : ", perhaps with " + also + " behind it"));
  }

  std::vector<TableRow> rows;
  for (size_t line = 2; next_checked(file, path, line, text); ++line) {
    if (text.empty()) continue;
    rows.push_back({line, split(text)});
    TableRow& row = rows.back();
    if (row.fields.size() != columns->count) {
      refuse_row(row, path,
                 fmt::format("{} fields instead of {} ({})", row.fields.size(),
                             columns->count, columns->text));
    }
    put_in_order(*columns, known, row);
    if (rows.size() > most) {
      refuse_row(row, path, fmt::format("more than {} rows", most));
    }
  }
  if (file.bad()) throw UsageError(path + ": cannot be read to its end");
  return rows;
}

double number_in(const TableRow& row, size_t index, const std::string& path,
                 const NumberRange& range) {
  const std::string& field = row.fields[index];
  const std::optional<double> value = number_of(field, range);
  if (!value) {
    refuse_row(row, path, fmt::format("field {}: {}", index + 1, wanted(range, field)));
  }
  return *value;
}

std::string field(const std::string& text) {
  if (text.find('\n') != std::string::npos || !is_utf8(text)) {
    throw UsageError("a table cannot hold the name \"" + text +
                     "\", which has a line break or is not UTF-8");
  }
  if (text.find_first_of(",\"") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

}  // namespace wgr
