// What the time stamps show: unit, rate, jitter, gaps, samples twice or out of order.
#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "base/text.h"
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
    find("stamps", Sureness::kCertain, "the time stamps never go forward",
         "stamp each sample with the time it was taken at, in seconds",
         "--sample-rate HZ gives the other subcommands what the stamps do not");
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
         fmt::format("consecutive time stamps are {:.0f} s apart: they are in {}", step,
                     unit.name),
         "write the time in seconds", "", unit.name);
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
  const std::string right = std::to_string(nearest_int(*facts.rate));
  if (options_.rate && std::fabs(*options_.rate / *facts.rate - 1.0) > kRateTolerance) {
    find("rate", Sureness::kCertain,
         fmt::format("the sample rate is {:.2f}, not the {} that the library is given",
                     *facts.rate, *options_.rate),
         "pass the true rate: speeds, lengths and turns all follow from it",
         fmt::format("init_gesture_handle(h, {}, ...); --sample-rate {}", right, right));
    propose({RepairKind::kRate, *facts.rate});
  } else if (std::fabs(std::round(*facts.rate) / *facts.rate - 1.0) > kRateTolerance) {
    find("rate", Sureness::kCertain,
         fmt::format("the sample rate is {:.2f}, which is not near a whole number",
                     *facts.rate),
         "resample, or set the sensor to a rate that is a whole number",
         "init_gesture_handle() takes whole samples per second");
    propose({RepairKind::kEvenRate, *facts.rate});
  }
  if (facts.jitter > kMostJitter) {
    find("jitter", Sureness::kCertain,
         fmt::format("the time from sample to sample varies by {:.0f} % of its mean "
                     "(standard deviation)",
                     100.0 * facts.jitter),
         "stamp the samples where they are taken, or resample them to an even rate: the "
         "library assumes equal steps");
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
  const auto tallied = [](const Occurrences& tally, const std::string& what) {
    return fmt::format("{}{}, the first at {:.3f} s", tally.count, what, tally.first);
  };
  if (carried_.gaps.count > gaps) {
    find(
        "gap", Sureness::kCertain,
        tallied(carried_.gaps,
                fmt::format(" gaps in the samples, the longest of {:.3f} s",
                            carried_.gaps.most)),
        "find where samples are lost; fill short gaps in before update_gesture(), or the "
        "motion around them is compared too short");
    propose({RepairKind::kFillGaps, rate});
  }
  if (carried_.repeats.count > repeats) {
    find("repeated", Sureness::kCertain,
         tallied(carried_.repeats, " stamps repeat the one before"),
         "drop samples that were delivered twice; give bunches stamps of their own");
    // Of bunches each sample counts.
    const double all = static_cast<double>(steps.size());
    if (static_cast<double>(carried_.repeats.count) < kManyRepeats * all) {
      propose({RepairKind::kDropRepeats});
    }
  }
  if (carried_.backward.count > backward) {
    find("order", Sureness::kCertain,
         tallied(carried_.backward, " time stamps are earlier than the one before"),
         "sort the samples by time before update_gesture()");
    propose({RepairKind::kSort});
  }
}

}  // namespace wgr
