#include "engine/reconstruction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>

#include "support/cases.h"
#include "support/quiet_engine.h"
#include "support/random_points.h"
#include "support/reference_reconstruction.h"
#include "support/same_bits.h"

using namespace wgr;

namespace {
struct Reconstructed {
  Points trace, velocity, position;
};
}  // namespace

static Reconstructed reconstructed(Points trace, int sample_rate) {
  Reconstructed result;
  result.trace = std::move(trace);
  // Old results must go.
  result.velocity.assign(3, {9, 9, 9});
  result.position.assign(3, {9, 9, 9});
  reconstruct(result.trace, sample_rate, result.velocity, result.position);
  return result;
}

static Points along_x(std::initializer_list<double> values) {
  Points points;
  for (const double x : values) points.push_back({x, 0, 0});
  return points;
}

static void expect_empty(const Reconstructed& result) {
  EXPECT_TRUE(result.trace.empty());
  EXPECT_TRUE(result.velocity.empty());
  EXPECT_TRUE(result.position.empty());
}

// At one sample a second and with steps of one second, every figure is exact:
// accelerations 0 0 2 2 -2 -2 0 0, their neighbours' half sums 0 1 2 0 -2 -1 0, so
// speeds 0 1 3 3 1 0 0 with squares 0 1 9 9 1 0 0. Their mean is 20 / 7 and a tenth of
// it 0.29: steps 1 to 4 are fast.
TEST(Reconstruction, KeepsTheStretchFromTheFirstToTheLastFastStep) {
  const Reconstructed result = reconstructed(along_x({0, 0, 2, 2, -2, -2, 0, 0}), 1);
  EXPECT_TRUE(same_bits(result.velocity, along_x({1, 3, 3, 1})));
  // The acceleration is the one before the sample that a step starts from.
  EXPECT_TRUE(same_bits(result.trace, along_x({0, 0, 2, 2})));
}

// Displacements, times six: step i adds 2 * a[i + 1] + a[i] and six times the speed
// before the step. 4; 6 + 6; -2 + 18; -6 + 18 after a first step of 0.
TEST(Reconstruction, TheLaterSampleWeighsDoubleInTheDisplacement) {
  const Reconstructed result = reconstructed(along_x({0, 0, 2, 2, -2, -2, 0, 0}), 1);
  ASSERT_EQ(result.position.size(), 4u);
  const double times_six[] = {4, 16, 32, 44};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(result.position[i].x, times_six[i] / 6.0, 1e-15) << i;
  }
}

// A slow middle does not split the stretch.
TEST(Reconstruction, ASlowStepBetweenFastOnesIsKept) {
  const Reconstructed result =
      reconstructed(along_x({0, 0, 2, -2, 0, 0, 0, 2, -2, 0, 0}), 1);
  // Speeds 0 1 1 0 0 0 1 1 0 0.
  EXPECT_TRUE(same_bits(result.velocity, along_x({1, 1, 0, 0, 0, 1, 1})));
}

TEST(Reconstruction, AFirstStepThatIsFastLeavesNothing) {
  expect_empty(reconstructed(along_x({2, 2, 2, -4, -2, 0, 0, 0}), 1));
}

TEST(Reconstruction, ALastStepThatIsFastLeavesNothing) {
  expect_empty(reconstructed(along_x({0, 0, 0, 2, 2, 2, 2}), 1));
}

TEST(Reconstruction, OnePointOrTwoLeaveNothing) {
  expect_empty(reconstructed(along_x({1}), 50));
  expect_empty(reconstructed(along_x({0, 1}), 50));
  expect_empty(reconstructed(along_x({0, 0}), 50));
}

// All speeds are zero and so is their bound: zero is not below it.
TEST(Reconstruction, NoMotionAtAllLeavesNothing) {
  expect_empty(reconstructed(Points(40, Point3Df{0, 0, 0}), 50));
}

