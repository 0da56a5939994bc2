#include "diagnosis/diagnosis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "diagnosis/agreement.h"
#include "diagnosis/measures.h"
#include "engine/rest.h"
#include "recording/clock.h"
#include "table.h"

// ---- what counts as a fault ----------------------------------------------------------

static constexpr double kStandardGravity = 9.80665;  // m/s²
static constexpr double kLeastSeconds = 3.0;         // that rest can be judged from
static constexpr double kMostSilence = 1.0;  // s; a longer step is no step in seconds
static constexpr double kRateTolerance = 0.02;
static constexpr double kMostJitter = 0.15;    // of a period, standard deviation
static constexpr double kGapPeriods = 1.75;    // as the clock counts gaps
static constexpr double kManyRepeats = 0.2;    // of all steps
static constexpr double kMostBias = 1.5;       // deg/s
static constexpr double kMostAccNoise = 0.15;  // m/s², an axis; rest ends at 0.27
static constexpr double kMostGyroNoise = 2.5;  // deg/s, an axis; rest ends at 6
static constexpr double kLeastRest = 0.1;      // of the samples
static constexpr double kMostMotion = 60.0;    // s
static constexpr double kMostHeld = 0.1;       // of the samples
static constexpr double kWindowSeconds = 0.2;
static constexpr size_t kFewestInWindow = 5;

// The band in which the accelerometer can report rest: the roots of 98 and 110.
static constexpr double kLeastGravity = 9.8995;
static constexpr double kMostGravity = 10.4881;
static constexpr double kRestSpread = 0.22;  // (m/s²)², as the rest test's

// An accelerometer that shows gravity shows it within this share.
static constexpr double kGravityTolerance = 0.25;

// Turns of gravity from one steady moment to the next.
static constexpr double kSteadySpread = 0.3;      // (m/s²)²
static constexpr double kSteadyTolerance = 0.04;  // of gravity's length
static constexpr double kLeastTurn = 20.0;        // deg
static constexpr double kLongestTurn = 3.0;       // s
static constexpr size_t kMostTurnSamples = 6000;
static constexpr size_t kFewestTurns = 2;
static constexpr double kAgreement = 10.0;  // deg, of a prediction
static constexpr double kExplained = 15.0;  // deg, of a repaired one
static constexpr double kMuchBetter = 0.5;  // of the error as it is

using Axis = double Point3Df::*;
static constexpr std::array<std::pair<Axis, const char*>, 3> kAxes = {
    {{&Point3Df::x, "x"}, {&Point3Df::y, "y"}, {&Point3Df::z, "z"}}};

const char* sureness_name(Sureness sureness) {
  static constexpr const char* kNames[] = {"possible", "likely", "certain"};
  return kNames[static_cast<size_t>(sureness)];
}

namespace {

class Doctor {
 public:
  Doctor(const std::vector<RecordedSample>& samples, const DiagnosisOptions& options);
  Diagnosis examine();

 private:
  void find(const std::string& id, Sureness sure, const std::string& what,
            const std::string& remedy, const std::string& call = "") {
    result_.findings.push_back({id, sure, what, remedy, call});
  }

  void examine_stamps();
  void examine_steps();
  void examine_values();
  void examine_clipping();
  void examine_acceleration();
  void examine_turns();
  void examine_bias();
  void examine_noise();
  void examine_zeros();
  void examine_rest();

  void look_again();
  std::vector<double> quiet_lengths(const std::vector<Window>& windows) const;
  std::vector<Turn> find_turns(const Point3Df& bias) const;
  void tell_axes(const Agreement& agreement);
  bool absent(char letter) const {
    return options_.absent_axes.find(letter) != std::string::npos;
  }

  const DiagnosisOptions& options_;
  std::vector<double> times_;  // s
  Samples acc_;                // m/s², once its unit is known
  Samples gyro_;               // deg/s, likewise
  double period_ = 0.02;       // s; this where the stamps give none
  std::vector<Window> acc_windows_;
  std::vector<Window> gyro_windows_;
  std::vector<size_t> quiet_;
  std::optional<double> gravity_;  // as long as the accelerometer shows it
  Diagnosis result_;
};

}  // namespace

Doctor::Doctor(const std::vector<RecordedSample>& samples,
               const DiagnosisOptions& options)
    : options_(options) {
  for (const RecordedSample& sample : samples) {
    times_.push_back(sample.t);
    acc_.push_back(sample.acc);
    gyro_.push_back(sample.gyro);
  }
}

