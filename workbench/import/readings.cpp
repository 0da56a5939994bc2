#include "import/readings.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "diagnosis/measures.h"

namespace wgr {

static constexpr double kLeastReach = 0.2;    // s, to a reading of the other sensor
static constexpr double kReachInSteps = 3.0;  // likewise, of its own usual steps
static constexpr size_t kMostPlaces = 3;      // that are kept of dropped rows
static constexpr std::int64_t kDay = 86'400'000'000'000;  // ns

TableFormat format_of(const TablePlan& table) {
  return {table.separator, table.decimal_comma, table.header_line, table.first_line,
          table.titles};
}

namespace {

// Stamps of one sensor in the order of the rows. Those without a day go on at midnight.
class StampReader {
 public:
  StampReader(bool decimal_comma, bool date)
      : decimal_comma_(decimal_comma), date_(date) {}

  Cell read(std::string_view cell, Stamp& stamp) {
    const Cell kind = stamp_in_cell(cell, decimal_comma_, date_, stamp);
    if (kind != Cell::kNumber || !date_ || stamp.whole > 2 * kDay) return kind;
    if (stamp.whole + days_ * kDay < last_ - kDay / 2) ++days_;
    stamp.whole += days_ * kDay;
    last_ = stamp.whole;
    return kind;
  }

 private:
  const bool decimal_comma_;
  const bool date_;
  std::int64_t days_ = 0;
  std::int64_t last_ = 0;
};

struct SensorColumns {
  std::array<LogColumn, 3> columns;
  const std::string TablePlan::*name;
  std::vector<Reading> LogReadings::*readings;
};

class TableReader {
 public:
  TableReader(const LogFile& file, const TablePlan& table, const LogClock& clock,
              LogReadings& to)
      : file_(file),
        table_(table),
        clock_(clock),
        to_(to),
        stamps_(table.decimal_comma, clock.unit.word == kDateUnit) {}

  void read(size_t most) {
    TableRows rows(table_text(file_.bytes), format_of(table_));
    for (size_t count = 0; count < most && rows.next(); ++count) {
      ++to_.rows;
      const std::optional<DroppedRow> dropped = take_row(rows, count);
      if (dropped) drop(*dropped, rows);
    }
  }

 private:
  std::optional<DroppedRow> take_row(const TableRows& rows, size_t count);
  std::optional<DroppedRow> time_of(const TableRows& rows, size_t count, double& t);
  Cell triple_of(const TableRows& rows, const std::array<LogColumn, 3>& columns,
                 Point3Df& value) const;
  const std::string_view* cell_of(const TableRows& rows, LogColumn column) const;
  void drop(DroppedRow why, const TableRows& rows);

