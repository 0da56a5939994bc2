// Which columns of a log are which: by what is given, by titles and names, and by the
// values.
#include "import/guess.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

#include "diagnosis/examination.h"

namespace wgr {

static constexpr double kNoUnitGravity = 0.6;  // less is none, in g and in m/s²
static constexpr int kTotalScore = 6;
static constexpr int kPlainScore = 4;
static constexpr int kWithGravityScore = 3;
static constexpr int kSameTableScore = 1;

// A given column has to be in one table at least.
void Guess::require_given() const {
  for (const auto& [column, title] : given_.columns) {
    const bool found =
        std::any_of(views_.begin(), views_.end(), [&, of = column](const LogView& view) {
          return given_column(view, given_, of).has_value();
        });
    if (!found) refuse(ImportFault::kUnknownColumn, title);
  }
  if (given_.axes && determinant(*given_.axes) < 0) {
    refuse(ImportFault::kMirrored, axes_word(*given_.axes));
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
