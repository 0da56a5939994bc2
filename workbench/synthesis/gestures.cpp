#include "synthesis/gestures.h"

namespace wgr {

static constexpr double kUsualLength[kGestures] = {1.15, 1.00, 1.10, 1.05, 1.15};  // s

// What each repetition adds that is not the gesture, as shares of its size.
static constexpr double kStrayAngle = 0.08;      // rad
static constexpr double kStrayDistance = 0.012;  // m

static double jitter(double spread, Random& random) {
  return 1.0 + spread * random.uniform(-1.7, 1.7);
}

double gesture_length(int label, const Person& person, Random& random) {
  return kUsualLength[label] / person.pace * jitter(person.unevenness, random);
}

static void add_stray_movement(double begin, double end, double size, Random& random,
                               WristMotion& motion) {
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const double most = channel <= kRoll ? kStrayAngle : kStrayDistance;
    const double amount = size * random.uniform(-most, most);
    const double middle = begin + (end - begin) * random.uniform(0.35, 0.65);
    motion.add(static_cast<Channel>(channel), Shape::kBump, begin, end, amount);
    motion.add(static_cast<Channel>(channel), Shape::kBump, begin, middle, -0.3 * amount);
  }
}

void add_gesture(int label, double begin, double end, const Person& person,
                 Random& random, WristMotion& motion) {
  const double size = person.size * jitter(person.unevenness, random);
  const double elbow = size * person.elbow_share * jitter(person.unevenness, random);
  const double middle =
      begin + (end - begin) * 0.5 * jitter(0.5 * person.unevenness, random);
  switch (label) {
    case 0:
      motion.add(kYaw, Shape::kSine, begin, end, 0.26 * size, 2.0);
      motion.add(kElbowY, Shape::kSine, begin, end, 0.015 * elbow, 2.0);
      break;
    case 1:
      motion.add(kPitch, Shape::kBump, begin, end, 0.90 * size);
      motion.add(kElbowZ, Shape::kBump, begin, end, 0.08 * elbow);
      break;
    case 2:
      motion.add(kRoll, Shape::kBump, begin, middle, -1.40 * size);
      motion.add(kRoll, Shape::kBump, middle, end, -1.40 * size);
      motion.add(kElbowY, Shape::kBump, begin, middle, 0.020 * elbow);
      motion.add(kElbowY, Shape::kBump, middle, end, 0.020 * elbow);
      break;
    case 3:
      motion.add(kElbowX, Shape::kBump, begin, end, 0.28 * elbow);
      motion.add(kPitch, Shape::kBump, begin, end, -0.36 * size);
      break;
    case 4:
      motion.add(kYaw, Shape::kSine, begin, end, 0.28 * size);
      motion.add(kPitch, Shape::kCosine, begin, end, 0.56 * size);
      motion.add(kElbowY, Shape::kSine, begin, end, 0.04 * elbow);
      motion.add(kElbowZ, Shape::kCosine, begin, end, 0.08 * elbow);
      break;
    default:
      return;
  }
  add_stray_movement(begin, end, size, random, motion);
}

}  // namespace wgr
