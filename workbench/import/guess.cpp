// What a log's columns, units and clock are: by what is given, by titles and names, and
// by the values.
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <limits>

#include "diagnosis/examination.h"
#include "import/import_log.h"
#include "import/log_views.h"
#include "import/readings.h"

namespace wgr {

static constexpr size_t kRowsToTry = 15000;     // of each table, for the gyroscope's unit
static constexpr size_t kStampsToSee = 4000;    // for the unit of time
static constexpr double kLeastStep = 0.0004;    // s, of a sensor
static constexpr double kMostStep = 0.35;       // likewise
static constexpr double kUnitTolerance = 0.25;  // of gravity's length
static constexpr double kRawTolerance = 0.12;   // likewise, in counts
static constexpr double kLeastGravity = 0.4;    // of 1 g: less is none
static constexpr double kNoUnitGravity = 0.6;   // less is none, in g and in m/s²
static constexpr double kMostTurnError = 15.0;  // deg
static constexpr double kLeastTurnRate = 5.0;   // deg/s, of the fastest turns
static constexpr double kMostTurnRate = 4000.0;
static constexpr double kMostRadians = 12.0;  // rad/s, of a wrist
static constexpr int kTotalScore = 6;
static constexpr int kPlainScore = 4;
static constexpr int kWithGravityScore = 3;
static constexpr int kSameTableScore = 1;

namespace {

// What is known so far, and why.
class Guess {
 public:
  Guess(const std::vector<LogFile>& files, const ImportProfile& given)
      : files_(files), given_(given), views_(views_of(files, given)) {}

  LogGuess make();

 private:
  void require_given() const;
  void find_sources();
  void settle_vectors();
  void choose_sources();
  bool lacks_gravity(const Source& source) const;
  int score_of(const Source& source) const;
  const Source* best_gravity() const;
  void choose_profile();
  void take_sign(const NamedProfile& named, Sureness sure, Evidence why);
  std::string name_by_titles(Sureness& sure) const;
  void add_tables();
  void add_table(const Source& source, LogColumn first, const char* word);
  void add_time(TablePlan& table, const LogView& view);
  std::optional<size_t> time_of(const TablePlan& table, const LogView& view) const;
  void guess_clock();
  void guess_time_unit(const TablePlan& table, const std::vector<Stamp>& stamps);
  void guess_acc_unit();
  void guess_gyro_unit();
  bool try_gyro_units(const Lengths& lengths);
  void name_the_rest();
  void complete_columns();
  void add(LogPart part, const std::string& value, Sureness sure, Evidence why,
           double figure = 0.0, const std::string& from = "") {
    result_.parts.push_back({part, value, from, sure, why, figure});
  }
  [[noreturn]] void refuse(ImportFault fault, const std::string& text = "",
                           double figure = 0.0) const {
    ImportErrorFacts facts = {fault, views_.size() == 1 ? *views_[0].name : ""};
    facts.text = text;
    facts.figure = figure;
    facts.others = all_titles(views_);
    throw ImportError(facts);
  }
  const ImportProfile& base() const { return base_->profile; }