// ---- the clock -----------------------------------------------------------------------

// Brings stamps in ms, µs or ns to seconds.
void Doctor::examine_stamps() {
  std::vector<double> steps;
  for (size_t i = 1; i < times_.size(); ++i) {
    if (times_[i] > times_[i - 1]) steps.push_back(times_[i] - times_[i - 1]);
  }
  if (steps.empty()) {
    find("stamps", Sureness::kCertain, "the time stamps never go forward",
         "stamp each sample with the time it was taken at, in seconds",
         "--rate HZ tells the other tools what the stamps do not");
    return;
  }
  const double step = median(steps);
  if (step < kMostSilence) return;
  static constexpr struct {
    double most;  // of a step
    double scale;
    const char* name;
  } kUnits[] = {{1e3, 1e-3, "milliseconds"},
                {1e6, 1e-6, "microseconds"},
                {HUGE_VAL, 1e-9, "nanoseconds"}};
  for (const auto& unit : kUnits) {
    if (step >= unit.most) continue;
    find("stamps-unit", Sureness::kLikely,
         "from stamp to stamp it is " + fixed(step, 0) + " s: they are in " + unit.name,
         "write the time in seconds");
    for (double& t : times_) t *= unit.scale;
    return;
  }
}

void Doctor::examine_steps() {
  StreamFacts& facts = result_.facts;
  std::vector<double> steps;
  for (size_t i = 1; i < times_.size(); ++i) steps.push_back(times_[i] - times_[i - 1]);
  const std::optional<double> rate = mean_rate(steps);
  if (!rate) return;
  period_ = 1.0 / *rate;

  size_t repeats = 0;
  double forward = 0.0;
  double squares = 0.0;
  size_t regular = 0;
  std::array<double, 2> first = {-1.0, -1.0};  // a repeat, a step back
  for (size_t i = 0; i < steps.size(); ++i) {
    if (steps[i] == 0.0 && first[0] < 0.0) first[0] = times_[i];
    if (steps[i] < 0.0 && first[1] < 0.0) first[1] = times_[i];
    if (steps[i] == 0.0) ++repeats;
    if (steps[i] <= 0.0 || steps[i] * *rate > kGapPeriods) continue;
    forward += steps[i];
    squares += (steps[i] - period_) * (steps[i] - period_);
    ++regular;
  }
  Clock clock(std::max(1, static_cast<int>(std::lround(*rate))));
  for (const double t : times_) clock.add(t);
  // Samples in a wrong order leave no gap once they are sorted.
  std::vector<double> sorted = times_;
  std::sort(sorted.begin(), sorted.end());
  size_t gaps = 0;
  double longest_gap = 0.0;
  double first_gap = 0.0;
  for (size_t i = 1; i < sorted.size(); ++i) {
    const double step = sorted[i] - sorted[i - 1];
    if (!(step * *rate > kGapPeriods)) continue;
    if (gaps++ == 0) first_gap = sorted[i - 1];
    longest_gap = std::max(longest_gap, step);
  }
  const double count = static_cast<double>(steps.size());
  // Samples that come in bunches share a stamp: the rate is that of the samples.
  if (static_cast<double>(repeats) > kManyRepeats * count && forward > 0.0) {
    period_ = forward / static_cast<double>(regular + repeats);
  }
  facts.rate = 1.0 / period_;
  if (regular > 0) {
    facts.jitter = std::sqrt(squares / static_cast<double>(regular)) * *rate;
  }

  const std::string right = std::to_string(std::lround(*facts.rate));
  if (options_.rate && std::fabs(*options_.rate / *facts.rate - 1.0) > kRateTolerance) {
    find("rate", Sureness::kCertain,
         "samples come at " + fixed(*facts.rate, 2) + " a second, not at the " +
             std::to_string(*options_.rate) + " that the library is told",
         "pass the true rate: speeds, lengths and turns all follow from it",
         "init_gesture_handle(h, " + right + ", ...); --rate " + right);
  } else if (std::fabs(std::round(*facts.rate) / *facts.rate - 1.0) > kRateTolerance) {
    find("rate", Sureness::kCertain,
         "samples come at " + fixed(*facts.rate, 2) +
             " a second, which no whole number is near",
         "resample, or ask the sensor for a rate of whole samples",
         "init_gesture_handle() takes whole samples per second");
  }
  if (facts.jitter > kMostJitter) {
    find("jitter", Sureness::kCertain,
         "the time from sample to sample varies by " + fixed(100.0 * facts.jitter, 0) +
             " % of its mean (standard deviation)",
         "stamp the samples where they are taken, or resample them to an even rate: the "
         "library takes every step for the same time");
  }
  const auto at = [](double t) { return ", the first at " + fixed(t, 3) + " s"; };
  if (gaps > 0) {
    find(
        "gap", Sureness::kCertain,
        std::to_string(gaps) + " gaps in the samples, the longest of " +
            fixed(longest_gap, 3) + " s" + at(first_gap),
        "find where samples are lost; fill short gaps in before update_gesture(), or the "
        "motion around them is compared too short");
  }
  if (clock.repeats() > 0) {
    find("repeated", Sureness::kCertain,
         std::to_string(clock.repeats()) + " stamps repeat the one before" + at(first[0]),
         "drop samples that were delivered twice; give bunches stamps of their own");
  }
  if (clock.backward() > 0) {
    find("order", Sureness::kCertain,
         std::to_string(clock.backward()) + " stamps lie before the one they follow" +
             at(first[1]),
         "sort the samples by time before update_gesture()");
  }
}

