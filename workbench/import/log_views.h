// The tables of a log, and where in them the sensors may be.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "import/column_titles.h"
#include "import/import_log.h"
#include "import/log_table.h"

namespace wgr {

struct LogView {
  size_t file;  // index
  const std::string* name;
  std::string_view text;
  TableFormat format;
  bool titled = false;  // has a title at all
};

// Where one sensor's readings may be.
struct Source {
  size_t view = 0;  // index
  Meaning meaning = Meaning::kVector;
  std::array<size_t, 3> columns = {};
  std::string unit;   // that the titles name; may be empty
  std::string title;  // of the first column
  Evidence why = Evidence::kTitle;
  int rank = 0;
  // Of rows whose sensor a column names: it, and what it says.
  std::optional<size_t> sensor_column = {};
  std::string sensor = {};
};

// The tables among the files. Throws ImportError when there is none.
std::vector<LogView> views_of(const std::vector<LogFile>& files,
                              const ImportProfile& given);

// The given column of a view, by title or number; nothing when it has none.
std::optional<size_t> given_column(const LogView& view, const ImportProfile& given,
                                   LogColumn column);

// All sensors of a view, by what is given, titles, names and positions.
std::vector<Source> sources_of(const std::vector<LogView>& views, size_t view,
                               const ImportProfile& given);

// Lengths of a source's vectors, in the log's unit, sorted; of its first rows.
struct Lengths {
  std::vector<double> sorted;
  bool whole = true;              // all cells are whole numbers
  double at(double share) const;  // 0 when there are none
};
Lengths lengths_of(const LogView& view, const Source& source);

// Columns in which nearly every row has a number, from 0.
std::vector<size_t> number_columns(const LogView& view);

// Titles as they were read, for messages.
std::vector<std::string> all_titles(const std::vector<LogView>& views);

}  // namespace wgr
