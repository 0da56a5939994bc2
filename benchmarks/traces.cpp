#include "traces.h"

#include <algorithm>
#include <cmath>

#include "dtw/similarity.h"

using namespace wgr;

static constexpr int kGravityPoints = 1;
static constexpr double kNoise = 0.1;

// A class is two waves on each axis.
static double wave(int kind, int axis, double t) {
  RandomPoints shape(static_cast<std::uint64_t>(1000 + 3 * kind + axis));
  double sum = 0.0;
  for (int wave = 0; wave < 2; ++wave) {
    const double size = shape.uniform();
    const double turns = 0.5 + 2.0 * shape.uniform();
    const double phase = shape.uniform();
    sum += size * std::sin(6.283185307179586 * (turns * t + phase));
  }
  return sum;
}

Points gesture(RandomPoints& random, int kind, int points) {
  const double pace = 0.75 + 0.5 * random.uniform();
  Points trace;
  for (int i = 0; i < points; ++i) {
    const double t = std::pow(static_cast<double>(i) / points, pace);
    trace.push_back({wave(kind, 0, t) + kNoise * random.gaussian(),
                     wave(kind, 1, t) + kNoise * random.gaussian(),
                     wave(kind, 2, t) + kNoise * random.gaussian()});
  }
  const double tilt = 0.5 * random.gaussian();
  trace.push_back({tilt, 9.8, kind % 2 == 0 ? 0.0 : 2.0});
  scale_to_unit_rms(trace, kGravityPoints);
  return trace;
}

Points any_gesture(RandomPoints& random, int points) {
  const int kind = random.integer(0, kClasses - 1);
  return gesture(random, kind, points);
}

Points noise(RandomPoints& random, int points) {
  Points trace = random.trace(points, RandomPoints::Kind::kGaussian);
  trace.push_back({0.0, 9.8, random.gaussian()});
  scale_to_unit_rms(trace, kGravityPoints);
  return trace;
}

Templates templates(RandomPoints& random, int count) {
  Templates all;
  for (int t = 0; t < count; ++t) {
    const int kind = t % kClasses;
    all.emplace_back(kind, gesture(random, kind, random.integer(40, 80)));
  }
  return all;
}

Templates deceptive_templates(RandomPoints& random, const Points& trace, int count) {
  Templates all = templates(random, count);
  for (auto& [label, points] : all) {
    points.front() = trace.front();
    points[points.size() - 1 - kGravityPoints] = trace[trace.size() - 1 - kGravityPoints];
    points.back() = trace.back();
  }
  std::sort(all.begin(), all.end(), [&](const auto& a, const auto& b) {
    return dtw_similarity(trace, a.second, kGravityPoints) <
           dtw_similarity(trace, b.second, kGravityPoints);
  });
  // A start ever so slightly farther away for each keeps them in this order.
  double away = 0.0;
  for (auto& [label, points] : all) points.front().x += away += 1e-6;
  return all;
}
