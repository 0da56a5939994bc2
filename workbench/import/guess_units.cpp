// What the units and the clock of a log's columns are: by what is given, by titles, and
// by the values.
#include <algorithm>
#include <cmath>

#include "diagnosis/examination.h"
#include "import/guess.h"

namespace wgr {

static constexpr size_t kRowsToTry = 15000;     // of each table, for the gyroscope's unit
static constexpr size_t kStampsToSee = 4000;    // for the unit of time
static constexpr double kLeastStep = 0.0004;    // s, of a sensor
static constexpr double kMostStep = 0.35;       // likewise
static constexpr double kUnitTolerance = 0.25;  // of gravity's length
static constexpr double kRawTolerance = 0.12;   // likewise, in counts
static constexpr double kMostTurnError = 15.0;  // deg
static constexpr double kLeastTurnRate = 5.0;   // deg/s, of the fastest turns
static constexpr double kMostTurnRate = 4000.0;
static constexpr double kMostRadians = 12.0;  // rad/s, of a wrist

bool has_stamps(const LogFile& file, const TablePlan& table, size_t column, bool date) {
  const std::vector<Stamp> stamps = stamps_of(file, table, column, date, kStampsToSee);
  return stamps.size() > 1 && between(stamps.front(), stamps.back()) > 0.0;
}

std::optional<LogUnit> gravity_unit(const Lengths& lengths) {
  const double usual = lengths.at(0.5);
  for (const auto& [word, gravity] : {std::pair("m/s2", kStandardGravity),
                                      std::pair("g", 1.0), std::pair("mg", 1000.0)}) {
    if (std::fabs(usual / gravity - 1.0) < kUnitTolerance) {
      return unit_from(Quantity::kAcc, word);
    }
  }
  for (const int counts : {2048, 4096, 8192, 16384}) {
    if (lengths.whole && std::fabs(usual / counts - 1.0) < kRawTolerance) {
      return unit_from(Quantity::kAcc, "raw:" + std::to_string(counts));
    }
  }
  return std::nullopt;
}

// Steps that are mostly zero are of stamps coarser than the samples: then their mean.
static double usual_step(const std::vector<Stamp>& stamps) {
  std::vector<double> forward;
  for (size_t i = 1; i < stamps.size(); ++i) {
    const double step = between(stamps[i - 1], stamps[i]);
    if (step > 0.0) forward.push_back(step);
  }
  if (forward.size() * 2 >= stamps.size()) return median(std::move(forward));
  return between(stamps.front(), stamps.back()) / static_cast<double>(stamps.size() - 1);
}

static bool is_counter(const std::vector<Stamp>& stamps) {
  for (size_t i = 1; i < stamps.size(); ++i) {
    if (between(stamps[i - 1], stamps[i]) != 1.0) return false;
  }
  return true;
}

void Guess::guess_time_unit(const TablePlan& table, const std::vector<Stamp>& stamps) {
  const std::string& title = table.titles[table.columns.at(LogColumn::kTime)];
  const double step = usual_step(stamps);
  const auto fits = [&](const LogUnit& unit) {
    return step / unit.factor >= kLeastStep && step / unit.factor <= kMostStep;
  };
  const auto by_title = unit_from(Quantity::kTime, meaning_of(title).unit);
  if (by_title && by_title->word != kDateUnit && fits(*by_title)) {
    result_.profile.time = by_title;
    return add(LogPart::kTimeUnit, by_title->word, Sureness::kCertain, Evidence::kTitle,
               step / by_title->factor);
  }
  if (!by_title && is_counter(stamps)) refuse(ImportFault::kTimeUnit, title, step);
  for (const char* const word : {"s", "ms", "us", "ns"}) {
    const auto unit = unit_from(Quantity::kTime, word);
    if (!fits(*unit)) continue;
    result_.profile.time = unit;
    return add(LogPart::kTimeUnit, word, Sureness::kLikely, Evidence::kStep,
               step / unit->factor);
  }
  refuse(ImportFault::kTimeUnit, title, step);
}

void Guess::guess_clock() {
  if (given_.rate) return;
  const TablePlan& table = result_.tables[0];
  const LogFile& file = files_[table.file];
  const size_t column = table.columns.at(LogColumn::kTime);
  if (given_.time) {
    result_.profile.time = given_.time;
    return add(LogPart::kTimeUnit, given_.time->word, Sureness::kCertain,
               Evidence::kGiven);
  }
  const std::vector<Stamp> stamps = stamps_of(file, table, column, false, kStampsToSee);
  if (stamps.size() > 1) return guess_time_unit(table, stamps);
  if (!has_stamps(file, table, column, true)) {
    refuse(ImportFault::kNoTime, table.titles[column]);
  }
  result_.profile.time = unit_from(Quantity::kTime, kDateUnit);
  add(LogPart::kTimeUnit, kDateUnit, Sureness::kCertain, Evidence::kContent);
}

void Guess::guess_acc_unit() {
  const Source& source = gravity_ ? *gravity_ : *acc_;
  const Lengths lengths = lengths_of(views_[source.view], source);
  const double usual = lengths.at(0.5);
  const auto by_values = gravity_unit(lengths);
  const auto by_title = unit_from(Quantity::kAcc, source.unit);
  std::optional<LogUnit>& unit = result_.profile.acc;
  if (given_.acc) {
    unit = given_.acc;
    add(LogPart::kAccUnit, unit->word, Sureness::kCertain, Evidence::kGiven);
  } else if (by_title) {
    unit = by_title;
    add(LogPart::kAccUnit, unit->word, Sureness::kCertain, Evidence::kTitle);
  } else if (by_values) {
    unit = by_values;
    add(LogPart::kAccUnit, unit->word,
        lengths.whole && unit->word != "mg" ? Sureness::kLikely : Sureness::kCertain,
        Evidence::kGravity, usual);
  } else if (base().acc) {
    unit = base().acc;
    add(LogPart::kAccUnit, unit->word, Sureness::kPossible, Evidence::kProfile);
  } else {
    refuse(ImportFault::kAccUnit, source.title, usual);
  }
  if (usual * unit->factor < kLeastGravity * kStandardGravity) {
    refuse(ImportFault::kNoGravity, source.title, usual * unit->factor);
  }
  add(LogPart::kGravity, gravity_ ? "added" : "in", Sureness::kCertain,
      gravity_ ? source.why : Evidence::kGravity, usual * unit->factor);
}

// The unit with which gravity turns as the gyroscope predicts.
bool Guess::try_gyro_units(const Lengths& lengths) {
  const double fastest = lengths.at(0.99);
  std::vector<std::string> words = {"deg/s", "rad/s", "mdps"};
  if (lengths.whole) {
    for (const char* const counts : {"131", "114.28571", "65.5", "57.142857", "32.8",
                                     "28.571429", "16.4", "14.285714"}) {
      words.push_back("raw:" + std::string(counts));
    }
  }
  const LogClock clock = {result_.profile.time.value_or(LogUnit{"s", 1.0}), given_.rate,
                          Stamp()};
  const LogReadings readings =
      collect_readings(files_, result_.tables, clock, kRowsToTry);
  double least = kMostTurnError;
  size_t turns = 0;
  for (const std::string& word : words) {
    const auto unit = unit_from(Quantity::kGyro, word);
    if (fastest * unit->factor < kLeastTurnRate ||
        fastest * unit->factor > kMostTurnRate) {
      continue;
    }
    Conversion conversion;
    conversion.acc = conversion.gravity = result_.profile.acc->factor;
    conversion.acc_axes = result_.profile.acc_axes.value_or(AxisMap());
    conversion.gyro_axes = given_.gyro_axes.value_or(AxisMap());
    conversion.gyro = unit->factor;
    const Diagnosis diagnosis =
        diagnose(join_readings(readings, conversion).samples, DiagnosisOptions());
    const bool refuted = std::any_of(diagnosis.findings.begin(), diagnosis.findings.end(),
                                     [](const Finding& finding) {
                                       return finding.id == FindingId::kGyroUnit ||
                                              finding.id == FindingId::kTurnScale;
                                     });
    if (refuted || diagnosis.facts.turns < 2 || diagnosis.facts.turn_error >= least) {
      continue;
    }
    least = diagnosis.facts.turn_error;
    turns = diagnosis.facts.turns;
    result_.profile.gyro = unit;
  }
  if (turns == 0) return false;
  add(LogPart::kGyroUnit, result_.profile.gyro->word,
      turns > 2 ? Sureness::kCertain : Sureness::kLikely, Evidence::kTurns, least);
  return true;
}

void Guess::guess_gyro_unit() {
  std::optional<LogUnit>& unit = result_.profile.gyro;
  const auto by_title = unit_from(Quantity::kGyro, gyro_->unit);
  if (given_.gyro || by_title) {
    unit = given_.gyro ? given_.gyro : by_title;
    return add(LogPart::kGyroUnit, unit->word, Sureness::kCertain,
               given_.gyro ? Evidence::kGiven : Evidence::kTitle);
  }
  if (base().gyro) {
    unit = base().gyro;
    return add(LogPart::kGyroUnit, unit->word, Sureness::kLikely, Evidence::kProfile);
  }
  const Lengths lengths = lengths_of(views_[gyro_->view], *gyro_);
  if (try_gyro_units(lengths)) return;
  const double fastest = lengths.at(0.99);
  if (fastest > kMostTurnRate) refuse(ImportFault::kGyroUnit, gyro_->title, fastest);
  unit = unit_from(Quantity::kGyro, fastest < kMostRadians ? "rad/s" : "deg/s");
  add(LogPart::kGyroUnit, unit->word, Sureness::kPossible, Evidence::kRange, fastest);
}

}  // namespace wgr