// ---- values, whatever their unit -----------------------------------------------------

void Doctor::examine_values() {
  if (!options_.absent_axes.empty()) {
    find("absent", Sureness::kCertain,
         "the axes " + options_.absent_axes +
             " have no value in some samples; they read "
             "as 0",
         "the library needs all three axes of both sensors");
  }
  const struct {
    Samples& samples;
    const char* name;
    const char* letter;
  } sensors[] = {{acc_, "accelerometer", "a"}, {gyro_, "gyroscope", "g"}};
  for (const auto& sensor : sensors) {
    std::string stuck;
    for (const auto& [axis, name] : kAxes) {
      if (!is_stuck(sensor.samples, axis)) continue;
      const std::string full = std::string(sensor.letter) + name;
      if (options_.absent_axes.find(full) != std::string::npos) continue;
      stuck += (stuck.empty() ? "" : ", ") + full;
    }
    if (!stuck.empty()) {
      find("stuck", Sureness::kCertain, stuck + " never changes",
           std::string("look at the driver of the ") + sensor.name +
               ": is the axis switched on, is the field filled in?");
      continue;
    }
    const double held = held_share(sensor.samples);
    if (held > kMostHeld) {
      find("held", Sureness::kLikely,
           std::string("the ") + sensor.name + " repeats its last value in " +
               fixed(100.0 * held, 0) + " % of the samples",
           "it is read more often than it measures: pass pairs at the slower sensor's "
           "rate, or raise its own");
    }
  }
}

void Doctor::examine_clipping() {
  static constexpr double kAccRanges[] = {2, 4, 8, 16};                 // g
  static constexpr double kGyroRanges[] = {125, 250, 500, 1000, 2000};  // deg/s
  const auto tell = [this](const Samples& samples, char letter, double unit,
                           const auto& ranges, const char* unit_name) {
    std::string axes;
    size_t count = 0;
    double limit = 0.0;
    for (const auto& [axis, name] : kAxes) {
      const Clipping clipping = clipping_of(samples, axis);
      if (clipping.samples == 0) continue;
      axes += (axes.empty() ? "" : ", ") + std::string(1, letter) + name;
      count += clipping.samples;
      limit = std::max(limit, std::fabs(clipping.limit) / unit);
    }
    if (count == 0) return;
    const bool known =
        std::any_of(std::begin(ranges), std::end(ranges),
                    [&](double range) { return std::fabs(limit / range - 1.0) < 0.03; });
    find(letter == 'a' ? "acc-clipping" : "gyro-clipping",
         known ? Sureness::kCertain : Sureness::kLikely,
         axes + ": " + std::to_string(count) +
             " samples stand at the end of the range, " + fixed(limit, 2) + " " +
             unit_name,
         "set the sensor to a wider range; what is cut off is lost to the comparison");
  };
  tell(acc_, 'a', kStandardGravity, kAccRanges, "g");
  tell(gyro_, 'g', 1.0, kGyroRanges, "deg/s");
}

