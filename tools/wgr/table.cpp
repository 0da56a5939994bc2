#include "table.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "errors.h"

static std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == ',') {
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

std::vector<TableRow> read_table(const std::string& path, const std::string& header) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": cannot be read: " + std::strerror(errno));
  const size_t columns = split(header).size();

  std::vector<TableRow> rows;
  std::string text;
  for (size_t line = 1; std::getline(file, text); ++line) {
    if (!text.empty() && text.back() == '\r') text.pop_back();
    TableRow row = {line, {}};
    if (line == 1) {
      if (text != header) refuse_row(row, path, "the first line must be " + header);
      continue;
    }
    if (text.empty()) continue;
    row.fields = split(text);
    if (row.fields.size() != columns) {
      refuse_row(row, path,
                 std::to_string(row.fields.size()) + " fields instead of " +
                     std::to_string(columns) + " (" + header + ")");
    }
    rows.push_back(std::move(row));
  }
  if (file.bad()) throw UsageError(path + ": cannot be read to its end");
  return rows;
}

double number_in(const TableRow& row, size_t index, const std::string& path) {
  const std::string& field = row.fields[index];
  double value = 0.0;
  const auto [stop, error] =
      std::from_chars(field.data(), field.data() + field.size(), value);
  if (error != std::errc() || stop != field.data() + field.size() ||
      !std::isfinite(value)) {
    refuse_row(row, path, "field " + std::to_string(index + 1) + " is not a number");
  }
  return value;
}

std::string fixed(double value, int decimals) {
  std::array<char, 400> text;  // the largest double has 309 digits before its point
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                          std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(text.data(), end) : std::string("nan");
}

void write_text(const std::string& path, const std::string& text) {
  if (path == "-") {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return;
  }
  const std::string beside = path + ".part";
  std::ofstream file(beside, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  std::error_code failed;
  if (file) std::filesystem::rename(beside, path, failed);
  if (!file || failed) {
    const std::string reason = failed ? failed.message() : std::strerror(errno);
    std::filesystem::remove(beside, failed);
    throw UsageError(path + ": cannot be written: " + reason);
  }
}
