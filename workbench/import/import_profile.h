// How a foreign log is to be taken: its columns, units, clock and axes.
//
// What a profile leaves open is guessed from the log (import_log.h). Named profiles hold
// what the makers of devices and apps document; docs/importing.md has the addresses.
#pragma once

#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "diagnosis/agreement.h"

namespace wgr {

enum class LogColumn {
  kTime,
  kSensor,  // which sensor the row is of
  kAccX,
  kAccY,
  kAccZ,
  kGyroX,
  kGyroY,
  kGyroZ,
  kGravityX,  // to be added to an acceleration that lacks gravity
  kGravityY,
  kGravityZ,
  kX,  // of the sensor that the file or the row is of
  kY,
  kZ
};
inline constexpr size_t kLogColumns = 14;

// The word of --columns: "time", "sensor", "ax", ..., "gravityx", ..., "x".
std::string column_word(LogColumn column);
std::optional<LogColumn> column_from(const std::string& word);
std::vector<std::string> column_words();

enum class Quantity { kTime, kAcc, kGyro };

struct LogUnit {
  std::string word;     // of --units, such as "ms", "g" or "raw:16384"
  double factor = 1.0;  // kAcc: to m/s²; kGyro: to deg/s; kTime: stamps in one second
};

inline constexpr char kDateUnit[] = "date";  // stamps such as 2026-11-22T16:20:00.123

// Time: s, ms, us, ns, date. Acceleration: m/s2, g, mg, raw:COUNTS of 1 g. Angular
// velocity: deg/s, rad/s, mdps, raw:COUNTS of 1 deg/s. Usual other spellings count, too.
std::optional<LogUnit> unit_from(Quantity quantity, const std::string& text);
std::vector<std::string> unit_words(Quantity quantity);

// Three axes such as "-y,x,z"; nothing unless each of x, y and z is there once.
std::optional<AxisMap> axes_from(const std::string& text);
std::string axes_word(const AxisMap& axes);

enum class Joining { kInterpolated, kNearest };

// Every member may be left open.
struct ImportProfile {
  std::string name;  // of a named profile, which holds where no member says otherwise
  std::map<LogColumn, std::string> columns;  // a title, or a number from 1
  std::optional<char> separator;             // ' ': any number of blanks
  std::optional<bool> decimal_comma;
  std::optional<bool> header;
  std::optional<LogUnit> time;
  std::optional<double> rate;  // samples per second of a log without stamps
  std::optional<LogUnit> acc;
  std::optional<LogUnit> gyro;
  std::optional<AxisMap> acc_axes;  // of the log's accelerometer alone
  std::optional<AxisMap> gyro_axes;
  std::optional<AxisMap> axes;  // of both: how the device sits on the wrist
  std::string acc_sensor;       // what the column of sensors says; empty: guessed
  std::string gyro_sensor;
  std::string gravity_sensor;
  std::optional<Joining> joining;  // where both sensors have stamps of their own
};

struct NamedProfile {
  const char* name;
  const char* source;  // the address where units and signs are documented; may be ""
  ImportProfile profile;
};

const std::vector<NamedProfile>& named_profiles();
const NamedProfile* named_profile(const std::string& name);  // null: there is none

nlohmann::ordered_json to_json(const ImportProfile& profile);

// Throws UsageError, naming `where`, for JSON that is no profile.
ImportProfile profile_from(const nlohmann::ordered_json& json, const std::string& where);

// Of a file. Throws UsageError.
ImportProfile read_profile(const std::string& path);

}  // namespace wgr
