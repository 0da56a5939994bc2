#include "base/table.h"

#include <cerrno>
#include <cstring>
#include <fstream>
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

std::vector<TableRow> read_table(const std::string& path, const std::string& header,
                                 const std::string& also, size_t most) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": cannot be read: " + std::strerror(errno));
  const std::string longer = also.empty() ? header : header + "," + also;
  const TableRow first = {1, {}};
  std::string text;
  if (!next_checked(file, path, 1, text) && !file.bad()) {
    refuse_row(first, path, "the file is empty: the first line must be " + header);
  }
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.erase(0, kByteOrderMark.size());
  }
  if (!file.bad() && text != header && text != longer) {
    refuse_row(first, path, "the first line must be " + header);
  }
  const std::string columns = text;
  const size_t fields = split(columns).size();

  std::vector<TableRow> rows;
  for (size_t line = 2; next_checked(file, path, line, text); ++line) {
    if (text.empty()) continue;
    rows.push_back({line, split(text)});
    TableRow& row = rows.back();
    if (row.fields.size() != fields) {
      refuse_row(row, path,
                 fmt::format("{} fields instead of {} ({})", row.fields.size(), fields,
                             columns));
    }
    row.fields.resize(split(longer).size());
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
