// The readings of a log's sensors as they are in its tables, before they are converted
// and brought together.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "base/points.h"
#include "import/import_log.h"
#include "import/log_table.h"

namespace wgr {

struct Reading {
  double t;        // s
  Point3Df value;  // in the log's unit
  size_t row;      // of all tables; readings of one row belong together
};

struct LogReadings {
  std::vector<Reading> acc;
  std::vector<Reading> gyro;
  std::vector<Reading> gravity;
  size_t rows = 0;
  DroppedRows dropped[kDroppedRows];
  // The first row of which something was dropped.
  std::string first_file, first_text;
  size_t first_line = 0;
};

// How stamps become seconds.
struct LogClock {
  LogUnit unit;                 // its word may be kDateUnit
  std::optional<double> rate;   // instead of stamps
  std::optional<Stamp> origin;  // becomes 0; nothing: stamps stay as they are
};

TableFormat format_of(const TablePlan& table);

// Up to `most` rows of each table.
LogReadings collect_readings(const std::vector<LogFile>& files,
                             const std::vector<TablePlan>& tables, const LogClock& clock,
                             size_t most);

// The stamps of up to `most` rows of the accelerometer, or of the table's first sensor.
std::vector<Stamp> stamps_of(const LogFile& file, const TablePlan& table, size_t column,
                             bool date, size_t most);

// Brings the sensors together: converted, gravity added where it has readings of its own,
// and joined onto the accelerometer's clock where they have no rows in common.
struct Conversion {
  double acc = 1.0;
  double gravity = 1.0;
  double gyro = 1.0;
  AxisMap acc_axes;
  AxisMap gyro_axes;
  AxisMap axes;
  Joining joining = Joining::kInterpolated;
};

struct JoinedReadings {
  std::vector<RecordedSample> samples;
  bool joined = false;
  size_t out_of_order = 0;
  size_t alone = 0;  // accelerations without an angular velocity, or a gravity, near
};

JoinedReadings join_readings(LogReadings readings, const Conversion& conversion);

}  // namespace wgr
