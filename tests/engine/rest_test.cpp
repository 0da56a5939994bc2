#include "engine/rest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/quiet_engine.h"
#include "support/random_points.h"
#include "support/reference_rest.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
static constexpr double kInfinity = std::numeric_limits<double>::infinity();

static Samples still(int count, Point3Df value) {
  return Samples(static_cast<size_t>(count), value);
}

TEST(Rest, StatisticsAreTheMeansLengthAndTheScatterAroundIt) {
  const Samples samples = {{9, 9, 9}, {1, 2, 3}, {3, 2, 7}, {9, 9, 9}};
  const WindowStats stats = window_stats(samples, 1, 3);
  EXPECT_EQ(stats.mean_squared, 33.0);  // (2, 2, 5): 4 + 4 + 25
  EXPECT_EQ(stats.spread, 5.0);         // each 1 + 0 + 4 away
}

TEST(Rest, TheGravityBandIsOpenAtBothEnds) {
  const struct {
    double mean_squared;
    bool at_rest;
  } cases[] = {
      {96.04, false},  // 9.8 m/s²
      {98.0, false},      {std::nextafter(98.0, 99.0), true},
      {100.0, true},      {std::nextafter(110.0, 100.0), true},
      {110.0, false},     {kNaN, false},
      {kInfinity, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(acc_at_rest({c.mean_squared, 0.0}), c.at_rest) << c.mean_squared;
  }
}

TEST(Rest, TheAccelerationMustScatterLessThanItsBound) {
  EXPECT_TRUE(acc_at_rest({100.0, std::nextafter(0.22, 0.0)}));
  EXPECT_FALSE(acc_at_rest({100.0, 0.22}));
  EXPECT_FALSE(acc_at_rest({100.0, kNaN}));
}

TEST(Rest, TheGyroscopeRestsStrictlyBelowBothBounds) {
  EXPECT_TRUE(gyro_at_rest({std::nextafter(900.0, 0.0), std::nextafter(110.0, 0.0)}));
  EXPECT_FALSE(gyro_at_rest({900.0, 0.0}));
  EXPECT_FALSE(gyro_at_rest({0.0, 110.0}));
  EXPECT_FALSE(gyro_at_rest({kNaN, 0.0}));
  EXPECT_FALSE(gyro_at_rest({0.0, kNaN}));
}

// An engine that looks at `acc` and `gyro` as its histories.
static bool engine_rests(int mode, int window, const Samples& acc, const Samples& gyro) {
  static const std::unique_ptr<AgGes> engine = quiet_engine();
  engine->work_mode = mode;
  engine->static_window = window;
  engine->acc_history = acc;
  engine->gyro_history = gyro;
  return engine->is_static();
}

TEST(IsStatic, AHistoryShorterThanTheWindowIsRestWhateverItHolds) {
  EXPECT_TRUE(engine_rests(1, 10, still(9, {50, 50, 50}), {}));
  EXPECT_TRUE(engine_rests(2, 10, still(9, {kNaN, 0, 0}), still(9, {999, 0, 0})));
  EXPECT_TRUE(engine_rests(1, 10, {}, {}));
}

TEST(IsStatic, GravityOfExactly98IsMotionWithoutAGyroscope) {
  EXPECT_FALSE(engine_rests(1, 10, still(10, {0, 0, 9.8}), {}));
  EXPECT_TRUE(engine_rests(1, 10, still(10, {0, 0, 10.0}), {}));
}

TEST(IsStatic, AStillAccelerometerSufficesWhileTheGyroscopeSpins) {
  EXPECT_TRUE(engine_rests(2, 10, still(10, {0, 0, 10}), still(10, {0, 0, 100})));
}

// Swings by 3 m/s²: a scatter of 9.
static Samples swinging(int count) {
  Samples samples;
  for (int i = 0; i < count; ++i) samples.push_back({i % 2 == 0 ? 3.0 : -3.0, 0, 10});
  return samples;
}

TEST(IsStatic, AQuietGyroscopeSufficesWithTwoSensorsOnly) {
  const Samples quiet = still(10, {0, 0, 29});  // 841 < 900
  EXPECT_TRUE(engine_rests(2, 10, swinging(10), quiet));
  EXPECT_FALSE(engine_rests(1, 10, swinging(10), quiet));
}

TEST(IsStatic, TheWristMovesWhileBothSensorsDo) {
  EXPECT_FALSE(engine_rests(2, 10, swinging(10), still(10, {0, 0, 30})));
}

TEST(IsStatic, OnlyTheNewestSamplesCount) {
  Samples acc = still(5, {0, 0, 50});
  for (int i = 0; i < 10; ++i) acc.push_back({0, 0, 10});
  EXPECT_TRUE(engine_rests(1, 10, acc, {}));
  EXPECT_FALSE(engine_rests(1, 11, acc, {}));
}

TEST(IsStatic, AWindowOfZeroIsAlwaysMotion) {
  EXPECT_FALSE(engine_rests(1, 0, {}, {}));
  EXPECT_FALSE(engine_rests(2, 0, still(10, {0, 0, 10}), still(10, {0, 0, 0})));
}

TEST(IsStatic, ANegativeWindowIsAlwaysRest) {
  EXPECT_TRUE(engine_rests(1, -1, {}, {}));
  EXPECT_TRUE(engine_rests(2, -7, still(10, {0, 0, 99}), still(10, {0, 0, 999})));
}

TEST(IsStatic, AGyroscopeHistoryThatIsShorterLeavesTheDecisionToTheAccelerometer) {
  EXPECT_FALSE(engine_rests(2, 10, swinging(12), still(11, {0, 0, 0})));
  EXPECT_TRUE(engine_rests(2, 10, still(12, {0, 0, 10}), still(11, {0, 0, 999})));
}

TEST(IsStatic, ModesOtherThanOneUseBothSensors) {
  for (const int mode : {0, 2, 3, 4}) {
    EXPECT_TRUE(engine_rests(mode, 10, swinging(10), still(10, {0, 0, 0}))) << mode;
  }
}

TEST(IsStatic, ChangesNothing) {
  const auto engine = quiet_engine();
  feed(*engine, rest(12));
  const Samples acc = engine->acc_history;
  engine->is_static();
  EXPECT_TRUE(same_bits(engine->acc_history, acc));
  EXPECT_EQ(engine->static_history.size(), 12u);
}

TEST(IsStatic, AgreesWithTheLiteralVersion) {
  RandomPoints random(2201);
  int rests = 0;
  constexpr int kRounds = 6000;
  for (int round = 0; round < kRounds; ++round) {
    // Sizes around every bound, so that all four answers occur often.
    const double acc_size = 0.27 * random.uniform() + (random.integer(0, 3) == 0);
    const double gyro_size = 9.0 * random.uniform();
    const double level = 9.7 + random.uniform();
    const double rate = 40.0 * random.uniform();
    const auto kind = random.integer(0, 4) == 0 ? RandomPoints::Kind::kSpecials
                                                : RandomPoints::Kind::kGaussian;
    const int count = random.integer(0, 14);
    Samples acc, gyro;
    for (int i = 0; i < count; ++i) {
      acc.push_back(
          {acc_size * random.value(kind), acc_size * random.value(kind), level});
      gyro.push_back(
          {gyro_size * random.value(kind), rate, gyro_size * random.value(kind)});
    }
    if (random.integer(0, 5) == 0) gyro.resize(gyro.size() / 2);
    const int window = random.integer(-2, 12);
    const int mode = random.integer(0, 4);
    const bool expected = reference::is_static(mode, window, acc, gyro);
    ASSERT_EQ(engine_rests(mode, window, acc, gyro), expected) << "round " << round;
    rests += expected && window >= 0 && count >= window;
  }
  EXPECT_GT(rests, kRounds / 10);
}
