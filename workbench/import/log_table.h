// A text file as a table: its lines, cells and numbers, whatever separates them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "import/import_profile.h"

namespace wgr {

inline constexpr size_t kLongestRow = 65536;  // characters

struct TableFormat {
  char separator = ',';  // ' ': any number of blanks and tabs
  bool decimal_comma = false;
  size_t header_line = 0;  // from 1; 0: none
  size_t first_line = 1;   // of the rows
  std::vector<std::string>
      titles;  // of the header; one for each cell of a row, may be ""
};

// Without what is no text of it: a byte order mark, zero bytes behind the end.
std::string_view table_text(std::string_view bytes);

// How most lines with numbers are laid out; nothing when there are none with three.
std::optional<TableFormat> find_format(std::string_view text, const ImportProfile& given);

// The cells of a line, without blanks and quotes around them.
void split_cells(std::string_view line, char separator,
                 std::vector<std::string_view>& cells);

// Goes through the rows of a table.
class TableRows {
 public:
  TableRows(std::string_view text, const TableFormat& format);

  // The next row that is neither empty nor a comment. False at the end.
  bool next();

  const std::vector<std::string_view>& cells() const { return cells_; }
  std::string_view text() const { return row_; }
  size_t line() const { return line_; }
  bool too_long() const { return row_.size() > kLongestRow; }  // then without cells
  bool ended() const { return ended_; }                        // by a line break

 private:
  bool next_line();

  std::string_view rest_;
  const char separator_;
  std::string_view row_;
  std::vector<std::string_view> cells_;
  size_t line_ = 0;
  bool ended_ = true;
};

enum class Cell { kNumber, kMissing, kOther };

// A missing cell is empty or says so: nan, null, NA, -.
Cell number_in_cell(std::string_view cell, bool decimal_comma, double& value);

// A time stamp as it is written, which a double may not hold: whole units, and a fraction
// of one from 0 to below 1.
struct Stamp {
  std::int64_t whole = 0;
  double fraction = 0.0;
};

// Of a number; of a date, in nanoseconds, with `date`.
Cell stamp_in_cell(std::string_view cell, bool decimal_comma, bool date, Stamp& stamp);

// From one stamp to a later one, in units.
inline double between(const Stamp& from, const Stamp& to) {
  const double whole =
      (from.whole < 0) == (to.whole < 0)
          ? static_cast<double>(to.whole - from.whole)
          : static_cast<double>(to.whole) - static_cast<double>(from.whole);
  return whole + (to.fraction - from.fraction);
}

}  // namespace wgr
