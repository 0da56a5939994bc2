#include "diagnosis/measures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace wgr {

static constexpr double kQuietShare = 0.2;
static constexpr size_t kFewestQuiet = 3;

// A clipped peak is flat on top and steep at its sides: what a resting axis is not.
static constexpr double kSteepShare = 0.01;  // of the axis's range, from step to step
static constexpr size_t kFewestClipped = 4;  // samples

static bool same(const Point3Df& a, const Point3Df& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}

double percentile(std::vector<double> values, double share) {
  if (values.empty()) return 0.0;
  const size_t rank = std::min(
      values.size() - 1, static_cast<size_t>(share * static_cast<double>(values.size())));
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rank),
                   values.end());
  return values[rank];
}

double median(std::vector<double> values) { return percentile(std::move(values), 0.5); }

std::vector<Window> windows_of(const Samples& samples, size_t length) {
  std::vector<Window> windows;
  for (size_t begin = 0; begin + length <= samples.size(); begin += length) {
    Point3Df sum = {0.0, 0.0, 0.0};
    for (size_t i = begin; i < begin + length; ++i) sum = sum + samples[i];
    windows.push_back({begin, begin + length, sum / static_cast<double>(length),
                       window_stats(samples, begin, begin + length).spread});
  }
  return windows;
}

std::vector<double> lengths_of(const std::vector<Window>& windows) {
  std::vector<double> lengths;
  for (const Window& window : windows) {
    lengths.push_back(std::sqrt(squared_length(window.mean)));
  }
  return lengths;
}

static std::vector<double> spreads(const std::vector<Window>& windows) {
  std::vector<double> values;
  for (const Window& window : windows) values.push_back(window.spread);
  return values;
}

std::vector<size_t> quiet_windows(const std::vector<Window>& acc,
                                  const std::vector<Window>& gyro) {
  // Each sensor is measured by its own usual spread, so that units do not matter.
  const double usual_acc = std::max(median(spreads(acc)), 1e-30);
  const double usual_gyro = std::max(median(spreads(gyro)), 1e-30);
  const auto restlessness = [&](size_t i) {
    return acc[i].spread / usual_acc + gyro[i].spread / usual_gyro;
  };
  std::vector<size_t> order(acc.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::sort(order.begin(), order.end(),
            [&](size_t a, size_t b) { return restlessness(a) < restlessness(b); });
  const size_t share =
      static_cast<size_t>(kQuietShare * static_cast<double>(order.size()));
  order.resize(std::min(order.size(), std::max(share, kFewestQuiet)));
  return order;
}

double noise_variance(const Samples& samples, const std::vector<Window>& windows,
                      const std::vector<size_t>& which) {
  std::vector<double> variances;
  for (const size_t w : which) {
    double sum = 0.0;
    double count = 0.0;
    for (size_t i = windows[w].begin + 1; i + 1 < windows[w].end; ++i) {
      sum += squared_length(samples[i - 1] - 2.0 * samples[i] + samples[i + 1]);
      count += 1.0;
    }
    // A second difference of white noise has six times its variance.
    if (count > 0.0) variances.push_back(sum / count / 6.0);
  }
  // Even quiet moments may hold a movement: the quieter ones among them count.
  return percentile(std::move(variances), 0.25);
}

// The runs of an axis's greatest value, when `sign` is 1, or of its least.
static Clipping clipping_at(const Samples& samples, double Point3Df::*axis, double sign) {
  double most = -HUGE_VAL;
  double least = HUGE_VAL;
  for (const Point3Df& p : samples) {
    most = std::max(most, sign * (p.*axis));
    least = std::min(least, sign * (p.*axis));
  }
  const double steep = kSteepShare * (most - least);
  if (!(steep > 0.0)) return {};

  Clipping found;
  found.limit = sign * most;
  for (size_t begin = 0; begin < samples.size();) {
    size_t end = begin;
    while (end < samples.size() && sign * (samples[end].*axis) == most) ++end;
    // At an end of the recording there is no side to look at.
    if (end - begin >= 2 && begin > 0 && end < samples.size() &&
        most - sign * (samples[begin - 1].*axis) > steep &&
        most - sign * (samples[end].*axis) > steep) {
      found.samples += end - begin;
    }
    begin = std::max(end, begin + 1);
  }
  return found.samples >= kFewestClipped ? found : Clipping{};
}

Clipping clipping_of(const Samples& samples, double Point3Df::*axis) {
  const Clipping above = clipping_at(samples, axis, 1.0);
  const Clipping below = clipping_at(samples, axis, -1.0);
  return above.samples >= below.samples ? above : below;
}

bool is_stuck(const Samples& samples, double Point3Df::*axis) {
  return std::all_of(samples.begin(), samples.end(),
                     [&](const Point3Df& p) { return p.*axis == samples.front().*axis; });
}

double held_share(const Samples& samples) {
  size_t held = 0;
  for (size_t i = 1; i < samples.size(); ++i) {
    if (same(samples[i], samples[i - 1])) ++held;
  }
  return samples.size() < 2
             ? 0.0
             : static_cast<double>(held) / static_cast<double>(samples.size() - 1);
}

void scale(Samples& samples, double factor) {
  for (Point3Df& p : samples) p = factor * p;
}

}  // namespace wgr