  const std::vector<LogFile>& files_;
  const ImportProfile& given_;
  const std::vector<LogView> views_;
  std::vector<Source> sources_;
  std::optional<Source> acc_;
  std::optional<Source> gyro_;
  std::optional<Source> gravity_;
  const NamedProfile* base_ = nullptr;
  LogGuess result_;
};

}  // namespace

static std::optional<LogUnit> gravity_unit(const Lengths& lengths) {
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

// A given column has to be in one table at least.
void Guess::require_given() const {
  for (const auto& [column, title] : given_.columns) {
    const bool found =
        std::any_of(views_.begin(), views_.end(), [&, of = column](const LogView& view) {
          return given_column(view, given_, of).has_value();
        });
    if (!found) refuse(ImportFault::kUnknownColumn, title);
  }
  for (const auto& axes : {given_.axes}) {
    if (axes && determinant(*axes) < 0) {
      refuse(ImportFault::kMirrored, axes_word(*axes));
    }
  }
}

void Guess::find_sources() {
  for (size_t i = 0; i < views_.size(); ++i) {
    const std::vector<Source> found = sources_of(views_, i, given_);
    sources_.insert(sources_.end(), found.begin(), found.end());
  }
  settle_vectors();
  for (const std::string* const name : {&given_.acc_sensor, &given_.gyro_sensor}) {
    const bool there = name->empty() || std::any_of(sources_.begin(), sources_.end(),
                                                    [&](const Source& source) {
                                                      return source.sensor == *name;
                                                    });
    if (!there) refuse(ImportFault::kUnknownSensor, *name);
  }
}

// Sensors without a name: the one that shows gravity is the accelerometer.
void Guess::settle_vectors() {
  std::vector<Source*> vectors;
  bool has_acc = false;
  for (Source& source : sources_) {
    if (source.meaning == Meaning::kVector) vectors.push_back(&source);
    has_acc = has_acc || source.meaning == Meaning::kAcc ||
              source.meaning == Meaning::kTotalAcc;
  }
  if (vectors.empty()) return;
  Source* acc = nullptr;
  if (!has_acc) {
    for (Source* const source : vectors) {
      if (acc == nullptr && gravity_unit(lengths_of(views_[source->view], *source))) {
        acc = source;
      }
    }
    if (acc == nullptr) acc = vectors[0];
    acc->meaning = Meaning::kAcc;
    if (acc->why == Evidence::kTitle) acc->why = Evidence::kGravity;
  }
  for (Source* const source : vectors) {
    if (source == acc) continue;
    source->meaning = Meaning::kGyro;
    if (source->why == Evidence::kTitle) source->why = Evidence::kAssumed;
  }
}

// Whether the accelerations are without gravity by their values.
bool Guess::lacks_gravity(const Source& source) const {
  const Lengths lengths = lengths_of(views_[source.view], source);
  const double usual = lengths.at(0.5);
  const auto unit = given_.acc ? given_.acc : unit_from(Quantity::kAcc, source.unit);
  if (unit && usual * unit->factor < kLeastGravity * kStandardGravity) return true;
  if (!unit && usual < kNoUnitGravity) return true;
  // Where gravity has readings of its own, what does not clearly show it is without.
  return best_gravity() != nullptr && !gravity_unit(lengths);
}

const Source* Guess::best_gravity() const {
  for (const Source& source : sources_) {
    if (source.meaning == Meaning::kGravity) return &source;
  }
  return nullptr;
}

// Above 0 when the accelerations can be used.
int Guess::score_of(const Source& source) const {
  int score = 0;
  switch (source.meaning) {
    case Meaning::kTotalAcc:
      score = kTotalScore;
      break;
    case Meaning::kAcc:
    case Meaning::kLinearAcc:
      score = lacks_gravity(source) ? (best_gravity() == nullptr ? 0 : kWithGravityScore)
                                    : kPlainScore;
      break;
    default:
      return 0;
  }
  if (score == 0) return 0;
  for (const Source& other : sources_) {
    if (other.meaning == Meaning::kGyro && other.view == source.view) {
      score += kSameTableScore;
      break;
    }
  }
  return std::max(1, score + source.rank);
}

void Guess::choose_sources() {
  int best = 0;
  const Source* linear = nullptr;
  for (const Source& source : sources_) {
    const bool is_acc = source.meaning == Meaning::kAcc ||
                        source.meaning == Meaning::kTotalAcc ||
                        source.meaning == Meaning::kLinearAcc;
    if (is_acc && linear == nullptr) linear = &source;
    const int score = score_of(source);
    if (score <= best) continue;
    best = score;
    acc_ = source;
  }
  if (!acc_ && linear == nullptr) refuse(ImportFault::kNoAcc);
  if (!acc_) {
    const double usual = lengths_of(views_[linear->view], *linear).at(0.5);
    const auto unit = unit_from(Quantity::kAcc, linear->unit);
    if (linear->meaning == Meaning::kLinearAcc) {
      refuse(ImportFault::kLinearAcc, linear->title);
    }
    refuse(ImportFault::kNoGravity, linear->title, usual * (unit ? unit->factor : 1.0));
  }
  if (acc_->meaning != Meaning::kTotalAcc && lacks_gravity(*acc_)) {
    gravity_ = *best_gravity();
  }
  best = std::numeric_limits<int>::min();
  for (const Source& source : sources_) {
    if (source.meaning != Meaning::kGyro) continue;
    const int score = source.rank + (source.view == acc_->view ? 2 : 0);
    if (score <= best) continue;
    best = score;
    gyro_ = source;
  }
  if (!gyro_) refuse(ImportFault::kNoGyro);
}

// What a cell of Sensor Logger's Metadata.csv says; empty when there is none.
static std::string metadata(const std::vector<LogFile>& files, const std::string& title) {
  for (const LogFile& file : files) {
    const std::string_view text = table_text(file.bytes);
    const size_t end = text.find('\n');
    if (end == std::string_view::npos || end > kLongestRow) continue;
    std::vector<std::string_view> titles;
    std::vector<std::string_view> cells;
    split_cells(text.substr(0, end), ',', titles);
    split_cells(text.substr(end + 1, text.find('\n', end + 1) - end - 1), ',', cells);
    const auto found = std::find(titles.begin(), titles.end(), title);
    const auto index = static_cast<size_t>(found - titles.begin());
    if (found != titles.end() && index < cells.size()) return std::string(cells[index]);
  }
  return "";
}

static bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// The named profile that titles and names speak for; empty when none does.
std::string Guess::name_by_titles(Sureness& sure) const {
  const LogView& view = views_[acc_->view];
  std::string titles;
  for (const std::string& title : view.format.titles) titles += title + "|";
  sure = Sureness::kCertain;
  if (titles == "t|ax|ay|az|gx|gy|gz|") return "wgr";
  if (contains(titles, "seconds_elapsed")) {
    const std::string platform = metadata(files_, "platform");
    if (!platform.empty()) {
      const bool turned = platform.rfind("ios", 0) == 0 || platform.rfind("iOS", 0) == 0;
      const bool standard = metadata(files_, "standardisation") == "true";
      return turned && !standard ? "sensor-logger-ios" : "sensor-logger";
    }
    // The watch of the other platform alone has gravity in columns of their own.
    const auto unit = gravity_
                          ? gravity_unit(lengths_of(views_[gravity_->view], *gravity_))
                          : std::nullopt;
    sure = gravity_ ? Sureness::kPossible : Sureness::kLikely;
    const bool ios =
        gravity_ && (gravity_->view != acc_->view || (unit && unit->word == "g"));
    return ios ? "sensor-logger-ios" : "sensor-logger";
  }
  // Its titles are in the user's language, but for the units.
  const bool has_units = contains(titles, " (s)|") && contains(titles, " x (m/s^2)|");
  sure = contains(titles, "Time (s)|") ? Sureness::kCertain : Sureness::kLikely;
  if (has_units) return "phyphox";
  sure = Sureness::kLikely;
  if (contains(titles, "accelerometerAccelerationX(G)") ||
      contains(titles, "motionUserAccelerationX(G)")) {
    return "ios";
  }
  if (acc_->sensor.rfind("android.", 0) == 0 || acc_->sensor == "1") return "android";
  sure = Sureness::kPossible;
  if (gravity_ && gravity_->view == acc_->view) {
    const auto unit = gravity_unit(lengths_of(views_[gravity_->view], *gravity_));
    if (unit && unit->word == "g") return "ios";
  }
  return "";
}

void Guess::take_sign(const NamedProfile& named, Sureness sure, Evidence why) {
  const std::optional<AxisMap>& axes = named.profile.acc_axes;
  result_.profile.acc_axes = given_.acc_axes ? given_.acc_axes : axes;
  if (given_.acc_axes) {
    add(LogPart::kAccAxes, axes_word(*given_.acc_axes), Sureness::kCertain,
        Evidence::kGiven);
  } else {
    add(LogPart::kAccAxes, axes_word(axes.value_or(AxisMap())), sure, why);
  }
  for (const auto& [axes_given, part] : {std::pair(given_.gyro_axes, LogPart::kGyroAxes),
                                         std::pair(given_.axes, LogPart::kBothAxes)}) {
    if (!axes_given) continue;
    add(part, axes_word(*axes_given), Sureness::kCertain, Evidence::kGiven);
  }
}

void Guess::choose_profile() {
  if (!given_.name.empty()) {
    base_ = named_profile(given_.name);
    if (base_ == nullptr) {
      ImportErrorFacts facts = {ImportFault::kUnknownProfile};
      facts.text = given_.name;
      for (const NamedProfile& named : named_profiles()) {
        facts.others.emplace_back(named.name);
      }
      throw ImportError(facts);
    }
    add(LogPart::kProfile, given_.name, Sureness::kCertain, Evidence::kGiven);
    return take_sign(*base_, Sureness::kCertain, Evidence::kProfile);
  }
  Sureness sure = Sureness::kPossible;
  const std::string name = name_by_titles(sure);
  base_ = named_profile(name.empty() ? "imu" : name);
  if (name.empty()) return;
  result_.profile.name = name;
  add(LogPart::kProfile, name, sure, Evidence::kTitle);
  take_sign(*base_, sure, Evidence::kProfile);
}

void Guess::add_table(const Source& source, LogColumn first, const char* word) {
  const LogView& view = views_[source.view];
  auto table = std::find_if(result_.tables.begin(), result_.tables.end(),
                            [&](const TablePlan& t) { return t.file == view.file; });
  if (table == result_.tables.end()) {
    TablePlan plan;
    plan.file = view.file;
    plan.separator = view.format.separator;
    plan.decimal_comma = view.format.decimal_comma;
    plan.header_line = view.format.header_line;
    plan.first_line = view.format.first_line;
    plan.titles = view.format.titles;
    result_.tables.push_back(plan);
    table = result_.tables.end() - 1;
    add(LogPart::kTable, std::string(1, view.format.separator), Sureness::kCertain,
        given_.separator ? Evidence::kGiven : Evidence::kContent, 0.0, *view.name);
  }
  const Sureness sure =
      source.why == Evidence::kAssumed || source.why == Evidence::kPosition
          ? Sureness::kPossible
      : source.why == Evidence::kGiven ? Sureness::kCertain
                                       : Sureness::kLikely;
  if (source.sensor_column) {
    std::string TablePlan::*const name =
        first == LogColumn::kAccX    ? &TablePlan::acc_sensor
        : first == LogColumn::kGyroX ? &TablePlan::gyro_sensor
                                     : &TablePlan::gravity_sensor;
    (*table).*name = source.sensor;
    table->columns[LogColumn::kSensor] = *source.sensor_column;
    first = LogColumn::kX;
  }
  add(LogPart::kFile, word, sure, source.why, 0.0,
      source.sensor_column ? source.sensor : *view.name);
  for (size_t i = 0; i < 3; ++i) {
    const auto column = static_cast<LogColumn>(static_cast<size_t>(first) + i);
    if (source.sensor_column && table->columns.count(column) > 0) continue;
    table->columns[column] = source.columns[i];
    const std::string& title = view.format.titles[source.columns[i]];
    add(LogPart::kColumn, column_word(column), sure, source.why, 0.0,
        title.empty() ? std::to_string(source.columns[i] + 1) : title);
  }
}

// Most rows have a stamp there, and not always the same.
static bool has_stamps(const LogFile& file, const TablePlan& table, size_t column,
                       bool date) {
  const std::vector<Stamp> stamps = stamps_of(file, table, column, date, kStampsToSee);
  return stamps.size() > 1 && between(stamps.front(), stamps.back()) > 0.0;
}

std::optional<size_t> Guess::time_of(const TablePlan& table, const LogView& view) const {
  const auto column = given_column(view, given_, LogColumn::kTime);
  if (column) return column;
  std::vector<size_t> candidates = columns_of(view.format.titles, Meaning::kTime);
  if (!view.titled) {
    for (size_t i = 0; i < view.format.titles.size(); ++i) candidates.push_back(i);
  } else {
    // A column without a title before the first of the sensors.
    for (size_t i = 0; i < view.format.titles.size(); ++i) {
      if (view.format.titles[i].empty()) candidates.push_back(i);
    }
  }
  for (const size_t candidate : candidates) {
    const bool taken =
        std::any_of(table.columns.begin(), table.columns.end(),
                    [&](const auto& used) { return used.second == candidate; });
    if (taken) continue;
    const LogFile& file = files_[table.file];
    if (has_stamps(file, table, candidate, false) ||
        has_stamps(file, table, candidate, true)) {
      return candidate;
    }
  }
  return std::nullopt;
}

void Guess::add_time(TablePlan& table, const LogView& view) {
  if (given_.rate) return;
  const std::optional<size_t> column = time_of(table, view);
  if (!column) refuse(ImportFault::kNoTime);
  table.columns[LogColumn::kTime] = *column;
  const std::string& title = view.format.titles[*column];
  const bool given = given_.columns.count(LogColumn::kTime) > 0;
  add(LogPart::kColumn, column_word(LogColumn::kTime),
      given           ? Sureness::kCertain
      : title.empty() ? Sureness::kPossible
                      : Sureness::kLikely,
      given           ? Evidence::kGiven
      : title.empty() ? Evidence::kPosition
                      : Evidence::kTitle,
      0.0, title.empty() ? std::to_string(*column + 1) : title);
}

void Guess::add_tables() {
  add_table(*acc_, LogColumn::kAccX, "acc");
  if (gravity_) add_table(*gravity_, LogColumn::kGravityX, "gravity");
  add_table(*gyro_, LogColumn::kGyroX, "gyro");
  for (TablePlan& table : result_.tables) {
    for (const LogView& view : views_) {
      if (view.file == table.file) add_time(table, view);
    }
  }
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

// Where titles and names show nothing, the units indicate a device.
void Guess::name_the_rest() {
  if (!given_.name.empty() || !result_.profile.name.empty()) return;
  const std::string& acc = result_.profile.acc->word;
  const std::string& gyro = result_.profile.gyro->word;
  const bool nanoseconds = result_.profile.time && result_.profile.time->word == "ns";
  const char* const name = acc == "m/s2" && gyro == "rad/s" && nanoseconds ? "android"
                           : acc == "g" && gyro == "deg/s"                 ? "arduino"
                                                                           : "imu";
  add(LogPart::kProfile, name, Sureness::kPossible, Evidence::kContent);
  take_sign(*named_profile(name), acc == "g" ? Sureness::kPossible : Sureness::kLikely,
            Evidence::kAssumed);
  result_.profile.name = name;
}

// A title that no other column has, not even in other letters; else a number.
static std::string column_name(const TablePlan& table, size_t index) {
  const auto lower = [](std::string text) {
    for (char& c : text) {
      c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
  };
  const std::string title = lower(table.titles[index]);
  const auto same =
      std::count_if(table.titles.begin(), table.titles.end(),
                    [&](const std::string& other) { return lower(other) == title; });
  return title.empty() || same > 1 ? std::to_string(index + 1) : table.titles[index];
}

// So that the same columns are taken again: by title, or by number where there is none.
void Guess::complete_columns() {
  ImportProfile& profile = result_.profile;
  profile.columns = given_.columns;
  const bool one = result_.tables.size() == 1;
  for (const TablePlan& table : result_.tables) {
    for (const auto& [column, index] : table.columns) {
      // Of several tables the same titles belong to different sensors.
      if (!one && column != LogColumn::kTime) continue;
      profile.columns.emplace(column, column_name(table, index));
    }
    for (std::string TablePlan::*const name :
         {&TablePlan::acc_sensor, &TablePlan::gyro_sensor, &TablePlan::gravity_sensor}) {
      if ((table.*name).empty()) continue;
      (name == &TablePlan::acc_sensor    ? profile.acc_sensor
       : name == &TablePlan::gyro_sensor ? profile.gyro_sensor
                                         : profile.gravity_sensor) = table.*name;
    }
  }
  profile.separator = result_.tables[0].separator;
  profile.decimal_comma = result_.tables[0].decimal_comma;
  profile.header = result_.tables[0].header_line > 0;
  profile.rate = given_.rate;
  profile.gyro_axes = given_.gyro_axes;
  profile.axes = given_.axes;
  profile.joining = given_.joining.value_or(Joining::kInterpolated);
}

LogGuess Guess::make() {
  result_.profile.name = given_.name;
  require_given();
  find_sources();
  choose_sources();
  choose_profile();
  add_tables();
  guess_clock();
  guess_acc_unit();
  guess_gyro_unit();
  name_the_rest();
  complete_columns();
  return std::move(result_);
}

LogGuess guess_profile(const std::vector<LogFile>& files, const ImportProfile& given) {
  return Guess(files, given).make();
}

}  // namespace wgr
