// What the time stamps tell: unit, rate, jitter, gaps, samples twice or out of order.
#include <algorithm>
#include <array>
#include <cmath>

#include "diagnosis/examination.h"
#include "recording/clock.h"
#include "table.h"

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

void Examination::examine_steps() {
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
