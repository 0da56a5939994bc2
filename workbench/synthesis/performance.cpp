#include "synthesis/performance.h"

#include <algorithm>
#include <cmath>

#include "synthesis/everyday.h"

namespace wgr {

// Where the wrist is during an activity: yaw, pitch, roll (rad), elbow x, y, z (m). The
// elbow's displacement is from where it is when the arm is ready for a gesture.
static constexpr Posture kAlike = {{0.0, -1.30, 0.3, -0.15, 0.0, -0.05},
                                   {0.4, -0.20, 0.1, 0.0, 0.0, -0.05},
                                   {0.5, 0.05, 0.1, 0.10, 0.05, 0.0},
                                   0.0,
                                   0.0,
                                   0.0};

static constexpr double kQuietBefore = 0.35;  // s of the ready time the arm is quiet
static constexpr double kMostTransit = 1.5;   // s from one place to the next
static constexpr double kRound = 10000.0;     // four decimals

static Placement place_for(Activity what, const Person& person, Random& random) {
  Placement place = person.ready;
  double spread = person.wobble;
  if (!label_of(what)) {
    spread = 0.1;
    const Posture& held = person.posture ? *person.posture : kAlike;
    if (what == Activity::kWalk) place = held.hanging;
    if (what == Activity::kRest || what == Activity::kFidget) place = held.in_lap;
    if (what == Activity::kReach || what == Activity::kType) place = held.at_desk;
  }
  for (const Channel angle : {kYaw, kPitch, kRoll}) {
    place[angle] += random.uniform(-spread, spread);
  }
  return place;
}

static void add_activity(const PlannedActivity& activity, const Person& person,
                         Random& random, WristMotion& motion) {
  switch (activity.what) {
    case Activity::kRest:
      break;
    case Activity::kWalk:
      add_walk(activity.begin, activity.end, person, random, motion);
      break;
    case Activity::kReach:
      add_reaches(activity.begin, activity.end, person, random, motion);
      break;
    case Activity::kFidget:
      add_fidget(activity.begin, activity.end, person, random, motion);
      break;
    case Activity::kType:
      add_typing(activity.begin, activity.end, person, random, motion);
      break;
    default:
      add_gesture(*label_of(activity.what), activity.begin, activity.end, person, random,
                  motion);
  }
}

WristMotion perform(const Plan& plan, const Person& person, Random& random) {
  WristMotion motion;
  Placement here = place_for(Activity::kRest, person, random);
  for (size_t channel = 0; channel < kChannels; ++channel) {
    motion.add(static_cast<Channel>(channel), Shape::kStep, -2.0, -1.0, here[channel]);
  }
  for (size_t i = 0; i < plan.size(); ++i) {
    const PlannedActivity& activity = plan[i];
    if (activity.what == Activity::kRest) {
      const Activity next = i + 1 < plan.size() ? plan[i + 1].what : Activity::kRest;
      const Placement there = place_for(next, person, random);
      const double begin = activity.begin + random.uniform(0.2, 0.4);
      const double transit = std::min(kMostTransit, activity.end - begin - kQuietBefore);
      // A rest too short to go anywhere leaves the arm where it is.
      if (transit > 0.0) {
        for (size_t channel = 0; channel < kChannels; ++channel) {
          motion.add(static_cast<Channel>(channel), Shape::kStep, begin, begin + transit,
                     there[channel] - here[channel]);
        }
        here = there;
      }
    }
    add_activity(activity, person, random, motion);
  }
  if (!plan.empty()) {
    add_tremor(plan.front().begin - 1.0, plan.back().end + 1.0, random, motion);
  }
  motion.sort();
  return motion;
}

// Halves go away from zero: what is mirrored before is mirrored after.
static double rounded(double value) { return std::round(value * kRound) / kRound; }

static Point3Df rounded(const Point3Df& p) {
  return {rounded(p.x), rounded(p.y), rounded(p.z)};
}

std::vector<RecordedSample> record(const Plan& plan, const Person& person,
                                   const PerformanceOptions& options, Random random) {
  std::vector<RecordedSample> samples;
  if (plan.empty()) return samples;
  Random movement = random.fork(1);
  Random noise = random.fork(2);
  WristMotion motion = perform(plan, person, movement);
  const size_t count = static_cast<size_t>(plan.back().end * options.rate);
  samples.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const double t = static_cast<double>(i) / options.rate;
    if (i % 64 == 0) motion.forget_before(t - 0.1);
    const Reading left =
        sensed(ideal_reading(motion, person.lever, t), person.sensors, noise);
    const Reading reading = options.wearer == 1 ? mirrored(left) : left;
    samples.push_back({rounded(t), rounded(reading.acc), rounded(reading.gyro)});
  }
  apply(options.faults, samples);
  return samples;
}

// The random numbers of one person for a seed.
static Random random_of(int seed, int person, Style style) {
  const uint64_t manner = style == Style::kCalm ? 0 : 1;
  return Random(static_cast<uint64_t>(seed))
      .fork(2 * static_cast<uint64_t>(person) + manner);
}

Performance perform_for(int seed, int person_number, Style style, const Plan* script,
                        const PlanOptions& plan_options,
                        const PerformanceOptions& options) {
  Person person = make_person(person_number, style);
  if (options.postures) person.posture = make_posture(person_number, options.wearer);
  const Random random = random_of(seed, person_number, style);
  Random planning = random.fork(1);
  Plan plan = script != nullptr ? *script : random_plan(plan_options, person, planning);
  std::vector<RecordedSample> samples = record(plan, person, options, random.fork(2));
  return {std::move(plan), std::move(samples)};
}

}  // namespace wgr
