#include "evaluation/confidence.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace wgr {

static constexpr double kDoubt = 0.05;  // that a bound does not hold
static constexpr int kSteps = 60;       // of bisection

// How likely at most n events are where `mean` are expected (Poisson).
static double likelihood(size_t n, double mean) {
  double term = std::exp(-mean);
  double sum = term;
  for (size_t i = 1; i <= n; ++i) {
    term *= mean / static_cast<double>(i);
    sum += term;
  }
  return sum;
}

double most_expected(size_t seen) {
  double low = 0.0;
  double high = 10.0 + 3.0 * static_cast<double>(seen);
  for (int i = 0; i < kSteps; ++i) {
    const double middle = 0.5 * (low + high);
    (likelihood(seen, middle) > kDoubt ? low : high) = middle;
  }
  return high;
}

// How likely at least `part` of `whole` are where each is with probability p (binomial).
// By logarithms: the terms of large numbers are too small for a double.
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
