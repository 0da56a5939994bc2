// From a wrist's movement to what its watch reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/orientation.h"
#include "engine/rest.h"
#include "engine/rotation.h"
#include "support/same_bits.h"
#include "synthesis/kinematics.h"
#include "synthesis/performance.h"
#include "synthesis/trigonometry.h"

using namespace wgr;

static constexpr double kPi = 3.141592653589793;
static constexpr Point3Df kLever = {0.24, 0.0, 0.045};

// A wrist that has come to its place long ago.
static WristMotion still(double yaw, double pitch, double roll) {
  WristMotion motion;
  motion.add(kYaw, Shape::kStep, -2.0, -1.0, yaw);
  motion.add(kPitch, Shape::kStep, -2.0, -1.0, pitch);
  motion.add(kRoll, Shape::kStep, -2.0, -1.0, roll);
  return motion;
}

TEST(SynthTrigonometry, AgreesWithTheMathematicalLibrary) {
  for (int i = -40000; i <= 40000; ++i) {
    const double x = i * 0.013;
    ASSERT_NEAR(sine(x), std::sin(x), 1e-12) << x;
    ASSERT_NEAR(cosine(x), std::cos(x), 1e-12) << x;
  }
  EXPECT_EQ(sine(0.0), 0.0);
  EXPECT_EQ(cosine(0.0), 1.0);
}

TEST(SynthKinematics, AtRestTheAccelerometerReadsGravityUpwards) {
  const struct {
    double yaw, pitch, roll;
    Point3Df up;  // in the watch's frame
  } cases[] = {
      {0.0, 0.0, 0.0, {0.0, 0.0, 1.0}},           // face up
      {1.3, 0.0, 0.0, {0.0, 0.0, 1.0}},           // wherever it points
      {0.0, kPi / 2, 0.0, {1.0, 0.0, 0.0}},       // fingers up
      {0.0, -kPi / 2, 0.0, {-1.0, 0.0, 0.0}},     // arm hanging
      {0.0, 0.0, kPi / 2, {0.0, 1.0, 0.0}},       // little finger's side up
      {0.7, kPi / 6, 0.0, {0.5, 0.0, 0.8660254}}  // forearm raised by 30 degrees
  };
  for (const auto& c : cases) {
    const Reading reading = ideal_reading(still(c.yaw, c.pitch, c.roll), kLever, 1.0);
    EXPECT_NEAR(reading.acc.x, 9.81 * c.up.x, 1e-6);
    EXPECT_NEAR(reading.acc.y, 9.81 * c.up.y, 1e-6);
    EXPECT_NEAR(reading.acc.z, 9.81 * c.up.z, 1e-6);
    EXPECT_EQ(reading.gyro.x, 0.0);
    EXPECT_EQ(reading.gyro.y, 0.0);
    EXPECT_EQ(reading.gyro.z, 0.0);
  }
}

TEST(SynthKinematics, ASensorReadsGainTimesTruthPlusBias) {
  Sensors sensors = {1.03, {0.1, -0.2, 0.3}, 0.0, 0.99, {1.0, 2.0, -3.0}, 0.0};
  Random random(1);
  const Reading reading = sensed({{1.0, 2.0, 3.0}, {10.0, 20.0, 30.0}}, sensors, random);
  EXPECT_DOUBLE_EQ(reading.acc.x, 1.13);
  EXPECT_DOUBLE_EQ(reading.acc.y, 1.86);
  EXPECT_DOUBLE_EQ(reading.acc.z, 3.39);
  EXPECT_DOUBLE_EQ(reading.gyro.x, 10.9);
  EXPECT_DOUBLE_EQ(reading.gyro.y, 21.8);
  EXPECT_DOUBLE_EQ(reading.gyro.z, 26.7);
}

// In the middle of a step of 1 rad in 1 s the forearm turns at 1.875 rad/s without
// angular acceleration: what remains is the pull towards the elbow, rate² times radius.
TEST(SynthKinematics, ATurningForearmPullsTheWatchTowardsTheElbow) {
  WristMotion motion;
  motion.add(kYaw, Shape::kStep, 0.0, 1.0, 1.0);
  const Reading reading = ideal_reading(motion, {0.24, 0.0, 0.0}, 0.5);
  EXPECT_NEAR(reading.acc.x, -1.875 * 1.875 * 0.24, 1e-4);
  EXPECT_NEAR(reading.acc.y, 0.0, 1e-4);
  EXPECT_NEAR(reading.acc.z, 9.81, 1e-6);
  EXPECT_NEAR(reading.gyro.z, 1.875 * 180.0 / kPi, 1e-3);
}

// 64 u³(1-u)³ has the second derivative -24 at its top.
TEST(SynthKinematics, APushedElbowIsFeltAlongItsWay) {
  WristMotion motion;
  motion.add(kElbowX, Shape::kBump, 0.0, 1.0, 0.2);
  const Reading reading = ideal_reading(motion, kLever, 0.5);
  EXPECT_NEAR(reading.acc.x, -0.2 * 24.0, 1e-3);
  EXPECT_NEAR(reading.acc.z, 9.81, 1e-6);
  EXPECT_NEAR(reading.gyro.x, 0.0, 1e-9);
}

