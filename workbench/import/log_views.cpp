#include "import/log_views.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

#include "base/numbers.h"

namespace wgr {

static constexpr size_t kRowsToSee = 20000;
static constexpr size_t kMostSensors = 64;  // names in a column of sensors
static constexpr double kNearlyAll = 0.9;
static constexpr double kMostColumns = 100000;
static constexpr NumberRange kColumnNumbers = whole_from(1, kMostColumns);

[[noreturn]] static void refuse(ImportFault fault, const std::string& file,
                                std::vector<std::string> others = {}) {
  ImportErrorFacts facts = {fault, file};
  facts.others = std::move(others);
  throw ImportError(facts);
}

static ImportFault fault_of(std::string_view text) {
  if (text.empty()) return ImportFault::kEmpty;
  const bool utf16 = text.substr(0, 2) == "\xFF\xFE" || text.substr(0, 2) == "\xFE\xFF";
  if (utf16 || text.substr(0, kLongestRow).find('\0') != std::string_view::npos) {
    return ImportFault::kNotText;
  }
  return ImportFault::kNoTable;
}

std::vector<LogView> views_of(const std::vector<LogFile>& files,
                              const ImportProfile& given) {
  std::vector<LogView> views;
  for (size_t i = 0; i < files.size(); ++i) {
    const std::string_view text = table_text(files[i].bytes);
    if (fault_of(text) != ImportFault::kNoTable) continue;
    const std::optional<TableFormat> format = find_format(text, given);
    if (!format) continue;
    const bool titled =
        std::any_of(format->titles.begin(), format->titles.end(),
                    [](const std::string& title) { return !title.empty(); });
    views.push_back({i, &files[i].name, text, *format, titled});
  }
  if (!views.empty()) return views;
  if (files.empty()) refuse(ImportFault::kEmpty, "");
  refuse(fault_of(table_text(files[0].bytes)), files[0].name);
}

std::vector<std::string> all_titles(const std::vector<LogView>& views) {
  std::vector<std::string> titles;
  for (const LogView& view : views) {
    for (const std::string& title : view.format.titles) {
      if (!title.empty()) titles.push_back(title);
    }
  }
  return titles;
}

static std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::optional<size_t> given_column(const LogView& view, const ImportProfile& given,
                                   LogColumn column) {
  const auto found = given.columns.find(column);
  if (found == given.columns.end()) return std::nullopt;
  const std::vector<std::string>& titles = view.format.titles;
  for (size_t i = 0; i < titles.size(); ++i) {
    if (titles[i] == found->second) return i;
  }
  for (size_t i = 0; i < titles.size(); ++i) {
    if (!titles[i].empty() && lower(titles[i]) == lower(found->second)) return i;
  }
  const auto number = number_of(found->second, kColumnNumbers);
  if (!number || *number > static_cast<double>(titles.size())) return std::nullopt;
  return static_cast<size_t>(*number) - 1;
}

double Lengths::at(double share) const {
  if (sorted.empty()) return 0.0;
  const auto last = static_cast<double>(sorted.size() - 1);
  return sorted[static_cast<size_t>(share * last)];
}

Lengths lengths_of(const LogView& view, const Source& source) {
  Lengths lengths;
  TableRows rows(view.text, view.format);
  while (lengths.sorted.size() < kRowsToSee && rows.next()) {
    const auto& cells = rows.cells();
    if (source.sensor_column && (*source.sensor_column >= cells.size() ||
                                 cells[*source.sensor_column] != source.sensor)) {
      continue;
    }
    double square = 0.0;
    bool all = true;
    for (const size_t column : source.columns) {
      double value = 0.0;
      all = all && column < cells.size() &&
            number_in_cell(cells[column], view.format.decimal_comma, value) ==
                Cell::kNumber;
      square += value * value;
      lengths.whole = lengths.whole && value == std::floor(value);
    }
    if (all) lengths.sorted.push_back(std::sqrt(square));
  }
  std::sort(lengths.sorted.begin(), lengths.sorted.end());
  return lengths;
}

std::vector<size_t> number_columns(const LogView& view) {
  std::vector<size_t> counts(view.format.titles.size());
  size_t seen = 0;
  TableRows rows(view.text, view.format);
  while (seen < kRowsToSee && rows.next()) {
    ++seen;
    double value = 0.0;
    for (size_t i = 0; i < counts.size() && i < rows.cells().size(); ++i) {
      if (number_in_cell(rows.cells()[i], view.format.decimal_comma, value) ==
          Cell::kNumber) {
        ++counts[i];
      }
    }
  }
  std::vector<size_t> columns;
  for (size_t i = 0; i < counts.size(); ++i) {
    if (static_cast<double>(counts[i]) >= kNearlyAll * static_cast<double>(seen)) {
      columns.push_back(i);
    }
  }
  return columns;
}

// What a column says, as often as it does; nothing when it says too many things.
static std::vector<std::string> sayings_of(const LogView& view, size_t column) {
  std::vector<std::string> sayings;
  TableRows rows(view.text, view.format);
  for (size_t seen = 0; seen < kRowsToSee && rows.next(); ++seen) {
    if (column >= rows.cells().size()) continue;
    const std::string saying(rows.cells()[column]);
    if (std::find(sayings.begin(), sayings.end(), saying) != sayings.end()) continue;
    sayings.push_back(saying);
    if (sayings.size() > kMostSensors) return {};
  }
  return sayings;
}

// The numbers that Android has for types of sensors.
static Meaning android_type(const std::string& saying) {
  static const std::map<std::string, Meaning> kTypes = {{"1", Meaning::kAcc},
                                                        {"4", Meaning::kGyro},
                                                        {"9", Meaning::kGravity},
                                                        {"10", Meaning::kLinearAcc}};
  const auto found = kTypes.find(saying);
  return found == kTypes.end() ? Meaning::kNothing : found->second;
}

static std::vector<Source> row_sources(const LogView& view, size_t index, size_t column,
                                       const std::array<size_t, 3>& columns,
                                       const ImportProfile& given) {
  const std::vector<std::string> sayings = sayings_of(view, column);
  const bool has_gyro_type =
      std::find(sayings.begin(), sayings.end(), "4") != sayings.end();
  std::vector<Source> sources;
  for (const std::string& saying : sayings) {
    Source source = {index, Meaning::kNothing, columns, "", saying, Evidence::kContent};
    const TitleMeaning named = meaning_of_name(saying);
    source.meaning = named.meaning;
    source.rank = named.rank;
    if (source.meaning == Meaning::kNothing && has_gyro_type) {
      source.meaning = android_type(saying);
    }
    for (const auto& [name, meaning] :
         {std::pair(&given.acc_sensor, Meaning::kAcc),
          std::pair(&given.gyro_sensor, Meaning::kGyro),
          std::pair(&given.gravity_sensor, Meaning::kGravity)}) {
      if (*name == saying && !saying.empty()) {
        source.meaning = meaning;
        source.why = Evidence::kGiven;
        source.rank = 100;
      }
    }
    source.sensor_column = column;
    source.sensor = saying;
    if (source.meaning != Meaning::kNothing) sources.push_back(source);
  }
  return sources;
}

static std::optional<std::array<size_t, 3>> given_triple(const LogView& view,
                                                         const ImportProfile& given,
                                                         LogColumn first) {
  std::array<size_t, 3> columns = {};
  for (size_t i = 0; i < 3; ++i) {
    const auto column = static_cast<LogColumn>(static_cast<size_t>(first) + i);
    const std::optional<size_t> found = given_column(view, given, column);
    if (!found) return std::nullopt;
    columns[i] = *found;
  }
  return columns;
}

static Meaning sensor_of_file(const LogView& view) {
  return meaning_of_name(*view.name).meaning;
}

static std::vector<Source> given_sources(const LogView& view, size_t index,
                                         const ImportProfile& given) {
  std::vector<Source> sources;
  for (const auto& [first, meaning] : {std::pair(LogColumn::kAccX, Meaning::kAcc),
                                       std::pair(LogColumn::kGyroX, Meaning::kGyro),
                                       std::pair(LogColumn::kGravityX, Meaning::kGravity),
                                       std::pair(LogColumn::kX, Meaning::kVector)}) {
    const auto columns = given_triple(view, given, first);
    if (!columns) continue;
    const std::string& title = view.format.titles[(*columns)[0]];
    sources.push_back(
        {index, meaning, *columns, meaning_of(title).unit, title, Evidence::kGiven, 100});
  }
  return sources;
}

// Without titles: the time is followed by the sensors, or there is no time.
static std::vector<Source> placed_sources(const LogView& view, size_t index) {
  const std::vector<size_t> numbers = number_columns(view);
  const size_t first = numbers.size() % 3 == 0 && numbers.size() <= 6 ? 0 : 1;
  std::vector<Source> sources;
  for (size_t i = first; i + 3 <= numbers.size() && sources.size() < 2; i += 3) {
    sources.push_back({index,
                       Meaning::kVector,
                       {numbers[i], numbers[i + 1], numbers[i + 2]},
                       "",
                       "",
                       Evidence::kPosition});
  }
  return sources;
}

static std::vector<Source> titled_sources(const LogView& view, size_t index) {
  std::vector<Source> sources;
  for (const Triple& triple : triples_of(view.format.titles)) {
    sources.push_back({index, triple.meaning, triple.columns, triple.unit, triple.title,
                       Evidence::kTitle, triple.rank});
  }
  return sources;
}

// The column of sensors, if a view has one.
static std::optional<size_t> sensors_in(const LogView& view, const ImportProfile& given) {
  const auto column = given_column(view, given, LogColumn::kSensor);
  if (column) return column;
  std::vector<size_t> columns = columns_of(view.format.titles, Meaning::kSensor);
  if (!view.titled) {
    const std::vector<size_t> numbers = number_columns(view);
    for (size_t i = 0; i < view.format.titles.size(); ++i) {
      if (std::find(numbers.begin(), numbers.end(), i) == numbers.end()) {
        columns.push_back(i);
      }
    }
  }
  for (const size_t candidate : columns) {
    if (!row_sources(view, 0, candidate, {}, given).empty()) return candidate;
  }
  return std::nullopt;
}

std::vector<Source> sources_of(const std::vector<LogView>& views, size_t index,
                               const ImportProfile& given) {
  const LogView& view = views[index];
  std::vector<Source> found = given_sources(view, index, given);
  const size_t given_count = found.size();
  std::vector<Source> guessed =
      view.titled ? titled_sources(view, index) : placed_sources(view, index);
  found.insert(found.end(), guessed.begin(), guessed.end());

  const std::optional<size_t> sensors = sensors_in(view, given);
  std::vector<Source> sources;
  for (size_t i = 0; i < found.size(); ++i) {
    Source& source = found[i];
    if (source.meaning != Meaning::kVector) {
      sources.push_back(source);
      continue;
    }
    if (sensors) {
      const auto rows = row_sources(view, index, *sensors, source.columns, given);
      sources.insert(sources.end(), rows.begin(), rows.end());
      if (i < given_count) break;
      continue;
    }
    const Meaning by_name = sensor_of_file(view);
    if (view.titled && by_name != Meaning::kNothing) {
      source.meaning = by_name;
      source.rank += meaning_of_name(*view.name).rank;
      source.title = *view.name;
      source.why = Evidence::kFileName;
    }
    sources.push_back(source);
  }
  return sources;
}

}  // namespace wgr