  const LogFile& file_;
  const TablePlan& table_;
  const LogClock& clock_;
  LogReadings& to_;
  StampReader stamps_;
};

}  // namespace

static const std::array<SensorColumns, 3>& sensor_columns() {
  static const std::array<SensorColumns, 3> kSensors = {
      {{{LogColumn::kAccX, LogColumn::kAccY, LogColumn::kAccZ},
        &TablePlan::acc_sensor,
        &LogReadings::acc},
       {{LogColumn::kGyroX, LogColumn::kGyroY, LogColumn::kGyroZ},
        &TablePlan::gyro_sensor,
        &LogReadings::gyro},
       {{LogColumn::kGravityX, LogColumn::kGravityY, LogColumn::kGravityZ},
        &TablePlan::gravity_sensor,
        &LogReadings::gravity}}};
  return kSensors;
}

const std::string_view* TableReader::cell_of(const TableRows& rows,
                                             LogColumn column) const {
  const auto found = table_.columns.find(column);
  if (found == table_.columns.end() || found->second >= rows.cells().size()) {
    return nullptr;
  }
  return &rows.cells()[found->second];
}

// A cell that is not there is missing.
Cell TableReader::triple_of(const TableRows& rows,
                            const std::array<LogColumn, 3>& columns,
                            Point3Df& value) const {
  std::array<double, 3> numbers = {};
  Cell worst = Cell::kNumber;
  for (size_t i = 0; i < 3; ++i) {
    const std::string_view* const cell = cell_of(rows, columns[i]);
    const Cell kind = cell == nullptr
                          ? Cell::kMissing
                          : number_in_cell(*cell, table_.decimal_comma, numbers[i]);
    worst = std::max(worst, kind);
  }
  value = {numbers[0], numbers[1], numbers[2]};
  return worst;
}

std::optional<DroppedRow> TableReader::time_of(const TableRows& rows, size_t count,
                                               double& t) {
  if (clock_.rate) {
    t = static_cast<double>(count) / *clock_.rate;
    return std::nullopt;
  }
  const std::string_view* const cell = cell_of(rows, LogColumn::kTime);
  if (cell == nullptr) return DroppedRow::kMissing;
  Stamp stamp;
  Cell kind = stamps_.read(*cell, stamp);
  if (clock_.origin) {
    t = between(*clock_.origin, stamp) / clock_.unit.factor;
  } else if (kind == Cell::kNumber) {
    kind = number_in_cell(*cell, table_.decimal_comma, t);
    t /= clock_.unit.factor;
  }
  if (kind == Cell::kNumber) return std::nullopt;
  return kind == Cell::kMissing ? DroppedRow::kMissing : DroppedRow::kNoNumber;
}

// What of the row is dropped, if something is. A cell that is no number takes the whole
// row with it; of a table of which each row holds the cells of one sensor, those of the
// others are missing.
std::optional<DroppedRow> TableReader::take_row(const TableRows& rows, size_t count) {
  if (rows.too_long()) return DroppedRow::kTooLong;
  const std::string_view* const sensor = cell_of(rows, LogColumn::kSensor);
  const bool by_rows = table_.columns.count(LogColumn::kSensor) > 0;
  std::array<std::optional<Point3Df>, 3> values;
  Cell worst = Cell::kNumber;
  bool any = false;
  for (size_t i = 0; i < values.size(); ++i) {
    const SensorColumns& kind = sensor_columns()[i];
    const std::string& name = table_.*kind.name;
    const bool of_row = by_rows ? sensor != nullptr && !name.empty() && *sensor == name
                                : table_.columns.count(kind.columns[0]) > 0;
    if (!of_row) continue;
    const auto& columns =
        by_rows ? std::array<LogColumn, 3>{LogColumn::kX, LogColumn::kY, LogColumn::kZ}
                : kind.columns;
    Point3Df value;
    const Cell cell = triple_of(rows, columns, value);
    worst = std::max(worst, cell);
    if (cell == Cell::kNumber) values[i] = value;
    any = any || cell == Cell::kNumber;
  }
  if (worst == Cell::kOther) return DroppedRow::kNoNumber;
  if (!any)
    return worst == Cell::kMissing ? std::optional(DroppedRow::kMissing) : std::nullopt;
  double t = 0.0;
  const std::optional<DroppedRow> without_time = time_of(rows, count, t);
  if (without_time) return without_time;
  for (size_t i = 0; i < values.size(); ++i) {
    if (values[i])
      (to_.*sensor_columns()[i].readings).push_back({t, *values[i], to_.rows});
  }
  return std::nullopt;
}

void TableReader::drop(DroppedRow why, const TableRows& rows) {
  if (!rows.ended()) why = DroppedRow::kTorn;
  DroppedRows& dropped = to_.dropped[static_cast<size_t>(why)];
  if (dropped.count++ < kMostPlaces) {
    dropped.first.push_back(file_.name + ":" + std::to_string(rows.line()));
  }
  if (to_.first_line > 0) return;
  to_.first_line = rows.line();
  to_.first_file = file_.name;
  to_.first_text = std::string(rows.text().substr(0, 200));
}

LogReadings collect_readings(const std::vector<LogFile>& files,
                             const std::vector<TablePlan>& tables, const LogClock& clock,
                             size_t most) {
  LogReadings readings;
  for (const TablePlan& table : tables) {
    TableReader(files.at(table.file), table, clock, readings).read(most);
  }
  return readings;
}

std::vector<Stamp> stamps_of(const LogFile& file, const TablePlan& table, size_t column,
                             bool date, size_t most) {
  const auto sensor = table.columns.find(LogColumn::kSensor);
  const std::string& name =
      table.acc_sensor.empty() ? table.gyro_sensor : table.acc_sensor;
  StampReader reader(table.decimal_comma, date);
  std::vector<Stamp> stamps;
  TableRows rows(table_text(file.bytes), format_of(table));
  while (stamps.size() < most && rows.next()) {
    const auto& cells = rows.cells();
    if (column >= cells.size()) continue;
    if (sensor != table.columns.end() &&
        (sensor->second >= cells.size() || cells[sensor->second] != name)) {
      continue;
    }
    Stamp stamp;
    if (reader.read(cells[column], stamp) == Cell::kNumber) stamps.push_back(stamp);
  }
  return stamps;
}

static size_t sort_by_time(std::vector<Reading>& readings) {
  size_t backward = 0;
  for (size_t i = 1; i < readings.size(); ++i) {
    if (readings[i].t < readings[i - 1].t) ++backward;
  }
  if (backward > 0) {
    std::stable_sort(readings.begin(), readings.end(),
                     [](const Reading& a, const Reading& b) { return a.t < b.t; });
  }
  return backward;
}

// How far from a reading another one may be, to be taken for it or interpolated to it.
static double reach_of(const std::vector<Reading>& readings) {
  std::vector<double> steps;
  for (size_t i = 1; i < readings.size(); ++i) {
    steps.push_back(readings[i].t - readings[i - 1].t);
  }
  return std::max(kLeastReach, kReachInSteps * median(std::move(steps)));
}

namespace {

// Looks a sensor up at times that go forward.
class Lookup {
 public:
  Lookup(const std::vector<Reading>& readings, Joining joining)
      : readings_(readings), joining_(joining), reach_(reach_of(readings)) {}

