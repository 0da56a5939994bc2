#include "diagnosis/repair.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/numbers.h"
#include "recording/resample.h"

namespace wgr {

static constexpr double kGapPeriods = 1.75;     // as the clock counts gaps
static constexpr double kLongestFilled = 0.5;   // s; in a longer gap anything may be
static constexpr double kHardlyTurning = 1e-3;  // deg/s

bool is_passed(const Repair& repair) { return repair.kind >= RepairKind::kRate; }

void order_repairs(std::vector<Repair>& repairs) {
  std::stable_sort(repairs.begin(), repairs.end(),
                   [](const Repair& a, const Repair& b) { return a.kind < b.kind; });
}

static void drop_repeats(std::vector<RecordedSample>& samples) {
  const auto same = [](const RecordedSample& a, const RecordedSample& b) {
    return a.t == b.t;
  };
  samples.erase(std::unique(samples.begin(), samples.end(), same), samples.end());
}

static double largest_of(const Point3Df& p) {
  return std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

// What comes before the first good value is replaced by that.
static void replace_spikes(std::vector<RecordedSample>& samples,
                           Point3Df RecordedSample::*sensor, double limit) {
  const auto good = [&](const RecordedSample& s) {
    return largest_of(s.*sensor) <= limit;
  };
  const auto first = std::find_if(samples.begin(), samples.end(), good);
  if (first == samples.end()) return;
  Point3Df last = (*first).*sensor;
  for (RecordedSample& sample : samples) {
    if (good(sample)) last = sample.*sensor;
    sample.*sensor = last;
  }
}

static void fill_gaps(std::vector<RecordedSample>& samples, double rate) {
  std::vector<RecordedSample> filled;
  for (const RecordedSample& b : samples) {
    const double step = filled.empty() ? 0.0 : b.t - filled.back().t;
    if (step * rate > kGapPeriods && step <= kLongestFilled) {
      const RecordedSample a = filled.back();
      const int parts = nearest_int(step * rate);
      for (int i = 1; i < parts; ++i) {
        const double share = static_cast<double>(i) / parts;
        filled.push_back({a.t + share * step, a.acc + share * (b.acc - a.acc),
                          a.gyro + share * (b.gyro - a.gyro)});
      }
    }
    filled.push_back(b);
  }
  samples = std::move(filled);
}

static void change_values(const Repair& repair, RecordedSample& s) {
  switch (repair.kind) {
    case RepairKind::kTimeUnit:
      s.t *= repair.factor;
      break;
    case RepairKind::kSwapSensors:
      std::swap(s.acc, s.gyro);
      break;
    case RepairKind::kAccUnit:
      s.acc = repair.factor * s.acc;
      break;
    case RepairKind::kGyroUnit:
      s.gyro = repair.factor * s.gyro;
      break;
    case RepairKind::kAccAxes:
      s.acc = mapped(repair.axes, s.acc);
      break;
    case RepairKind::kGyroAxes:
      s.gyro = mapped(repair.axes, s.gyro);
      break;
    case RepairKind::kZeroRates:
      if (squared_length(s.gyro - repair.bias) == 0.0) s.gyro.x += kHardlyTurning;
      break;
    case RepairKind::kBias:
      s.gyro = s.gyro - repair.bias;
      break;
    default:
      break;
  }
}

void apply(const Repair& repair, std::vector<RecordedSample>& samples, bool passed_too) {
  if (is_passed(repair) && !passed_too) return;
  switch (repair.kind) {
    case RepairKind::kSort:
      std::stable_sort(
          samples.begin(), samples.end(),
          [](const RecordedSample& a, const RecordedSample& b) { return a.t < b.t; });
      break;
    case RepairKind::kDropRepeats:
      drop_repeats(samples);
      break;
    case RepairKind::kAccSpikes:
      replace_spikes(samples, &RecordedSample::acc, repair.factor);
      break;
    case RepairKind::kGyroSpikes:
      replace_spikes(samples, &RecordedSample::gyro, repair.factor);
      break;
    case RepairKind::kFillGaps:
      fill_gaps(samples, repair.factor);
      break;
    case RepairKind::kEvenRate:
      samples = resample(samples, std::max(1, nearest_int(repair.factor)));
      break;
    default:
      for (RecordedSample& sample : samples) change_values(repair, sample);
      break;
  }
}

}  // namespace wgr
