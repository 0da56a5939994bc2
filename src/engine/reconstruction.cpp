#include "engine/reconstruction.h"

#include <new>

namespace wgr {

// The active stretch runs while the squared speed reaches this share of its mean.
static constexpr double kActiveShare = 0.1;

Kinematics integrate(const Points& acc, int sample_rate) {
  // A float division on purpose: at 50 Hz the step is 0.01999999955 s, not 0.02 s, and
  // every velocity and position inherits the difference.
  const double dt = 1.0f / static_cast<float>(sample_rate);
  const double half = dt * 0.5;
  const double sixth = (dt * dt) / 6.0;

  const size_t steps = acc.size() - 1;
  Kinematics motion;
  motion.squared_speed.reserve(steps);
  motion.velocity.reserve(steps);
  motion.position.reserve(steps);
  Point3Df v = {0.0, 0.0, 0.0};
  Point3Df p = {0.0, 0.0, 0.0};
  for (size_t i = 0; i < steps; ++i) {
    const Point3Df& a0 = acc[i];
    const Point3Df& a1 = acc[i + 1];
    // Position before velocity: it needs the speed at the start of the step. The later
    // sample weighs double here but not in the velocity, as intended.
    p = p + (sixth * (2.0 * a1 + a0) + dt * v);
    v = v + half * (a1 + a0);
    motion.squared_speed.push_back(squared_length(v));
    motion.velocity.push_back(v);
    motion.position.push_back(p);
    motion.sum_of_squared_speeds += motion.squared_speed.back();
  }
  return motion;
}

FastSteps fast_steps_of(const Kinematics& motion) {
  const std::vector<double>& speed = motion.squared_speed;
  const size_t steps = speed.size();
  FastSteps fast;
  fast.fast_from =
      (motion.sum_of_squared_speeds / static_cast<double>(steps)) * kActiveShare;
  if (steps == 0) return fast;
  // A speed or a threshold that is not a number counts as fast.
  const auto is_fast = [&](size_t i) { return !(speed[i] < fast.fast_from); };

  fast.starts_fast = is_fast(0);
  fast.ends_fast = is_fast(steps - 1);
  if (fast.starts_fast || fast.ends_fast) return fast;
  size_t begin = 1;
  while (begin < steps && !is_fast(begin)) ++begin;
  size_t end = steps;
  while (end > begin && !is_fast(end - 1)) --end;
  fast.active = {begin, end};
  return fast;
}

FastSteps reconstruct(Points& trace, int sample_rate, Points& velocity, Points& position,
                      std::vector<double>* squared_speed) {
  velocity.clear();
  position.clear();
  // One step fewer than points: without any point that is no number of steps at all.
  if (trace.empty()) throw std::bad_alloc();

  Kinematics motion = integrate(trace, sample_rate);
  const FastSteps fast = fast_steps_of(motion);
  const Stretch& kept = fast.active;
  Points stretch;
  stretch.reserve(kept.end - kept.begin);
  velocity.reserve(kept.end - kept.begin);
  position.reserve(kept.end - kept.begin);
  for (size_t k = kept.begin; k < kept.end; ++k) {
    // With a step's state goes the acceleration one sample before its start, as intended.
    stretch.push_back(trace[k - 1]);
    velocity.push_back(motion.velocity[k]);
    position.push_back(motion.position[k]);
  }
  trace = std::move(stretch);
  if (squared_speed != nullptr) *squared_speed = std::move(motion.squared_speed);
  return fast;
}

}  // namespace wgr