  std::optional<Point3Df> at(double t) {
    while (next_ < readings_.size() && readings_[next_].t < t) ++next_;
    const bool has_after = next_ < readings_.size() && readings_[next_].t - t <= reach_;
    const bool has_before = next_ > 0 && t - readings_[next_ - 1].t <= reach_;
    if (has_after && readings_[next_].t == t) return readings_[next_].value;
    if (joining_ == Joining::kNearest) {
      if (!has_after && !has_before) return std::nullopt;
      const bool after = has_after && (!has_before || readings_[next_].t - t <
                                                          t - readings_[next_ - 1].t);
      return readings_[after ? next_ : next_ - 1].value;
    }
    if (!has_after || !has_before) return std::nullopt;
    const Reading& a = readings_[next_ - 1];
    const Reading& b = readings_[next_];
    return a.value + ((t - a.t) / (b.t - a.t)) * (b.value - a.value);
  }

 private:
  const std::vector<Reading>& readings_;
  const Joining joining_;
  const double reach_;
  size_t next_ = 0;
};

}  // namespace

// Whether most readings of `a` have one of `b` in their row.
static bool share_rows(const std::vector<Reading>& a, const std::vector<Reading>& b) {
  size_t shared = 0;
  for (size_t i = 0, j = 0; i < a.size() && j < b.size();) {
    if (a[i].row == b[j].row) ++shared;
    const size_t row = std::min(a[i].row, b[j].row);
    if (a[i].row == row) ++i;
    if (b[j].row == row) ++j;
  }
  return shared * 2 > std::min(a.size(), b.size());
}

// The value of `other` for each reading that has one; the others go.
static std::vector<Point3Df> partners_of(std::vector<Reading>& readings,
                                         std::vector<Reading>& others, Joining joining,
                                         JoinedReadings& result) {
  std::vector<Point3Df> partners;
  std::vector<Reading> kept;
  if (share_rows(readings, others)) {
    size_t j = 0;
    for (const Reading& reading : readings) {
      while (j < others.size() && others[j].row < reading.row) ++j;
      if (j >= others.size() || others[j].row != reading.row) continue;
      kept.push_back(reading);
      partners.push_back(others[j].value);
    }
    result.alone += others.size() - kept.size();
  } else {
    result.joined = true;
    result.out_of_order += sort_by_time(readings) + sort_by_time(others);
    Lookup lookup(others, joining);
    for (const Reading& reading : readings) {
      const std::optional<Point3Df> partner = lookup.at(reading.t);
      if (!partner) continue;
      kept.push_back(reading);
      partners.push_back(*partner);
    }
  }
  result.alone += readings.size() - kept.size();
  readings = std::move(kept);
  return partners;
}

static bool is_finite(const RecordedSample& sample) {
  for (const double value : {sample.t, sample.acc.x, sample.acc.y, sample.acc.z,
                             sample.gyro.x, sample.gyro.y, sample.gyro.z}) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

JoinedReadings join_readings(LogReadings readings, const Conversion& conversion) {
  JoinedReadings result;
  for (Reading& reading : readings.acc) reading.value = conversion.acc * reading.value;
  if (!readings.gravity.empty()) {
    const std::vector<Point3Df> gravity =
        partners_of(readings.acc, readings.gravity, conversion.joining, result);
    for (size_t i = 0; i < gravity.size(); ++i) {
      readings.acc[i].value = readings.acc[i].value + conversion.gravity * gravity[i];
    }
  }
  const std::vector<Point3Df> rates =
      partners_of(readings.acc, readings.gyro, conversion.joining, result);
  for (size_t i = 0; i < rates.size(); ++i) {
    const Point3Df acc = mapped(conversion.acc_axes, readings.acc[i].value);
    const Point3Df gyro = mapped(conversion.gyro_axes, conversion.gyro * rates[i]);
    const RecordedSample sample = {readings.acc[i].t, mapped(conversion.axes, acc),
                                   mapped(conversion.axes, gyro)};
    if (is_finite(sample)) {
      result.samples.push_back(sample);
    } else {
      ++result.alone;
    }
  }
  return result;
}

}  // namespace wgr
