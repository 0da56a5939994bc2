#include "base/table.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string_view>

#include "base/errors.h"
#include "base/foreign_text.h"
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
  throw UsageError(path + ":" + std::to_string(row.line) + ": " + reason);
}

std::vector<TableRow> read_table(const std::string& path, const std::string& header,
                                 const std::string& also, size_t most) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": cannot be read: " + std::strerror(errno));
  const size_t columns = split(header).size();
  const std::string longer = also.empty() ? header : header + "," + also;
  const size_t most_columns = split(longer).size();
  size_t fields = columns;

  std::vector<TableRow> rows;
  std::string text;
  size_t line = 1;
  for (; next_line(file, text, kLongestLine + 1); ++line) {
    if (!text.empty() && text.back() == '\r') text.pop_back();
    TableRow row = {line, {}};
    if (text.size() > kLongestLine) {
      refuse_row(row, path,
                 "longer than " + std::to_string(kLongestLine) + " characters");
    }
    if (!is_utf8(text)) refuse_row(row, path, "is not UTF-8");
    if (line == 1) {
      if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.erase(0, kByteOrderMark.size());
      }
      if (text != header && text != longer) {
        refuse_row(row, path, "the first line must be " + header);
      }
      if (text == longer) fields = most_columns;
      continue;
    }
    if (text.empty()) continue;
    row.fields = split(text);
    if (row.fields.size() != fields) {
      refuse_row(row, path,
                 std::to_string(row.fields.size()) + " fields instead of " +
                     std::to_string(fields) + " (" +
                     (fields == columns ? header : longer) + ")");
    }
    row.fields.resize(most_columns);
    if (rows.size() == most) {
      refuse_row(row, path, "more than " + std::to_string(most) + " rows");
    }
    rows.push_back(std::move(row));
  }
  if (file.bad()) throw UsageError(path + ": cannot be read to its end");
  if (line == 1)
    refuse_row({1, {}}, path, "the file is empty: the first line must be " + header);
  return rows;
}

double number_in(const TableRow& row, size_t index, const std::string& path,
                 const NumberRange& range) {
  const std::string& field = row.fields[index];
  const std::optional<double> value = number_of(field, range);
  if (!value) {
    refuse_row(row, path,
               "field " + std::to_string(index + 1) + ": " + wanted(range, field));
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

std::string fixed(double value, int decimals) {
  std::array<char, 400> text;  // the largest double has 309 digits before its point
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                          std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(text.data(), end) : std::string("nan");
}

}  // namespace wgr
