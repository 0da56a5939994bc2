// What both sensors show together: from one steady moment to the next gravity turns as
// the gyroscope says, or unit, axes or signs are wrong.
#include <cmath>

#include "diagnosis/examination.h"

namespace wgr {

static constexpr double kSteadySpread = 0.3;      // (m/s²)²
static constexpr double kSteadyTolerance = 0.04;  // of gravity's length
static constexpr double kLeastTurn = 20.0;        // deg
static constexpr double kLongestTurn = 3.0;       // s
static constexpr size_t kMostTurnSamples = 6000;
static constexpr size_t kFewestTurns = 2;
static constexpr double kAgreement = 10.0;  // deg, of a prediction
static constexpr double kExplained = 15.0;  // deg, of a repaired one
static constexpr double kMuchBetter = 0.5;  // of the error as it is

std::vector<const Window*> Examination::steady_windows() const {
  std::vector<const Window*> steady;
  for (const Window& window : acc_windows_) {
    const double length = std::sqrt(squared_length(window.mean));
    if (window.spread < kSteadySpread &&
        std::fabs(length / *gravity_ - 1.0) < kSteadyTolerance) {
      steady.push_back(&window);
    }
  }
  return steady;
}

static size_t middle(const Window& window) { return (window.begin + window.end) / 2; }

static double cosine_between(const Point3Df& a, const Point3Df& b) {
  return (a.x * b.x + a.y * b.y + a.z * b.z) /
         std::sqrt(squared_length(a) * squared_length(b));
}

// The moment before which gravity turned most since the moment i; i itself when it hardly
// turned.
static size_t most_turned(const std::vector<const Window*>& steady, size_t i,
                          double period) {
  size_t best = i;
  double most = std::cos(kLeastTurn / kDegreesPerRadian);
  for (size_t j = i + 1; j < steady.size(); ++j) {
    const size_t samples = middle(*steady[j]) - middle(*steady[i]);
    if (static_cast<double>(samples) * period > kLongestTurn) break;
    const double turned = cosine_between(steady[i]->mean, steady[j]->mean);
    if (turned < most) {
      most = turned;
      best = j;
    }
  }
  return best;
}

std::vector<Turn> Examination::find_turns(const Point3Df& bias) const {
  const std::vector<const Window*> steady = steady_windows();
  std::vector<Turn> turns;
  size_t used = 0;
  for (size_t i = 0; i < steady.size() && used < kMostTurnSamples; ++i) {
    const size_t best = most_turned(steady, i, period_);
    if (best == i) continue;
    Turn turn = {steady[i]->mean, steady[best]->mean, {}, {}};
    bool whole = true;
    for (size_t k = middle(*steady[i]); k < middle(*steady[best]); ++k) {
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

void Examination::report_axes(const Agreement& agreement) {
  const std::optional<AxisMap> acc = acc_alternative(agreement.gyro);
  const bool by_acc = acc && changes(*acc) < changes(agreement.gyro);
  Finding& finding =
      find(FindingId::kAxes, agreement.alone ? Sureness::kCertain : Sureness::kLikely);
  finding.agreement = agreement;
  finding.about = by_acc ? as_text(*acc, 'a') : as_text(agreement.gyro, 'g');
  propose(by_acc ? Repair{RepairKind::kAccAxes, 1.0, *acc}
                 : Repair{RepairKind::kGyroAxes, 1.0, agreement.gyro});
}

// A first idea of the bias; in a stream that never rests there is none.
Point3Df Examination::first_bias() const {
  const double everywhere = percentile(lengths_of(gyro_windows_), 0.95);
  Point3Df bias = {0.0, 0.0, 0.0};
  for (const auto& [axis, name] : kAxes) {
    std::vector<double> along;
    for (const size_t i : quiet_) along.push_back(gyro_windows_[i].mean.*axis);
    bias.*axis = median(along);
    const double spread = percentile(along, 0.75) - percentile(along, 0.25);
    if (!(spread < 0.05 * everywhere)) return {0.0, 0.0, 0.0};
  }
  return bias;
}

// Without turns of gravity: a wrist that is pushed about turns with hundreds of deg/s,
// which are a few rad/s. A gyroscope that shows hardly any change is no evidence.
void Examination::guess_gyro_unit() {
  static constexpr double kMostOfRadians = 12.0;  // 690 deg/s
  static constexpr double kLeastOfRadians = 0.3;
  static constexpr double kPushed = 4.0;  // (m/s²)²
  const std::vector<double> lengths = lengths_of(gyro_windows_);
  const double fastest = percentile(lengths, 0.99);
  std::vector<double> pushes;
  for (const Window& window : acc_windows_) pushes.push_back(window.spread);
  if (percentile(pushes, 0.95) > kPushed && fastest < kMostOfRadians &&
      fastest - percentile(lengths, 0.01) > kLeastOfRadians) {
    find(FindingId::kGyroUnit, Sureness::kLikely, fastest);
    propose({RepairKind::kGyroUnit, kDegreesPerRadian});
    scale(gyro_, kDegreesPerRadian);
    look_again();
  }
}

// Compares gravity's turns with the gyroscope's and repairs the latter.
void Examination::examine_turns() {
  if (!gravity_ || result_.facts.seconds < kLeastSeconds) return;
  const std::vector<Turn> turns = find_turns(first_bias());
  StreamFacts& facts = result_.facts;
  facts.turns = turns.size();
  if (turns.size() < kFewestTurns) return guess_gyro_unit();
  const Agreement agreement = compare_sensors(turns);
  facts.turn_error = agreement.error;
  if (agreement.error <= kAgreement) return;
  if (agreement.best_error > kExplained ||
      agreement.best_error > kMuchBetter * agreement.error) {
    return;
  }
  facts.turn_error = agreement.best_error;
  if (agreement.factor == kDegreesPerRadian) {
    find(FindingId::kGyroUnit,
         agreement.turns > kFewestTurns ? Sureness::kCertain : Sureness::kLikely)
        .agreement = agreement;
    propose({RepairKind::kGyroUnit, kDegreesPerRadian});
    scale(gyro_, kDegreesPerRadian);
  } else if (agreement.factor != 1.0) {
    find(FindingId::kTurnScale, Sureness::kLikely).agreement = agreement;
    propose({RepairKind::kGyroUnit, agreement.factor});
  }
  if (!is_identity(agreement.gyro)) {
    report_axes(agreement);
    for (Point3Df& p : gyro_) p = mapped(agreement.gyro, p);
  }
  look_again();
}

}  // namespace wgr