void Doctor::look_again() {
  const size_t length = std::max(
      kFewestInWindow, static_cast<size_t>(std::lround(kWindowSeconds / period_)));
  acc_windows_ = windows_of(acc_, length);
  gyro_windows_ = windows_of(gyro_, length);
  quiet_ = quiet_windows(acc_windows_, gyro_windows_);
}

std::vector<double> Doctor::quiet_lengths(const std::vector<Window>& windows) const {
  std::vector<double> lengths;
  for (const size_t i : quiet_) {
    lengths.push_back(std::sqrt(squared_length(windows[i].mean)));
  }
  return lengths;
}

// ---- the accelerometer ---------------------------------------------------------------

namespace {

struct AccUnit {
  double gravity;  // of how many
  double scale;    // to m/s²
  const char* name;
};

}  // namespace

static constexpr AccUnit kAccUnits[] = {
    {kStandardGravity, 1.0, "m/s²"},
    {1.0, kStandardGravity, "g"},
    {1000.0, kStandardGravity / 1000.0, "thousandths of g"}};

static const AccUnit* unit_of(const std::vector<double>& lengths) {
  const double usual = median(lengths);
  const double spread = percentile(lengths, 0.9) - percentile(lengths, 0.1);
  for (const AccUnit& unit : kAccUnits) {
    if (std::fabs(usual / unit.gravity - 1.0) < kGravityTolerance &&
        spread < 2.0 * kGravityTolerance * usual) {
      return &unit;
    }
  }
  return nullptr;
}

static void scale(Samples& samples, double factor) {
  for (Point3Df& p : samples) p = factor * p;
}

// Finds which sensor shows gravity, and in which unit.
void Doctor::examine_acceleration() {
  look_again();
  if (quiet_.empty()) return;
  const AccUnit* unit = unit_of(quiet_lengths(acc_windows_));
  if (unit == nullptr) {
    const std::vector<double> lengths = quiet_lengths(gyro_windows_);
    const AccUnit* const other = unit_of(lengths);
    const double spread = percentile(lengths, 0.9) - percentile(lengths, 0.1);
    if (other != nullptr && spread < 0.1 * median(lengths)) {
      find("swapped-sensors", Sureness::kLikely,
           "the gyroscope's axes show gravity (" + fixed(median(lengths), 2) +
               " long whenever it is quiet), the accelerometer's do not",
           "pass the accelerometer first and the gyroscope second",
           "update_gesture(h, acc, gyro)");
      acc_.swap(gyro_);
      look_again();
      unit = unit_of(quiet_lengths(acc_windows_));
    }
  }
  const double usual = median(quiet_lengths(acc_windows_));
  if (unit == nullptr) {
    // A clip cut out of a motion shows no rest, and so no gravity.
    if (result_.facts.seconds < kLeastSeconds) return;
    find(
        "no-gravity",
        usual < 0.5 * kStandardGravity ? Sureness::kLikely : Sureness::kPossible,
        "at its quietest the acceleration is " + fixed(usual, 2) +
            " long, which is gravity in no unit",
        "pass the accelerometer's samples with gravity in them, not linear acceleration, "
        "in m/s²; the rest test and the trace need gravity");
    return;
  }
  if (unit->scale != 1.0) {
    find("acc-unit", Sureness::kCertain,
         "at rest the acceleration is " + fixed(usual, 3) + " long: it is in " +
             unit->name + ", not in m/s²",
         "multiply it by " + fixed(unit->scale, unit->scale < 1.0 ? 8 : 5));
    scale(acc_, unit->scale);
    look_again();
  }
  gravity_ = median(quiet_lengths(acc_windows_));
  result_.facts.gravity = gravity_;
}

// ---- the two sensors together --------------------------------------------------------