TEST(Reconstruction, ASpeedThatIsNotANumberCountsAsFast) {
  Points trace = along_x({0, 0, 2, 2, -2, -2, 0, 0});
  trace[3].y = std::numeric_limits<double>::quiet_NaN();
  expect_empty(reconstructed(trace, 1));
}

// Each speed is finite and below the bound, which is not.
TEST(Reconstruction, WhereOnlyTheSumOfSpeedsIsInfiniteNoStepIsFast) {
  Kinematics motion;
  motion.squared_speed = {1e308, 1e308, 1e308};
  motion.sum_of_squared_speeds = std::numeric_limits<double>::infinity();
  const FastSteps fast = fast_steps_of(motion);
  EXPECT_FALSE(fast.starts_fast || fast.ends_fast);
  EXPECT_EQ(fast.active.begin, 3u);
  EXPECT_EQ(fast.active.end, 3u);
  // Speeds 0, 1.1e154, 1.1e154, 0 and 0 m/s.
  expect_empty(reconstructed(along_x({0, 0, 2.2e154, -2.2e154, 0, 0}), 1));
}

TEST(Reconstruction, AnEmptyTraceIsRefusedAsTooLargeToAllocate) {
  const auto engine = quiet_engine();
  EXPECT_THROW(engine->trace_reconstruction(), std::bad_alloc);
}

// 0.019999999552965164 s, the float nearest to 1/50.
TEST(Reconstruction, TheStepAtFiftyPerSecondIsTheSinglePrecisionOne) {
  const Reconstructed result = reconstructed(along_x({0, 0, 2, 2, -2, -2, 0, 0}), 50);
  ASSERT_EQ(result.velocity.size(), 4u);
  EXPECT_EQ(result.velocity[0].x, 0.019999999552965164);
  EXPECT_NE(result.velocity[0].x, 0.02);
}

TEST(Reconstruction, TheEngineHandsItsOwnFieldsOver) {
  const auto engine = quiet_engine();
  engine->sample_rate = 1;
  engine->trace = along_x({0, 0, 2, 2, -2, -2, 0, 0});
  engine->trace_reconstruction();
  EXPECT_TRUE(same_bits(engine->trace, along_x({0, 0, 2, 2})));
  EXPECT_TRUE(same_bits(engine->trace_velocity, along_x({1, 3, 3, 1})));
  EXPECT_EQ(engine->trace_position.size(), 4u);
}

TEST(ReconstructionLiteral, AgreesToTheBit) {
  RandomPoints random(3301);
  int kept = 0;
  for (int round = 0; round < affordable(20000); ++round) {
    const auto kind = kEveryKind[round % 3];
    Points trace = random.trace(random.integer(1, 50), kind);
    // Quiet ends, on most rounds, so that a stretch remains.
    const int shape = random.integer(0, 3);
    const size_t quiet = static_cast<size_t>(random.integer(1, 4));
    for (size_t i = 0; shape != 0 && i < quiet && i < trace.size(); ++i) {
      trace[i] = {0, 0, 0};
    }
    if (shape == 3 && trace.size() > 12) {
      // The second half takes the first one's speed back.
      for (size_t i = 0; i < trace.size() / 2; ++i) {
        trace[trace.size() - 1 - i] = -1.0 * trace[i];
      }
    }
    const int rates[] = {50, 50, 1, 100, 0, -20};
    const int rate = rates[random.integer(0, 5)];

    Points expected = trace, velocity, position;
    reference::reconstruct(rate, expected, velocity, position);
    const Reconstructed result = reconstructed(trace, rate);
    ASSERT_TRUE(same_bits(result.trace, expected)) << "round " << round;
    ASSERT_TRUE(same_bits(result.velocity, velocity)) << "round " << round;
    ASSERT_TRUE(same_bits(result.position, position)) << "round " << round;
    kept += !expected.empty();
  }
  EXPECT_GT(kept, affordable(1500));
}