TEST(SynthKinematics, TheRatesAddUpToTheRotation) {
  WristMotion motion = still(0.2, -0.4, 0.3);
  motion.add(kYaw, Shape::kBump, 0.0, 1.0, 0.8);
  motion.add(kPitch, Shape::kStep, 0.0, 0.9, 1.1);
  motion.add(kRoll, Shape::kSine, 0.1, 1.0, 0.9, 2.0);
  motion.sort();

  constexpr int kRate = 2000;
  const Attitude start = attitude(motion.at(0.0));
  double turned[9];
  std::copy_n(start.m, 9, turned);
  for (int i = 0; i < kRate; ++i) {
    // The rate in the middle of each step leads over it.
    const Reading reading = ideal_reading(motion, kLever, (i + 0.5) / kRate);
    const double radians = kPi / 180.0 / kRate;
    const Point3Df w = {radians * reading.gyro.x, radians * reading.gyro.y,
                        radians * reading.gyro.z};
    double step[9];
    double next[9];
    rotation_matrix(w, step);
    mmmultiply(turned, step, next, 3, 3, 3, 0.0);
    std::copy_n(next, 9, turned);
  }
  const Attitude end = attitude(motion.at(1.0));
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(turned[i], end.m[i], 1e-4) << i;
}

// The engine's own orientation takes gravity out of a turn in place.
TEST(SynthKinematics, TheEngineFindsNoMotionInATurnInPlace) {
  WristMotion motion = still(0.0, 0.1, -0.3);
  motion.add(kRoll, Shape::kBump, 0.0, 1.0, -1.4);
  motion.sort();
  Samples acc;
  Samples gyro;
  for (int i = 0; i <= 200; ++i) {
    const Reading reading = ideal_reading(motion, {0.0, 0.0, 0.0}, 0.005 * i);
    acc.push_back(reading.acc);
    gyro.push_back(reading.gyro);
  }
  gyro.front() = {0.0, 1e-3, 0.0};  // no rate of exactly zero at the start
  Points trace;
  const Point3Df gravity = orient(acc, gyro, 200, trace);
  EXPECT_NEAR(std::sqrt(squared_length(gravity)), 9.81, 0.01);
  for (const Point3Df& p : trace) EXPECT_LT(std::sqrt(squared_length(p)), 0.25);
}

TEST(SynthKinematics, AMirrorChangesOneAxisOfThePushAndTwoOfTheTurn) {
  const Reading m = mirrored({{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}});
  EXPECT_EQ(m.acc.x, -1.0);
  EXPECT_EQ(m.acc.y, 2.0);
  EXPECT_EQ(m.acc.z, 3.0);
  EXPECT_EQ(m.gyro.x, 4.0);
  EXPECT_EQ(m.gyro.y, -5.0);
  EXPECT_EQ(m.gyro.z, -6.0);
}

static const Plan kShortPlan = {{0.0, 2.0, Activity::kRest},
                                {2.0, 3.1, Activity::kCircle},
                                {3.1, 5.0, Activity::kRest},
                                {5.0, 9.0, Activity::kReach}};

TEST(SynthRecording, TheRightWristIsTheExactMirrorImageOfTheLeft) {
  const Person person = make_person(9, Style::kFree);
  const auto left = record(kShortPlan, person, {0, 50}, Random(4));
  const auto right = record(kShortPlan, person, {1, 50}, Random(4));
  ASSERT_EQ(left.size(), right.size());
  for (size_t i = 0; i < left.size(); ++i) {
    EXPECT_EQ(left[i].t, right[i].t);
    EXPECT_EQ(left[i].acc.x, -right[i].acc.x);
    EXPECT_EQ(left[i].acc.y, right[i].acc.y);
    EXPECT_EQ(left[i].acc.z, right[i].acc.z);
    EXPECT_EQ(left[i].gyro.x, right[i].gyro.x);
    EXPECT_EQ(left[i].gyro.y, -right[i].gyro.y);
    EXPECT_EQ(left[i].gyro.z, -right[i].gyro.z);
  }
}

TEST(SynthRecording, AnotherRateSamplesTheSameMovement) {
  Person person = make_person(3, Style::kCalm);
  person.sensors.acc_noise = 0.0;
  person.sensors.gyro_noise = 0.0;
  const auto slow = record(kShortPlan, person, {0, 50}, Random(4));
  const auto quick = record(kShortPlan, person, {0, 100}, Random(4));
  ASSERT_EQ(slow.size(), 450u);
  ASSERT_EQ(quick.size(), 900u);
  for (size_t i = 0; i < slow.size(); ++i) {
    EXPECT_EQ(slow[i].t, quick[2 * i].t);
    EXPECT_EQ(slow[i].acc.x, quick[2 * i].acc.x);
    EXPECT_EQ(slow[i].gyro.z, quick[2 * i].gyro.z);
  }
}

TEST(SynthRecording, EveryonesWatchRestsWhereTheRestTestLooksForIt) {
  const Plan plan = {{0.0, 6.0, Activity::kRest}};
  for (int number = 1; number <= 60; ++number) {
    const Person person = make_person(number, Style::kFree);
    Samples acc;
    Samples gyro;
    for (const RecordedSample& sample : record(plan, person, {0, 50}, Random(8))) {
      if (sample.t < 3.0) continue;  // the arm is on its way
      acc.push_back(sample.acc);
      gyro.push_back(sample.gyro);
    }
    EXPECT_TRUE(acc_at_rest(window_stats(acc, 0, acc.size()))) << "person " << number;
    EXPECT_TRUE(gyro_at_rest(window_stats(gyro, 0, gyro.size()))) << "person " << number;
  }
}
