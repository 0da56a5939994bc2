// Reads the logs of other devices and apps: what their columns mean is guessed, unless a
// profile says so, and the samples come out as the library expects them.
//
// Accelerations in m/s² with gravity in them, angular velocities in deg/s, times in s.
// Accelerations and angular velocities may be columns of one table, rows of one table
// whose sensor a column names, or files of their own; the latter two are joined onto the
// accelerometer's clock.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "diagnosis/diagnosis.h"
#include "import/import_profile.h"
#include "recording/recording.h"

namespace wgr {

struct LogFile {
  std::string name;        // its path, or what the user calls it
  std::string_view bytes;  // all of it; no longer needed after the call
};

// What a log cannot be used for.
enum class ImportFault {
  kEmpty,          // no line
  kNotText,        // zero bytes, or UTF-16
  kNoTable,        // no line with three numbers and more
  kUnknownColumn,  // `text`: what --columns names; `others`: the titles
  kNoTime,         // no column of stamps; `others`: the titles
  kNoAcc,          // no three columns of accelerations; `others`: the titles
  kNoGyro,         // likewise
  kLinearAcc,      // accelerations without gravity by their title `text`
  kNoGravity,      // accelerations without gravity; `figure`: their usual length, m/s²
  kTimeUnit,       // `figure`: the usual step, which is the period of no sensor
  kAccUnit,        // `figure`: the usual length, which is gravity in no unit
  kGyroUnit,       // `figure`: the fastest turns, in the log's unit
  kUnknownSensor,  // `text`: not in the column of sensors; `others`: what is
  kNoRows,         // no line could be used; `text` and `line`: of the first that not
  kFewRows,        // fewer than half of the lines; likewise, and `figure`: the share
  kNoOverlap,      // the sensors' stamps have no time in common
  kTooSparse,      // to be resampled: `figure` samples would come of it
  kMirrored,       // `text`: axes that no device can have on a wrist
  kUnknownProfile  // `text`: a name; `others`: the profiles
};
inline constexpr size_t kImportFaults = 19;
const char* fault_name(ImportFault fault);  // "no-gravity"

struct ImportErrorFacts {
  ImportFault fault;
  std::string file = {};  // empty: the log as a whole
  size_t line = 0;        // from 1; 0: none
  std::string text = {};
  std::vector<std::string> others = {};
  double figure = 0.0;
};

// what() is "FILE:LINE: " and the fault's name; text/import_text.h of the tool has the
// sentence for people.
class ImportError : public std::runtime_error {
 public:
  explicit ImportError(ImportErrorFacts facts);
  const ImportErrorFacts& facts() const { return facts_; }

 private:
  ImportErrorFacts facts_;
};

enum class LogPart {
  kProfile,   // value: a name
  kFile,      // value: "acc", "gyro", "gravity"; from: the file
  kTable,     // value: the separator; from: the file
  kColumn,    // value: its word; from: its title
  kTimeUnit,  // value: a unit's word, as in the next two
  kAccUnit,
  kGyroUnit,
  kAccAxes,  // value: axes
  kGyroAxes,
  kBothAxes,
  kGravity  // value: "in" or "added"
};
const char* part_name(LogPart part);

enum class Evidence {
  kGiven,     // by the caller
  kProfile,   // what the named profile says
  kTitle,     // of a column
  kFileName,  //
  kStep,      // from stamp to stamp; figure: s
  kGravity,   // the usual length of the accelerations; figure: in the log's unit
  kTurns,     // gravity turns as the gyroscope predicts; figure: to so many degrees
  kRange,     // of the values; figure: the fastest turns, in the log's unit
  kPosition,  // of a column without a title
  kContent,   // what is in the file
  kAssumed    // nothing says otherwise
};
const char* evidence_name(Evidence evidence);

// What is known about a part of the log, and why.
struct GuessedPart {
  LogPart part;
  std::string value;
  std::string from;  // file or title, with kFile, kTable and kColumn
  Sureness sure;
  Evidence why;
  double figure = 0.0;
};

// Which columns of a table are used, from 0.
struct TablePlan {
  size_t file = 0;  // index
  char separator = ',';
  bool decimal_comma = false;
  size_t header_line = 0;  // from 1; 0: none
  size_t first_line = 1;   // of the rows
  std::vector<std::string> titles;
  std::map<LogColumn, size_t> columns;  // never kX, kY and kZ without `sensors`
  // With a column of sensors: what it says, and which one it is.
  std::string acc_sensor, gyro_sensor, gravity_sensor;
};

struct LogGuess {
  ImportProfile profile;  // complete: the same log is imported the same with it
  std::vector<TablePlan> tables;
  std::vector<GuessedPart> parts;
};

// Throws ImportError.
LogGuess guess_profile(const std::vector<LogFile>& files, const ImportProfile& given);

enum class DroppedRow {
  kMissing,   // an empty cell, or none, or not-a-number
  kNoNumber,  // a cell with something else in it
  kTooLong,   // a line
  kTorn,      // the last line, without its end
  kNoPartner  // of the one sensor without one of the other near it; counted in samples
};
inline constexpr size_t kDroppedRows = 5;

struct DroppedRows {
  size_t count = 0;
  std::vector<std::string> first;  // "FILE:LINE" of up to three
};

struct ImportedLog {
  LogGuess guess;
  std::vector<RecordedSample> samples;
  size_t rows = 0;  // of tables, without headers, comments and empty lines
  DroppedRows dropped[kDroppedRows];
  bool joined = false;           // the sensors had stamps of their own
  size_t acc_readings = 0;       // then
  size_t gyro_readings = 0;      // likewise
  size_t out_of_order = 0;       // readings that were sorted in for that
  std::string origin;            // stamp that became 0, as in the log; empty: none
  std::optional<int> resampled;  // to this rate
};

// Imports a log, with what `given` leaves open guessed; `rate`: to resample to, samples
// per second. Throws ImportError.
ImportedLog import_log(const std::vector<LogFile>& files, const ImportProfile& given,
                       std::optional<int> rate = std::nullopt);

}  // namespace wgr
