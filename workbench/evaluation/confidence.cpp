#include "evaluation/confidence.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace wgr {

static constexpr double kDoubt = 0.05;       // that a bound does not hold
static constexpr double kNormal = 1.959964;  // that doubt, half of it at either side
static constexpr int kSteps = 60;            // of bisection

// How likely at most n events are where `mean` are expected (Poisson). By logarithms: the
// terms of large numbers are too small for a double.
static double likelihood(size_t n, double mean) {
  double sum = 0.0;
  for (size_t i = 0; i <= n; ++i) {
    const double k = static_cast<double>(i);
    sum += std::exp(k * std::log(mean) - mean - std::lgamma(k + 1.0));
  }
  return sum;
}

// The expected number of events with which at most n come with this probability.
static double expected_with(size_t n, double probability) {
  double low = 0.0;
  double high = 10.0 + 3.0 * static_cast<double>(n);
  for (int i = 0; i < kSteps; ++i) {
    const double middle = 0.5 * (low + high);
    (likelihood(n, middle) > probability ? low : high) = middle;
  }
  return high;
}

double most_expected(size_t seen) { return expected_with(seen, kDoubt); }

// How likely at least `part` of `whole` are where each is with probability p (binomial).
static double at_least(size_t part, size_t whole, double p) {
  const double n = static_cast<double>(whole);
  double sum = 0.0;
  for (size_t i = part; i <= whole; ++i) {
    const double k = static_cast<double>(i);
    sum +=
        std::exp(std::lgamma(n + 1.0) - std::lgamma(k + 1.0) - std::lgamma(n - k + 1.0) +
                 k * std::log(p) + (n - k) * std::log1p(-p));
  }
  return sum;
}

double least_share(size_t part, size_t whole) {
  if (part == 0) return 0.0;
  double low = 0.0;
  double high = 1.0;
  for (int i = 0; i < kSteps; ++i) {
    const double middle = 0.5 * (low + high);
    (at_least(part, whole, middle) > kDoubt ? high : low) = middle;
  }
  return low;
}

double most_share(size_t part, size_t whole) {
  return 1.0 - least_share(whole - part, whole);
}

Estimate share_estimate(size_t part, size_t whole) {
  const double n = static_cast<double>(whole);
  const double p = static_cast<double>(part) / n;
  const double z2 = kNormal * kNormal;
  const double middle = (p + z2 / (2.0 * n)) / (1.0 + z2 / n);
  const double reach =
      kNormal / (1.0 + z2 / n) * std::sqrt(p * (1.0 - p) / n + z2 / (4.0 * n * n));
  return {p, part == 0 ? 0.0 : middle - reach, part == whole ? 1.0 : middle + reach};
}

Estimate rate_estimate(size_t events, double hours) {
  const double low = events == 0 ? 0.0 : expected_with(events - 1, 1.0 - kDoubt / 2.0);
  return {static_cast<double>(events) / hours, low / hours,
          expected_with(events, kDoubt / 2.0) / hours};
}

// Values of which half are below the median are so many as heads of a coin.
std::optional<Estimate> median_estimate(const std::vector<double>& sorted) {
  const size_t n = sorted.size();
  size_t rank = 0;  // of the interval's ends, from either side
  for (size_t above = n / 2 + 1; rank + 1 < above;) {
    const size_t middle = (rank + above) / 2;
    const bool rare = at_least(n - middle + 1, n, 0.5) <= kDoubt / 2.0;
    (rare ? rank : above) = middle;
  }
  if (rank == 0) return std::nullopt;
  return Estimate{sorted[n / 2], sorted[rank - 1], sorted[n - rank]};
}

Estimate difference_estimate(const Estimate& old, const Estimate& now) {
  const double difference = now.value - old.value;
  return {difference, difference - std::hypot(now.value - now.low, old.high - old.value),
          difference + std::hypot(now.high - now.value, old.value - old.low)};
}

static constexpr size_t kResamples = 2000;

std::pair<double, double> bootstrap_interval(const std::vector<double>& values) {
  std::minstd_rand random(1);
  std::vector<double> means;
  for (size_t i = 0; i < kResamples; ++i) {
    double sum = 0.0;
    for (size_t j = 0; j < values.size(); ++j) sum += values[random() % values.size()];
    means.push_back(sum / static_cast<double>(values.size()));
  }
  std::sort(means.begin(), means.end());
  return {means[kResamples / 40], means[kResamples - 1 - kResamples / 40]};
}

}  // namespace wgr
