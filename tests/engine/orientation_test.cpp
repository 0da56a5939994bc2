#include "engine/orientation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/quiet_engine.h"
#include "support/random_points.h"
#include "support/reference_rotation.h"
#include "support/same_bits.h"

using namespace wgr;

static Samples queue(const Points& points) {
  return Samples(points.begin(), points.end());
}

TEST(AccCorrect, WithoutAGyroscopeTheMotionIsItsOwnTraceAndGravityIsZero) {
  const auto engine = quiet_engine();
  engine->motion_acc = {{1, 2, 3}, {4, 5, 6}};
  const Points copied = {{1, 2, 3}, {4, 5, 6}};

  engine->work_mode = 1;
  engine->motion_gyro = {{7, 8, 9}, {1, 1, 1}};
  engine->gravity = {1, 1, 1};
  engine->acc_correct();
  EXPECT_TRUE(same_bits(engine->trace, copied));
  EXPECT_TRUE(same_bits(engine->gravity, Point3Df{0, 0, 0}));

  engine->work_mode = 2;
  engine->motion_gyro.clear();
  engine->gravity = {1, 1, 1};
  engine->trace.assign(9, {5, 5, 5});
  engine->acc_correct();
  EXPECT_TRUE(same_bits(engine->trace, copied));
  EXPECT_TRUE(same_bits(engine->gravity, Point3Df{0, 0, 0}));
}

TEST(AccCorrect, LeavesTheMotionAsItIs) {
  const auto engine = quiet_engine();
  const Samples acc = {{1, 2, 3}, {4, 5, 6}};
  const Samples gyro = {{7, 8, 9}, {3, 2, 1}};
  engine->motion_acc = acc;
  engine->motion_gyro = gyro;
  engine->acc_correct();
  EXPECT_TRUE(same_bits(engine->motion_acc, acc));
  EXPECT_TRUE(same_bits(engine->motion_gyro, gyro));
}

TEST(AccCorrect, RatesOfExactlyZeroMakeEverythingNotANumber) {
  const auto engine = quiet_engine();
  engine->motion_acc = {{0, 0, 10}, {1, 0, 10}, {2, 0, 10}};
  engine->motion_gyro.assign(3, {0, 0, 0});
  engine->acc_correct();
  ASSERT_EQ(engine->trace.size(), 3u);
  for (const Point3Df& p : engine->trace) {
    EXPECT_TRUE(std::isnan(p.x) && std::isnan(p.y) && std::isnan(p.z));
  }
  EXPECT_TRUE(std::isnan(engine->gravity.z));
}

TEST(AccCorrect, WithRatesButNoAccelerationsGravityIsNotANumber) {
  const auto engine = quiet_engine();
  engine->motion_gyro = {{1, 2, 3}};
  engine->trace.assign(4, {1, 1, 1});
  engine->acc_correct();
  EXPECT_TRUE(engine->trace.empty());
  EXPECT_TRUE(std::isnan(engine->gravity.x) && std::isnan(engine->gravity.y) &&
              std::isnan(engine->gravity.z));
}

TEST(AccCorrect, AConstantAccelerationInASlowTurnLeavesGravityAndATraceOfMeanZero) {
  const auto engine = quiet_engine();
  engine->motion_acc.assign(40, {0, 0, 10});
  engine->motion_gyro.assign(40, {0.5, 0.25, -0.5});
  engine->acc_correct();
  Point3Df sum = {0, 0, 0};
  for (const Point3Df& p : engine->trace) sum = sum + p;
  EXPECT_NEAR(sum.x, 0.0, 1e-10);
  EXPECT_NEAR(sum.y, 0.0, 1e-10);
  EXPECT_NEAR(sum.z, 0.0, 1e-10);
  EXPECT_NEAR(engine->gravity.z, 10.0, 1e-3);
}

// One turn of 90 degrees in one sample: the mean attitude is that turn itself, so the
// sample, rotated by the inverse mean and the turn, stays where it is.
TEST(Orientation, TheTurnComesBeforeTheSampleThatItLeadsTo) {
  Points trace;
  const Point3Df gravity = orient({{1, 2, 3}}, {{0, 0, 90.0 * 50}}, 50, trace);
  EXPECT_NEAR(gravity.x, 1.0, 1e-14);
  EXPECT_NEAR(gravity.y, 2.0, 1e-14);
  EXPECT_NEAR(gravity.z, 3.0, 1e-14);
}

// Attitudes of 30 and 90 degrees about z have their mean at 60: the first sample turns
// back by 30, the second on by 30.
TEST(Orientation, TheTraceIsInTheMeanFrame) {
  Points trace;
  const Point3Df gravity =
      orient({{1, 0, 0}, {1, 0, 0}}, {{0, 0, 1500}, {0, 0, 3000}}, 50, trace);
  EXPECT_NEAR(gravity.x, std::sqrt(0.75), 1e-14);
  EXPECT_NEAR(gravity.y, 0.0, 1e-14);
  EXPECT_NEAR(trace[0].y, -0.5, 1e-14);
  EXPECT_NEAR(trace[1].y, 0.5, 1e-14);
}

TEST(Orientation, AMissingRateCountsAsZero) {
  const Samples acc = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  Points trace, expected;
  Point3Df gravity;
  const Point3Df mean = orient(acc, {{10, 20, 30}}, 50, trace);
  reference::correct(2, 50, acc, {{10, 20, 30}}, expected, gravity);
  EXPECT_TRUE(same_bits(trace, expected));
  EXPECT_TRUE(same_bits(mean, gravity));
  EXPECT_FALSE(std::isnan(mean.x));
}

TEST(OrientationLiteral, TraceAndGravityAgreeToTheBit) {
  RandomPoints random(3201);
  const auto engine = quiet_engine();
  int numbers = 0;
  for (int round = 0; round < 4000; ++round) {
    const auto kind = kEveryKind[round % 3];
    const int length = random.integer(0, 40);
    const int rates = random.integer(0, 9) == 0 ? random.integer(0, 45) : length;
    engine->work_mode = random.integer(0, 3);
    engine->sample_rate = random.integer(0, 7) == 0 ? random.integer(-3, 200) : 50;
    engine->motion_acc = queue(random.trace(length, kind));
    engine->motion_gyro = queue(random.trace(rates, kind));
    const double scale = std::pow(10.0, random.integer(-2, 3));
    for (Point3Df& rate : engine->motion_gyro) rate = scale * rate;

    Points expected;
    Point3Df gravity;
    reference::correct(engine->work_mode, engine->sample_rate, engine->motion_acc,
                       engine->motion_gyro, expected, gravity);
    engine->acc_correct();
    ASSERT_TRUE(same_bits(engine->trace, expected)) << "round " << round;
    ASSERT_TRUE(same_bits(engine->gravity, gravity)) << "round " << round;
    numbers += length > 0 && engine->work_mode != 1 && !std::isnan(gravity.x);
  }
  EXPECT_GT(numbers, 1000);
}