std::vector<Turn> Doctor::find_turns(const Point3Df& bias) const {
  std::vector<const Window*> steady;
  for (const Window& window : acc_windows_) {
    const double length = std::sqrt(squared_length(window.mean));
    if (window.spread < kSteadySpread &&
        std::fabs(length / *gravity_ - 1.0) < kSteadyTolerance) {
      steady.push_back(&window);
    }
  }
  const double least_cosine = std::cos(kLeastTurn / kDegreesPerRadian);
  const auto cosine = [](const Point3Df& a, const Point3Df& b) {
    return (a.x * b.x + a.y * b.y + a.z * b.z) /
           std::sqrt(squared_length(a) * squared_length(b));
  };

  std::vector<Turn> turns;
  size_t used = 0;
  for (size_t i = 0; i < steady.size() && used < kMostTurnSamples; ++i) {
    // The moment before which gravity turned most.
    size_t best = i;
    double most = least_cosine;
    const size_t from = (steady[i]->begin + steady[i]->end) / 2;
    for (size_t j = i + 1; j < steady.size(); ++j) {
      const size_t to = (steady[j]->begin + steady[j]->end) / 2;
      if (static_cast<double>(to - from) * period_ > kLongestTurn) break;
      const double turned = cosine(steady[i]->mean, steady[j]->mean);
      if (turned < most) {
        most = turned;
        best = j;
      }
    }
    if (best == i) continue;
    Turn turn;
    turn.before = steady[i]->mean;
    turn.after = steady[best]->mean;
    const size_t to = (steady[best]->begin + steady[best]->end) / 2;
    bool whole = true;
    for (size_t k = from; k < to; ++k) {
      const double step = times_[k + 1] - times_[k];
      whole = whole && !(step > 3.0 * period_);
      turn.rates.push_back(0.5 * (gyro_[k] + gyro_[k + 1]) - bias);
      turn.steps.push_back(step > 0.0 ? step : period_);
    }
    if (whole) {
      used += turn.rates.size();
      turns.push_back(std::move(turn));
    }
    i = best - 1;
  }
  return turns;
}

void Doctor::tell_axes(const Agreement& agreement) {
  const AxisMap& gyro = agreement.gyro;
  const std::string of_gyro = "the gyroscope's axes are taken as " + as_text(gyro, 'g');
  const std::string numbers = "gravity turns as the gyroscope says (to " +
                              fixed(agreement.best_error, 1) + " instead of " +
                              fixed(agreement.error, 1) + " degrees, in " +
                              std::to_string(agreement.turns) + " turns)";
  std::string what = numbers + " only when " + of_gyro;
  std::string remedy = "pass the gyroscope as " + as_text(gyro, 'g');
  if (determinant(gyro) == 1) {
    const AxisMap acc = inverse(gyro);
    const AxisMap other = negated(acc);
    const AxisMap& simpler = changes(other) < changes(acc) ? other : acc;
    const std::string of_acc = "the accelerometer's as " + as_text(simpler, 'a');
    if (changes(simpler) < changes(gyro)) {
      what = numbers + " only when the accelerometer's axes are taken as " +
             as_text(simpler, 'a') + ", or " + of_gyro;
      remedy = "pass the accelerometer as " + as_text(simpler, 'a');
    } else {
      what += ", or " + of_acc;
    }
  }
  find("axes", agreement.alone ? Sureness::kCertain : Sureness::kLikely, what,
       remedy + ": an axis that moved is swapped, one with a minus sign flipped",
       "update_gesture(h, acc, gyro)");
}

// Compares gravity's turns with the gyroscope's and repairs the latter.
void Doctor::examine_turns() {
  if (!gravity_ || result_.facts.seconds < kLeastSeconds) return;
  // A first idea of the bias; in a stream that never rests there is none.
  Point3Df bias = {0.0, 0.0, 0.0};
  std::vector<double> along[3];
  for (const size_t i : quiet_) {
    for (size_t a = 0; a < 3; ++a)
      along[a].push_back(gyro_windows_[i].mean.*kAxes[a].first);
  }
  double everywhere = 0.0;
  std::vector<double> lengths;
  for (const Window& window : gyro_windows_) {
    lengths.push_back(std::sqrt(squared_length(window.mean)));
  }
  everywhere = percentile(lengths, 0.95);
  bool settled = true;
  for (size_t a = 0; a < 3; ++a) {
    bias.*kAxes[a].first = median(along[a]);
    const double spread = percentile(along[a], 0.75) - percentile(along[a], 0.25);
    settled = settled && spread < 0.05 * everywhere;
  }
  if (!settled) bias = {0.0, 0.0, 0.0};

  const std::vector<Turn> turns = find_turns(bias);
  StreamFacts& facts = result_.facts;
  facts.turns = turns.size();
  if (turns.size() < kFewestTurns) {
    // What a wrist does is tens to hundreds of deg/s, and a few rad/s.
    const double fastest = percentile(lengths, 0.99);
    std::vector<double> pushes;
    for (const Window& window : acc_windows_) pushes.push_back(window.spread);
    if (percentile(pushes, 0.95) > 4.0 && fastest < 12.0 && fastest > 0.3) {
      find("gyro-unit", Sureness::kPossible,
           "while the wrist is shaken it turns by no more than " + fixed(fastest, 1) +
               ": that may be rad/s",
           "multiply the rates by 57.29578 if they are in rad/s");
    }
    return;
  }
  const Agreement agreement = compare_sensors(turns);
  facts.turn_error = agreement.error;
  if (agreement.error <= kAgreement) return;
  if (agreement.best_error > kExplained ||
      agreement.best_error > kMuchBetter * agreement.error) {
    return;
  }
  facts.turn_error = agreement.best_error;
  if (agreement.factor == kDegreesPerRadian) {
    find("gyro-unit",
         agreement.turns > kFewestTurns ? Sureness::kCertain : Sureness::kLikely,
         "gravity turns by " + fixed(agreement.angle, 0) +
             " degrees where the gyroscope says next to nothing, and as it says (to " +
             fixed(agreement.best_error, 1) + " degrees) when its rates are rad/s",
         "multiply the rates by 57.29578: the library wants deg/s");
    scale(gyro_, kDegreesPerRadian);
  } else if (agreement.factor != 1.0) {
    find("turn-scale", Sureness::kLikely,
         "gravity turns " + fixed(agreement.factor, 2) +
             " times as far as rates and stamps say",
         "see whether the stamps are true, and whether the gyroscope's range is the one "
         "that its values are scaled for");
  }
  if (!is_identity(agreement.gyro)) {
    tell_axes(agreement);
    for (Point3Df& p : gyro_) p = mapped(agreement.gyro, p);
  }
  look_again();
}

