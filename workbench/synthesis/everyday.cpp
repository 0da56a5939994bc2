#include "synthesis/everyday.h"

#include <algorithm>

namespace wgr {

static constexpr double kTurn = 6.283185307179586;
static constexpr double kUpperArm = 0.28;  // m

static void add_wave(Channel channel, double begin, double end, double amount,
                     double frequency, double phase, WristMotion& motion) {
  motion.add(
      {channel, Shape::kWave, begin, end, amount, frequency * (end - begin), phase});
}

// One wave on every channel, each with a frequency and a phase of its own.
static void add_waves(double begin, double end, double angle, double distance,
                      double lowest, double highest, Random& random,
                      WristMotion& motion) {
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const double most = channel <= kRoll ? angle : distance;
    const double amount = most * random.uniform(0.4, 1.0);
    const double frequency = random.uniform(lowest, highest);
    add_wave(static_cast<Channel>(channel), begin, end, amount, frequency,
             random.uniform(0.0, kTurn), motion);
  }
}

// Each step jolts the arm up, and brakes it.
static void add_steps(double begin, double end, double strides, const Posture& posture,
                      Random random, WristMotion& motion) {
  static constexpr double kLength = 0.12;     // s, of a jolt
  static constexpr double kCurvature = 24.0;  // of a bump of height and length 1
  const double per_jolt = kLength * kLength / kCurvature;
  const double step = 0.5 / strides;  // s
  for (double t = begin + random.uniform(0.0, step); t + kLength < end; t += step) {
    const double height = per_jolt * posture.jolt * random.uniform(0.7, 1.3);
    motion.add(kElbowZ, Shape::kBump, t, t + kLength, -height);
    motion.add(kElbowX, Shape::kBump, t, t + kLength, posture.brake * height);
  }
}

void add_walk(double begin, double end, const Person& person, Random& random,
              WristMotion& motion) {
  const double strides = random.uniform(0.80, 1.00);  // per second
  const double swing = person.vigour * random.uniform(0.14, 0.24);
  const double bounce = person.vigour * random.uniform(0.008, 0.016);
  const double phase = random.uniform(0.0, kTurn);
  add_wave(kPitch, begin, end, swing, strides, phase, motion);
  add_wave(kElbowX, begin, end, kUpperArm * swing, strides, phase, motion);
  // The body comes down with every step, twice in a stride.
  add_wave(kElbowZ, begin, end, bounce, 2.0 * strides, random.uniform(0.0, kTurn),
           motion);
  add_wave(kElbowY, begin, end, 0.5 * bounce, strides, random.uniform(0.0, kTurn),
           motion);
  add_wave(kRoll, begin, end, 0.4 * swing, strides, phase + random.uniform(-0.8, 0.8),
           motion);
  add_wave(kYaw, begin, end, 0.2 * swing, strides, phase + random.uniform(-0.8, 0.8),
           motion);
  if (person.posture) {
    const double more = person.posture->swing;
    add_wave(kPitch, begin, end, more, strides, phase, motion);
    add_wave(kElbowX, begin, end, kUpperArm * more, strides, phase, motion);
    add_steps(begin, end, strides, *person.posture, random.fork(1), motion);
  }
}

static Placement random_reach(const Person& person, Random& random) {
  Placement reach;
  const double far = person.vigour;
  reach[kYaw] = far * random.uniform(-0.6, 0.6);
  reach[kPitch] = far * random.uniform(-0.5, 0.8);
  reach[kRoll] = far * random.uniform(-0.9, 0.9);
  reach[kElbowX] = far * random.uniform(-0.10, 0.22);
  reach[kElbowY] = far * random.uniform(-0.15, 0.15);
  reach[kElbowZ] = far * random.uniform(-0.08, 0.15);
  return reach;
}

static void add_reach(double begin, double end, const Placement& from,
                      const Placement& to, WristMotion& motion) {
  for (size_t channel = 0; channel < kChannels; ++channel) {
    motion.add(static_cast<Channel>(channel), Shape::kStep, begin, end,
               to[channel] - from[channel]);
  }
}

void add_reaches(double begin, double end, const Person& person, Random& random,
                 WristMotion& motion) {
  static constexpr double kSlowest = 1.2;  // s
  static constexpr double kQuickest = 0.5;
  const Placement home = {};
  Placement here = home;
  double t = begin;
  while (end - t > 2.0 * kSlowest) {
    const double arrival = t + random.uniform(kQuickest, kSlowest);
    const Placement there =
        random.chance(0.3) && here != home ? home : random_reach(person, random);
    add_reach(t, arrival, here, there, motion);
    here = there;
    // Now and then the hand turns back at once.
    t = arrival + (random.chance(0.2) ? 0.0 : random.uniform(0.2, 1.0));
    t = std::min(t, end - kSlowest);
  }
  add_reach(t, std::min(end, t + kSlowest), here, home, motion);
}

void add_fidget(double begin, double end, const Person& person, Random& random,
                WristMotion& motion) {
  // Bursts, with little pauses.
  double t = begin;
  while (end - t > 0.8) {
    const double stop = std::min(end, t + random.uniform(0.8, 3.0));
    const double angle = person.vigour * random.uniform(0.03, 0.12);
    add_waves(t, stop, angle, 0.06 * angle, 0.6, 2.5, random, motion);
    t = stop + random.uniform(0.1, 0.8);
  }
}

void add_typing(double begin, double end, const Person& person, Random& random,
                WristMotion& motion) {
  add_waves(begin, end, 0.010 * person.vigour, 0.0008, 2.0, 5.0, random, motion);
  add_waves(begin, end, 0.020 * person.vigour, 0.0030, 0.4, 1.2, random, motion);
}

void add_tremor(double begin, double end, Random& random, WristMotion& motion) {
  add_waves(begin, end, 0.0002, 0.00001, 6.0, 10.0, random, motion);
  add_waves(begin, end, 0.004, 0.002, 0.15, 0.4, random, motion);
}

}  // namespace wgr
