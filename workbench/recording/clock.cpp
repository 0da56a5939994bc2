#include "recording/clock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace wgr {

static constexpr double kNearMedian = 1.5;   // times the median, and its inverse
static constexpr double kGapPeriods = 1.75;  // a missing sample, however jittered

std::optional<double> mean_rate(std::vector<double> steps) {
  steps.erase(std::remove_if(steps.begin(), steps.end(),
                             [](double step) { return !(step > 0.0); }),
              steps.end());
  if (steps.empty()) return std::nullopt;

  std::sort(steps.begin(), steps.end());
  const double median = steps[steps.size() / 2];
  double sum = 0.0;
  double count = 0.0;
  for (const double step : steps) {
    if (step > median * kNearMedian || step * kNearMedian < median) continue;
    sum += step;
    count += 1.0;
  }
  return count / sum;
}

std::optional<int> estimate_rate(const std::deque<RecordedSample>& samples) {
  std::vector<double> steps;
  for (size_t i = 1; i < samples.size(); ++i) {
    steps.push_back(samples[i].t - samples[i - 1].t);
  }
  const std::optional<double> mean = mean_rate(std::move(steps));
  if (!mean) return std::nullopt;
  const double rate = std::round(*mean);
  if (!(rate >= 1.0 && rate <= kHighestRate)) return std::nullopt;
  return static_cast<int>(rate);
}

void Clock::add(double t) {
  if (samples_ == 0) {
    first_ = t;
  } else {
    const double step = t - last_;
    if (step < 0.0) {
      ++backward_;
    } else if (step == 0.0) {
      ++repeats_;
    } else if (step * rate_ > kGapPeriods) {
      ++gaps_;
      longest_gap_ = std::max(longest_gap_, step);
    }
  }
  last_ = t;
  ++samples_;
}

std::optional<double> Clock::observed_rate() const {
  if (samples_ < 2 || !(last_ > first_)) return std::nullopt;
  return static_cast<double>(samples_ - 1) / (last_ - first_);
}

}  // namespace wgr
