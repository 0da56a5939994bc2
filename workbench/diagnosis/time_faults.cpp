// What the time stamps show: unit, rate, jitter, gaps, samples twice or out of order.
#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "diagnosis/examination.h"
#include "recording/clock.h"

namespace wgr {

static constexpr double kMostSilence = 1.0;  // s; a longer step is no step in seconds
static constexpr double kRateTolerance = 0.02;
static constexpr double kMostJitter = 0.15;  // of a period, standard deviation
static constexpr double kGapPeriods = 1.75;  // as the clock counts gaps
static constexpr double kManyRepeats = 0.2;  // of all steps

// Brings stamps in ms, µs or ns to seconds.
void Examination::examine_stamps() {
  std::vector<double> steps;
  for (size_t i = 1; i < times_.size(); ++i) {
    if (times_[i] > times_[i - 1]) steps.push_back(times_[i] - times_[i - 1]);
  }
  if (steps.empty()) {
    find(FindingId::kStamps, Sureness::kCertain);
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
    find(FindingId::kStampsUnit, Sureness::kLikely, step).about = unit.name;
    propose({RepairKind::kTimeUnit, unit.scale});
    for (double& t : times_) t *= unit.scale;
    return;
  }
}

// Finds the rate and its jitter; the mean rate, if the stamps give one.
std::optional<double> Examination::measure_steps(const std::vector<double>& steps) {
  StreamFacts& facts = result_.facts;
  const std::optional<double> rate = mean_rate(steps);
  if (!rate) return rate;
  period_ = 1.0 / *rate;
  size_t repeats = 0;
  double forward = 0.0;
  double squares = 0.0;
  size_t regular = 0;
  for (const double step : steps) {
    if (step == 0.0) ++repeats;
    if (step <= 0.0 || step * *rate > kGapPeriods) continue;
    forward += step;
    squares += (step - period_) * (step - period_);
    ++regular;
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
  return rate;
}

void Examination::examine_steps() {
  const StreamFacts& facts = result_.facts;
  std::vector<double> steps;
  for (size_t i = 1; i < times_.size(); ++i) steps.push_back(times_[i] - times_[i - 1]);
  const std::optional<double> rate = measure_steps(steps);
  if (!rate) return;
  if (options_.rate && std::fabs(*options_.rate / *facts.rate - 1.0) > kRateTolerance) {
    find(FindingId::kRate, Sureness::kCertain, *facts.rate).other = *options_.rate;
    propose({RepairKind::kRate, *facts.rate});
  } else if (std::fabs(std::round(*facts.rate) / *facts.rate - 1.0) > kRateTolerance) {
    find(FindingId::kRate, Sureness::kCertain, *facts.rate);
    propose({RepairKind::kEvenRate, *facts.rate});
  }
  if (facts.jitter > kMostJitter) {
    find(FindingId::kJitter, Sureness::kCertain, facts.jitter);
    propose({RepairKind::kEvenRate, *facts.rate});
  }
  report_irregular_steps(steps, *rate);
}

// Adds to the tallies the gaps, repeats and steps back that no part before this one
// holds.
void Examination::count_steps(const std::vector<double>& steps, double rate) {
  for (size_t i = first_step(); i < steps.size(); ++i) {
    if (steps[i] == 0.0) carried_.repeats.add(times_[i], 0.0);
    if (steps[i] < 0.0) carried_.backward.add(times_[i], 0.0);
  }
  // Samples in a wrong order leave no gap once they are sorted.
  std::vector<double> sorted(times_.begin() + static_cast<std::ptrdiff_t>(first_step()),
                             times_.end());
  std::sort(sorted.begin(), sorted.end());
  for (size_t i = 1; i < sorted.size(); ++i) {
    const double step = sorted[i] - sorted[i - 1];
    if (step * rate > kGapPeriods) carried_.gaps.add(sorted[i - 1], step);
  }
}

void Examination::report_irregular_steps(const std::vector<double>& steps, double rate) {
  const size_t gaps = carried_.gaps.count;
  const size_t repeats = carried_.repeats.count;
  const size_t backward = carried_.backward.count;
  count_steps(steps, rate);
  if (carried_.gaps.count > gaps) {
    find(FindingId::kGap, Sureness::kCertain).occurrences = carried_.gaps;
    propose({RepairKind::kFillGaps, rate});
  }
  if (carried_.repeats.count > repeats) {
    find(FindingId::kRepeated, Sureness::kCertain).occurrences = carried_.repeats;
    // Of bunches each sample counts.
    const double all = static_cast<double>(steps.size());
    if (static_cast<double>(carried_.repeats.count) < kManyRepeats * all) {
      propose({RepairKind::kDropRepeats});
    }
  }
  if (carried_.backward.count > backward) {
    find(FindingId::kOrder, Sureness::kCertain).occurrences = carried_.backward;
    propose({RepairKind::kSort});
  }
}

}  // namespace wgr