// ---- the gyroscope at rest -----------------------------------------------------------

static std::string as_text(const Point3Df& p) {
  return fixed(p.x, 2) + "," + fixed(p.y, 2) + "," + fixed(p.z, 2);
}

void Doctor::examine_bias() {
  Point3Df bias = {0.0, 0.0, 0.0};
  for (const auto& [axis, name] : kAxes) {
    std::vector<double> means;
    for (const size_t i : quiet_) {
      if (gyro_at_rest({0.0, gyro_windows_[i].spread})) {
        means.push_back(gyro_windows_[i].mean.*axis);
      }
    }
    // Moments of rest agree; of a hand that turns slowly they do not.
    const double spread = percentile(means, 0.75) - percentile(means, 0.25);
    if (means.size() < 3 || spread > 1.0) return;
    bias.*axis = median(means);
  }
  result_.facts.bias = bias;
  const Point3Df left = bias - options_.gyro_bias;
  if (!(squared_length(left) > kMostBias * kMostBias)) return;
  find("bias", Sureness::kCertain,
       "at rest the gyroscope shows " + as_text(left) + " deg/s that are not taken off",
       "pass the bias; a second of it turns a motion by as many degrees",
       "init_gesture_handle(h, rate, (Point3Df){" + as_text(bias) +
           "}, ...); --bias=" + as_text(bias));
}

void Doctor::examine_noise() {
  StreamFacts& facts = result_.facts;
  facts.acc_noise = std::sqrt(noise_variance(acc_, acc_windows_, quiet_) / 3.0);
  facts.gyro_noise = std::sqrt(noise_variance(gyro_, gyro_windows_, quiet_) / 3.0);
  if (facts.acc_noise > kMostAccNoise) {
    find("acc-noise", Sureness::kLikely,
         "at its quietest the accelerometer's axes vary by " + fixed(facts.acc_noise, 2) +
             " m/s²",
         "switch the sensor's low-pass filter on: from about 0.27 on it never reports "
         "rest");
  }
  if (facts.gyro_noise > kMostGyroNoise) {
    find("gyro-noise", Sureness::kLikely,
         "at its quietest the gyroscope's axes vary by " + fixed(facts.gyro_noise, 1) +
             " deg/s",
         "switch the sensor's low-pass filter on: from about 6 on it never reports rest");
  }
}

void Doctor::examine_zeros() {
  if (absent('g')) return;
  size_t count = 0;
  std::optional<double> first;
  for (size_t i = 0; i < gyro_.size(); ++i) {
    if (squared_length(gyro_[i] - options_.gyro_bias) != 0.0) continue;
    ++count;
    if (!first) first = times_[i];
  }
  if (count == 0 || count == gyro_.size()) return;
  find(
      "zero-rate", Sureness::kCertain,
      std::to_string(count) +
          " samples have a rate of exactly zero on all axes, the first "
          "at " +
          fixed(*first, 3) + " s",
      "one at the start of a motion makes the whole motion not-a-number, and no gesture: "
      "pass a bias that no sample equals",
      "init_gesture_handle(h, rate, (Point3Df){1e-6, 0, 0}, ...); --bias=1e-6,0,0");
}

