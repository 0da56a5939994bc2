#include "import/log_table.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>

namespace wgr {

static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
static constexpr size_t kSampleLines = 400;  // that the format is judged by
static constexpr size_t kFewestNumbers = 3;  // of a row
static constexpr size_t kMostDigits = 18;    // of a whole number that any int64 holds
static constexpr size_t kLongestNumber = 64;
static constexpr std::int64_t kFirstYear = 1970;
static constexpr std::int64_t kLastYear = 2200;  // nanoseconds of later ones fit no int64
static constexpr std::int64_t kNanoseconds = 1'000'000'000;  // in a second

static std::string_view trimmed(std::string_view text) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view table_text(std::string_view bytes) {
  while (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
  if (bytes.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    bytes.remove_prefix(kByteOrderMark.size());
  }
  return bytes;
}

static bool is_comment(std::string_view line) {
  return line[0] == '#' || line[0] == '%' || line.substr(0, 2) == "//";
}

// Where the value of "ax:0.98" or "gx=1.5", as boards print them for plotters, begins; 0
// for a cell without a label.
static size_t label_length(std::string_view cell) {
  if (cell.empty() || !std::isalpha(static_cast<unsigned char>(cell[0]))) return 0;
  const size_t end = cell.find_first_of(":=");
  if (end == std::string_view::npos) return 0;
  const size_t value = cell.find_first_not_of(' ', end + 1);
  if (value == std::string_view::npos) return cell.size();
  return std::strchr("+-.0123456789", cell[value]) == nullptr ? 0 : value;
}

// A label that has no value behind it belongs to the next cell.
static void add_cell(std::string_view cell, std::vector<std::string_view>& cells) {
  const size_t label = label_length(cell);
  if (label == 0 || label < cell.size()) cells.push_back(cell.substr(label));
}

static void split_at_blanks(std::string_view line, std::vector<std::string_view>& cells) {
  while (!(line = trimmed(line)).empty()) {
    const size_t end = std::min(line.find_first_of(" \t"), line.size());
    add_cell(line.substr(0, end), cells);
    line.remove_prefix(end);
  }
}

void split_cells(std::string_view line, char separator,
                 std::vector<std::string_view>& cells) {
  cells.clear();
  if (separator == ' ') return split_at_blanks(line, cells);
  for (;;) {
    while (!line.empty() && line[0] == ' ') line.remove_prefix(1);
    size_t search = 0;
    if (!line.empty() && line[0] == '"') {
      const size_t close = line.find('"', 1);
      if (close != std::string_view::npos) search = close;
    }
    const size_t end = line.find(separator, search);
    std::string_view cell = trimmed(line.substr(0, end));
    if (cell.size() >= 2 && cell.front() == '"' && cell.back() == '"') {
      cell = trimmed(cell.substr(1, cell.size() - 2));
    }
    add_cell(cell, cells);
    if (end == std::string_view::npos) return;
    line.remove_prefix(end + 1);
  }
}

static bool says_missing(std::string_view cell) {
  if (cell.empty() || cell == "-") return true;
  if (cell.size() > 4) return false;
  std::string lower;
  for (const char c : cell) {
    lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  for (const char* const word : {"nan", "null", "none", "na", "n/a", "-nan"}) {
    if (lower == word) return true;
  }
  return false;
}

Cell number_in_cell(std::string_view cell, bool decimal_comma, double& value) {
  if (!cell.empty() && cell.front() == '+') cell.remove_prefix(1);
  std::array<char, kLongestNumber> with_point;
  if (decimal_comma) {
    const size_t comma = cell.find(',');
    if (comma != std::string_view::npos && cell.size() <= with_point.size()) {
      std::copy(cell.begin(), cell.end(), with_point.begin());
      with_point.at(comma) = '.';
      cell = std::string_view(with_point.data(), cell.size());
    }
  }
  const char* const end = cell.data() + cell.size();
  const auto [stop, error] = std::from_chars(cell.data(), end, value);
  if (error == std::errc() && stop == end && std::isfinite(value)) return Cell::kNumber;
  return says_missing(cell) ? Cell::kMissing : Cell::kOther;
}

// Days from 1970-01-01 in the Gregorian calendar (Hinnant, 2013).
static std::int64_t days_before(std::int64_t year, std::int64_t month, std::int64_t day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t year_of_era = year - era * 400;
  const std::int64_t shifted = month > 2 ? month - 3 : month + 9;
  const std::int64_t day_of_year = (153 * shifted + 2) / 5 + day - 1;
  const std::int64_t day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

// Takes so many digits off the text's beginning; -1 when they are not there.
static std::int64_t take_digits(std::string_view& text, size_t count) {
  std::int64_t value = 0;
  if (text.size() < count) return -1;
  for (size_t i = 0; i < count; ++i) {
    if (text[i] < '0' || text[i] > '9') return -1;
    value = value * 10 + (text[i] - '0');
  }
  text.remove_prefix(count);
  return value;
}

static bool take_sign(std::string_view& text, const char* signs) {
  if (text.empty() || std::strchr(signs, text[0]) == nullptr) return false;
  text.remove_prefix(1);
  return true;
}

// "2026-11-22T16:20:00.123Z", or with a blank, slashes, a zone or without the day. The
// zone does not count: it is the same in all rows.
static bool parse_date(std::string_view text, Stamp& stamp) {
  std::int64_t days = 0;
  if (text.size() > 10 && (text[4] == '-' || text[4] == '/')) {
    const std::int64_t year = take_digits(text, 4);
    if (!take_sign(text, "-/")) return false;
    const std::int64_t month = take_digits(text, 2);
    if (!take_sign(text, "-/")) return false;
    const std::int64_t day = take_digits(text, 2);
    if (year < kFirstYear || year > kLastYear || month < 1 || month > 12 || day < 1 ||
        day > 31)
      return false;
    if (!take_sign(text, "T _")) return false;
    days = days_before(year, month, day);
  }
  const std::int64_t hour = take_digits(text, 2);
  if (!take_sign(text, ":")) return false;
  const std::int64_t minute = take_digits(text, 2);
  if (!take_sign(text, ":")) return false;
  const std::int64_t second = take_digits(text, 2);
  if (hour < 0 || hour > 24 || minute < 0 || minute > 59 || second < 0 || second > 60) {
    return false;
  }
  std::int64_t nanoseconds = 0;
  if (take_sign(text, ".,:")) {
    std::int64_t digit_worth = kNanoseconds / 10;
    while (!text.empty() && text[0] >= '0' && text[0] <= '9') {
      nanoseconds += (text[0] - '0') * digit_worth;
      digit_worth /= 10;
      text.remove_prefix(1);
    }
  }
  stamp.whole = ((days * 24 + hour) * 60 + minute) * 60 + second;
  stamp.whole = stamp.whole * kNanoseconds + nanoseconds;
  return text.empty() || std::strchr("Z+- ", text[0]) != nullptr;
}

static Cell stamp_of_double(std::string_view cell, bool decimal_comma, Stamp& stamp) {
  static constexpr double kMost = 9e18;
  double value = 0.0;
  const Cell kind = number_in_cell(cell, decimal_comma, value);
  if (kind != Cell::kNumber) return kind;
  if (!(std::fabs(value) < kMost)) return Cell::kOther;
  const double whole = std::floor(value);
  stamp = {static_cast<std::int64_t>(whole), value - whole};
  return Cell::kNumber;
}

Cell stamp_in_cell(std::string_view cell, bool decimal_comma, bool date, Stamp& stamp) {
  stamp = {};
  if (date) {
    if (says_missing(cell)) return Cell::kMissing;
    return parse_date(cell, stamp) ? Cell::kNumber : Cell::kOther;
  }
  const size_t point = std::min(cell.find(decimal_comma ? ',' : '.'), cell.size());
  const std::string_view whole = cell.substr(0, point);
  const bool digits_only =
      !whole.empty() && whole.size() <= kMostDigits + 1 &&
      whole.find_first_not_of("0123456789") == std::string_view::npos &&
      cell.substr(point).find_first_of("eE") == std::string_view::npos;
  if (!digits_only) return stamp_of_double(cell, decimal_comma, stamp);
  const auto [stop, error] =
      std::from_chars(whole.data(), whole.data() + whole.size(), stamp.whole);
  if (error != std::errc()) return Cell::kOther;
  if (point == cell.size()) return Cell::kNumber;
  const std::string fraction = "0." + std::string(cell.substr(point + 1));
  return fraction.size() == 2 ? Cell::kNumber
                              : number_in_cell(fraction, false, stamp.fraction);
}

TableRows::TableRows(std::string_view text, const TableFormat& format)
    : rest_(text), separator_(format.separator) {
  while (line_ + 1 < format.first_line && next_line()) {
  }
}

bool TableRows::next_line() {
  if (rest_.empty()) return false;
  ++line_;
  const size_t end = rest_.find('\n');
  ended_ = end != std::string_view::npos;
  row_ = rest_.substr(0, end);
  rest_.remove_prefix(ended_ ? end + 1 : rest_.size());
  if (!row_.empty() && row_.back() == '\r') row_.remove_suffix(1);
  return true;
}

bool TableRows::next() {
  while (next_line()) {
    const std::string_view content = trimmed(row_);
    if (content.empty() || is_comment(content)) continue;
    cells_.clear();
    if (!too_long()) split_cells(row_, separator_, cells_);
    return true;
  }
  return false;
}

namespace {

struct SampleLine {
  size_t line;
  std::string_view text;
  bool comment;
};

struct Shape {
  size_t numbers = 0;  // in all rows of the usual width
  size_t width = 0;    // cells of most rows
};

}  // namespace

static std::vector<SampleLine> sample_lines(std::string_view text) {
  std::vector<SampleLine> lines;
  for (size_t line = 1; !text.empty() && lines.size() < kSampleLines; ++line) {
    const size_t end = text.find('\n');
    std::string_view row = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!row.empty() && row.back() == '\r') row.remove_suffix(1);
    const std::string_view content = trimmed(row);
    if (content.empty() || row.size() > kLongestRow) continue;
    lines.push_back({line, row, is_comment(content)});
  }
  return lines;
}

static size_t numbers_in(const std::vector<std::string_view>& cells, bool decimal_comma) {
  double value = 0.0;
  return static_cast<size_t>(
      std::count_if(cells.begin(), cells.end(), [&](std::string_view cell) {
        return number_in_cell(cell, decimal_comma, value) == Cell::kNumber;
      }));
}

static Shape shape_of(const std::vector<SampleLine>& lines, char separator,
                      bool decimal_comma) {
  struct Width {
    size_t rows = 0;
    size_t numbers = 0;
  };
  std::map<size_t, Width> widths;
  std::vector<std::string_view> cells;
  for (const SampleLine& line : lines) {
    if (line.comment) continue;
    split_cells(line.text, separator, cells);
    const size_t numbers = numbers_in(cells, decimal_comma);
    if (numbers < kFewestNumbers) continue;
    Width& width = widths[cells.size()];
    ++width.rows;
    width.numbers += numbers;
  }
  Shape shape;
  size_t most = 0;
  for (const auto& [cell_count, width] : widths) {
    if (width.rows <= most) continue;
    most = width.rows;
    shape = {width.numbers, cell_count};
  }
  return shape;
}

static bool fits(const std::vector<std::string_view>& cells, const Shape& shape,
                 bool decimal_comma) {
  return cells.size() == shape.width &&
         numbers_in(cells, decimal_comma) >= kFewestNumbers;
}

// What the cells of a row are labelled with, where each one is.
static std::vector<std::string> labels_of(std::string_view row) {
  std::vector<std::string> labels;
  for (size_t end = row.find_first_of(":="); end != std::string_view::npos;
       end = row.find_first_of(":=", end + 1)) {
    size_t start = end;
    while (start > 0 && std::strchr(" ,;\t|", row[start - 1]) == nullptr) --start;
    if (label_length(row.substr(start)) > 0) {
      labels.emplace_back(row.substr(start, end - start));
    }
  }
  return labels;
}

// Where the rows start, and the line before them that has as many cells and no number.
static void find_header(const std::vector<SampleLine>& lines, const Shape& shape,
                        const std::optional<bool>& wanted, TableFormat& format) {
  std::vector<std::string_view> cells;
  size_t first = 0;
  for (; first < lines.size(); ++first) {
    if (lines[first].comment) continue;
    split_cells(lines[first].text, format.separator, cells);
    if (fits(cells, shape, format.decimal_comma)) break;
  }
  format.first_line = lines.at(first).line;
  format.titles = labels_of(lines[first].text);
  if (format.titles.size() == shape.width) return;
  format.titles.assign(shape.width, "");
  if (wanted && !*wanted) return;
  if (wanted && first == 0) {  // of numbers, then
    format.header_line = lines[0].line;
    format.first_line = format.header_line + 1;
  }
  for (size_t back = first; back > 0 && format.header_line == 0; --back) {
    const SampleLine& line = lines[back - 1];
    std::string_view text = trimmed(line.text);
    while (line.comment && !text.empty() && std::strchr("#%/ ", text[0]) != nullptr) {
      text.remove_prefix(1);
    }
    split_cells(text, format.separator, cells);
    const bool as_wide = cells.size() == shape.width || cells.size() + 1 == shape.width ||
                         cells.size() == shape.width + 1;
    if (!as_wide || numbers_in(cells, format.decimal_comma) * 2 > cells.size()) {
      if (line.comment) continue;
      break;
    }
    format.header_line = line.line;
    for (size_t i = 0; i < cells.size() && i < shape.width; ++i) {
      format.titles[i] = std::string(cells[i]);
    }
  }
}

std::optional<TableFormat> find_format(std::string_view text,
                                       const ImportProfile& given) {
  const std::vector<SampleLine> lines = sample_lines(text);
  Shape best;
  TableFormat format;
  for (const bool decimal_comma : {false, true}) {
    if (given.decimal_comma && *given.decimal_comma != decimal_comma) continue;
    for (const char separator : {',', ';', '\t', '|', ' '}) {
      if (given.separator && *given.separator != separator) continue;
      const Shape shape = shape_of(lines, separator, decimal_comma);
      if (shape.numbers <= best.numbers) continue;
      best = shape;
      format.separator = separator;
      format.decimal_comma = decimal_comma;
    }
  }
  if (best.numbers == 0) return std::nullopt;
  find_header(lines, best, given.header, format);
  return format;
}

}  // namespace wgr
