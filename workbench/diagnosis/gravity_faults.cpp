// What gravity shows: which sensor shows it, in which unit, and whether the wrist can be
// seen to rest.
#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "base/text.h"
#include "diagnosis/examination.h"
#include "engine/rest.h"

namespace wgr {

static constexpr double kLeastRest = 0.1;    // of the samples
static constexpr double kMostMotion = 60.0;  // s

// The band in which the accelerometer can report rest: the roots of 98 and 110.
static constexpr double kLeastGravity = 9.8995;
static constexpr double kMostGravity = 10.4881;
static constexpr double kRestSpread = 0.22;  // (m/s²)², as the rest test's

// An accelerometer that shows gravity shows it within this share.
static constexpr double kGravityTolerance = 0.25;

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

std::vector<double> Examination::quiet_lengths(const std::vector<Window>& windows) const {
  std::vector<double> lengths;
  for (const size_t i : quiet_) {
    lengths.push_back(std::sqrt(squared_length(windows[i].mean)));
  }
  return lengths;
}

// Whether the gyroscope's axes show gravity; then the sensors are put right. They show it
// at rest and on the whole: what a gyroscope shows on the whole is much more than at
// rest.
bool Examination::repair_swapped_sensors() {
  const std::vector<double> lengths = quiet_lengths(gyro_windows_);
  if (unit_of(lengths) == nullptr) return false;
  if (unit_of(lengths_of(gyro_windows_)) != unit_of(lengths)) return false;
  find(FindingId::kSwappedSensors, Sureness::kLikely, median(lengths));
  propose({RepairKind::kSwapSensors});
  acc_.swap(gyro_);
  look_again();
  return true;
}

// Finds which sensor shows gravity, and in which unit.
void Examination::examine_acceleration() {
  look_again();
  if (quiet_.empty()) return;
  const AccUnit* unit = unit_of(quiet_lengths(acc_windows_));
  if (unit == nullptr && repair_swapped_sensors()) {
    unit = unit_of(quiet_lengths(acc_windows_));
  }
  const double usual = median(quiet_lengths(acc_windows_));
  if (unit == nullptr) {
    // A clip cut out of a motion shows no rest, and so no gravity.
    if (result_.facts.seconds < kLeastSeconds) return;
    find(FindingId::kNoGravity,
         usual < 0.5 * kStandardGravity ? Sureness::kLikely : Sureness::kPossible, usual);
    return;
  }
  if (unit->scale != 1.0) {
    Finding& finding = find(FindingId::kAccUnit, Sureness::kCertain, usual);
    finding.other = unit->scale;
    finding.about = unit->name;
    propose({RepairKind::kAccUnit, unit->scale});
    scale(acc_, unit->scale);
    look_again();
  }
  gravity_ = median(quiet_lengths(acc_windows_));
  result_.facts.gravity = gravity_;
}

// Where the library would see rest.
void Examination::measure_rest() {
  StreamFacts& facts = result_.facts;
  // As long as the library's by its default, at the rate that it is given.
  const long rate = options_.rate.value_or(nearest_int(1.0 / period_));
  const size_t window = static_cast<size_t>(std::max(1L, rate / 5));
  for (Point3Df& p : gyro_) p = p - options_.gyro_bias;
  size_t resting = 0;
  size_t acc_resting = 0;
  size_t gyro_resting = 0;
  size_t& moving_for = carried_.moving_for;
  size_t longest = 0;
  // Samples that the part before held were judged there.
  const size_t first = std::max(window, carried_.seen + 1);
  for (size_t end = first; end <= acc_.size(); ++end) {
    const bool acc = acc_at_rest(window_stats(acc_, end - window, end));
    const bool gyro = gyro_at_rest(window_stats(gyro_, end - window, end));
    acc_resting += acc ? 1 : 0;
    gyro_resting += gyro ? 1 : 0;
    resting += acc || gyro ? 1 : 0;
    moving_for = acc || gyro ? 0 : moving_for + 1;
    longest = std::max(longest, moving_for);
  }
  carried_.window = window;
  const size_t all = acc_.size() - std::min(acc_.size(), first) + 1;
  facts.rest_share = share(resting, all);
  facts.acc_rest_share = share(acc_resting, all);
  facts.gyro_rest_share = share(gyro_resting, all);
  facts.longest_motion = static_cast<double>(longest) * period_;
}

void Examination::examine_rest() {
  measure_rest();
  const StreamFacts& facts = result_.facts;
  std::vector<double> spreads;
  for (const size_t i : quiet_) spreads.push_back(acc_windows_[i].spread);
  const bool rested = facts.seconds >= kLeastSeconds && median(spreads) < kRestSpread;
  if (gravity_ && rested && !(*gravity_ > kLeastGravity && *gravity_ < kMostGravity)) {
    find(FindingId::kGravityBand, Sureness::kCertain, *gravity_);
  }
  if (facts.seconds < kLeastSeconds) {
    find(FindingId::kShort, Sureness::kCertain, facts.seconds);
  } else if (facts.rest_share < kLeastRest || facts.longest_motion > kMostMotion) {
    // For so long a wrist that walks moves, too, and nothing is wrong with the stream.
    const bool long_enough = facts.seconds > kMostMotion;
    find(FindingId::kNoRest, long_enough ? Sureness::kCertain : Sureness::kPossible,
         facts.rest_share)
        .other = facts.longest_motion;
  }
}

}  // namespace wgr