// ---- rest ----------------------------------------------------------------------------

void Doctor::examine_rest() {
  StreamFacts& facts = result_.facts;
  // As long as the library's by its default, at the rate that it is told.
  const long rate = options_.rate.value_or(static_cast<int>(std::lround(1.0 / period_)));
  const size_t window = static_cast<size_t>(std::max(1L, rate / 5));
  for (Point3Df& p : gyro_) p = p - options_.gyro_bias;
  size_t resting = 0;
  size_t acc_resting = 0;
  size_t gyro_resting = 0;
  size_t moving_for = 0;
  size_t longest = 0;
  for (size_t end = window; end <= acc_.size(); ++end) {
    const bool acc = acc_at_rest(window_stats(acc_, end - window, end));
    const bool gyro = gyro_at_rest(window_stats(gyro_, end - window, end));
    acc_resting += acc ? 1 : 0;
    gyro_resting += gyro ? 1 : 0;
    resting += acc || gyro ? 1 : 0;
    moving_for = acc || gyro ? 0 : moving_for + 1;
    longest = std::max(longest, moving_for);
  }
  const double all = static_cast<double>(acc_.size() - std::min(acc_.size(), window) + 1);
  facts.rest_share = static_cast<double>(resting) / all;
  facts.acc_rest_share = static_cast<double>(acc_resting) / all;
  facts.gyro_rest_share = static_cast<double>(gyro_resting) / all;
  facts.longest_motion = static_cast<double>(longest) * period_;

  std::vector<double> spreads;
  for (const size_t i : quiet_) spreads.push_back(acc_windows_[i].spread);
  const bool rested = facts.seconds >= kLeastSeconds && median(spreads) < kRestSpread;
  if (gravity_ && rested && !(*gravity_ > kLeastGravity && *gravity_ < kMostGravity)) {
    const double gain = 10.1 / *gravity_;
    find(
        "gravity-band", Sureness::kCertain,
        "at its quietest the acceleration is " + fixed(*gravity_, 2) +
            " m/s² long, outside 9.90 to 10.49: the accelerometer can hardly report rest "
            "and the gyroscope must decide alone",
        "nothing, when the gyroscope rests well; otherwise, and for the accelerometer "
        "alone, multiply the acceleration by about " +
            fixed(gain, 3));
  }
  if (facts.seconds < kLeastSeconds) {
    find("short", Sureness::kCertain,
         "only " + fixed(facts.seconds, 1) +
             " s: rest, bias and axes can hardly be judged",
         "record a minute: lay the watch down for a few seconds, turn it about all axes, "
         "gesture");
  } else if (facts.rest_share < kLeastRest || facts.longest_motion > kMostMotion) {
    find("no-rest", Sureness::kCertain,
         "by the library's rule the wrist rests in " +
             fixed(100.0 * facts.rest_share, 0) +
             " % of the samples; the longest motion lasts " +
             fixed(facts.longest_motion, 1) + " s",
         "a gesture is looked for when a motion ends: mend what keeps the sensors from "
         "resting, or have the hand held still before and after a gesture");
  }
}

Diagnosis Doctor::examine() {
  StreamFacts& facts = result_.facts;
  facts.samples = times_.size();
  if (times_.size() < 2 * kFewestInWindow) {
    find("short", Sureness::kCertain,
         std::to_string(times_.size()) + " samples are too few to say anything",
         "record a minute");
    return result_;
  }
  examine_stamps();
  examine_steps();
  const auto [earliest, latest] = std::minmax_element(times_.begin(), times_.end());
  facts.seconds =
      facts.rate ? *latest - *earliest : static_cast<double>(times_.size()) * period_;
  examine_values();
  examine_acceleration();
  examine_zeros();
  examine_turns();
  examine_clipping();
  if (!quiet_.empty() && facts.seconds >= kLeastSeconds) {
    examine_bias();
    examine_noise();
  }
  examine_rest();
  return result_;
}

Diagnosis diagnose(std::vector<RecordedSample> samples, const DiagnosisOptions& options) {
  return Doctor(samples, options).examine();
}
