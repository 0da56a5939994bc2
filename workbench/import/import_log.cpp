#include "import/import_log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "import/readings.h"
#include "recording/resample.h"

namespace wgr {

static constexpr double kLongClock = 1000.0;    // s; one that starts later starts at 0
static constexpr double kMostMade = 1e6;        // samples, by resampling
static constexpr double kMostMadeOfEach = 100;  // and of each that there is
static constexpr double kFewestUsed = 0.5;      // of the rows

static constexpr std::array<const char*, kImportFaults> kFaultNames = {
    "empty",      "not-text",   "no-table",       "unknown-column", "no-time",
    "no-acc",     "no-gyro",    "linear-acc",     "no-gravity",     "time-unit",
    "acc-unit",   "gyro-unit",  "unknown-sensor", "no-rows",        "few-rows",
    "no-overlap", "too-sparse", "mirrored",       "unknown-profile"};

const char* fault_name(ImportFault fault) {
  return kFaultNames.at(static_cast<size_t>(fault));
}

const char* part_name(LogPart part) {
  static constexpr std::array<const char*, 10> kNames = {
      "profile",  "sensor",    "table",    "column",    "time-unit",
      "acc-unit", "gyro-unit", "acc-axes", "gyro-axes", "axes"};
  return part == LogPart::kGravity ? "gravity" : kNames.at(static_cast<size_t>(part));
}

const char* evidence_name(Evidence evidence) {
  static constexpr std::array<const char*, 11> kNames = {
      "given", "profile", "title",    "file-name", "step",   "gravity",
      "turns", "range",   "position", "content",   "assumed"};
  return kNames.at(static_cast<size_t>(evidence));
}

static std::string what_of(const ImportErrorFacts& facts) {
  std::string text = facts.file;
  if (facts.line > 0) text += ":" + std::to_string(facts.line);
  return (text.empty() ? "" : text + ": ") + fault_name(facts.fault);
}

ImportError::ImportError(ImportErrorFacts facts)
    : std::runtime_error(what_of(facts)), facts_(std::move(facts)) {}

// The earliest first stamp of the tables, and how it is written.
static std::optional<Stamp> first_stamp(const std::vector<LogFile>& files,
                                        const LogGuess& guess, std::string& text) {
  std::optional<Stamp> first;
  const bool date = guess.profile.time->word == kDateUnit;
  for (const TablePlan& table : guess.tables) {
    const size_t column = table.columns.at(LogColumn::kTime);
    TableRows rows(table_text(files.at(table.file).bytes), format_of(table));
    while (rows.next()) {
      Stamp stamp;
      if (column >= rows.cells().size() ||
          stamp_in_cell(rows.cells()[column], table.decimal_comma, date, stamp) !=
              Cell::kNumber) {
        continue;
      }
      if (!first || between(*first, stamp) < 0.0) {
        first = stamp;
        text = std::string(rows.cells()[column]);
      }
      break;
    }
  }
  return first;
}

static LogClock clock_of(const std::vector<LogFile>& files, ImportedLog& log) {
  const ImportProfile& profile = log.guess.profile;
  LogClock clock = {profile.time.value_or(LogUnit{"s", 1.0}), profile.rate, std::nullopt};
  if (profile.rate) return clock;
  std::string text;
  const std::optional<Stamp> first = first_stamp(files, log.guess, text);
  const bool date = clock.unit.word == kDateUnit;
  if (!first) return clock;
  if (!date && !(static_cast<double>(first->whole) / clock.unit.factor > kLongClock)) {
    return clock;
  }
  clock.origin = first;
  log.origin = text;
  return clock;
}

static Conversion conversion_of(const ImportProfile& profile) {
  Conversion conversion;
  conversion.acc = conversion.gravity = profile.acc->factor;
  conversion.gyro = profile.gyro->factor;
  conversion.acc_axes = profile.acc_axes.value_or(AxisMap());
  conversion.gyro_axes = profile.gyro_axes.value_or(AxisMap());
  conversion.axes = profile.axes.value_or(AxisMap());
  conversion.joining = profile.joining.value_or(Joining::kInterpolated);
  return conversion;
}

// Of so many rows, so many have to be of use.
static void require_rows(size_t used, size_t rows, const ImportErrorFacts& first) {
  const double share =
      rows == 0 ? 0.0 : static_cast<double>(used) / static_cast<double>(rows);
  if (used > 0 && share >= kFewestUsed) return;
  ImportErrorFacts facts = first;
  facts.fault = used == 0 ? ImportFault::kNoRows : ImportFault::kFewRows;
  facts.figure = share;
  throw ImportError(facts);
}

// Stamps may be anything, and samples between them cost memory.
static void require_density(const std::vector<RecordedSample>& samples, int rate) {
  const auto [first, last] = std::minmax_element(
      samples.begin(), samples.end(),
      [](const RecordedSample& a, const RecordedSample& b) { return a.t < b.t; });
  const double made = (last->t - first->t) * rate;
  if (made < kMostMade + kMostMadeOfEach * static_cast<double>(samples.size())) return;
  ImportErrorFacts facts = {ImportFault::kTooSparse};
  facts.figure = made;
  throw ImportError(facts);
}

ImportedLog import_log(const std::vector<LogFile>& files, const ImportProfile& given,
                       std::optional<int> rate) {
  ImportedLog log;
  log.guess = guess_profile(files, given);
  LogReadings readings = collect_readings(files, log.guess.tables, clock_of(files, log),
                                          std::numeric_limits<size_t>::max());
  size_t dropped = 0;
  for (const DroppedRows& rows : readings.dropped) dropped += rows.count;
  const ImportErrorFacts first = {ImportFault::kNoRows, readings.first_file,
                                  readings.first_line, readings.first_text};
  require_rows(readings.rows - dropped, readings.rows, first);
  log.rows = readings.rows;
  for (size_t i = 0; i < kDroppedRows; ++i) log.dropped[i] = readings.dropped[i];
  log.acc_readings = readings.acc.size();
  log.gyro_readings = readings.gyro.size();
  JoinedReadings joined =
      join_readings(std::move(readings), conversion_of(log.guess.profile));
  if (joined.joined && joined.samples.empty()) {
    throw ImportError({ImportFault::kNoOverlap});
  }
  if (!joined.joined) require_rows(joined.samples.size(), log.rows, first);
  log.joined = joined.joined;
  log.out_of_order = joined.out_of_order;
  log.dropped[static_cast<size_t>(DroppedRow::kNoPartner)].count = joined.alone;
  log.samples = std::move(joined.samples);
  if (rate) {
    require_density(log.samples, *rate);
    log.samples = resample(log.samples, *rate);
    log.resampled = rate;
  }
  return log;
}

}  // namespace wgr
