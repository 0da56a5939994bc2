#include "dtw/similarity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "dtw/batched_dtw.h"
#include "support/random_points.h"
#include "support/reference_similarity.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Points on the x axis, all at the same height y.
static Points on_x(std::initializer_list<double> xs, double y = 0.0) {
  Points points;
  for (const double x : xs) points.push_back({x, y, 0.0});
  return points;
}

static Points with(Points points, const Point3Df& gravity) {
  points.push_back(gravity);
  return points;
}

TEST(ScaleToUnitRms, ScalesTheMotionAndKeepsTheGravityPoint) {
  // All of length 3.
  Points trace = {{3, 0, 0}, {0, -3, 0}, {0, 0, 3}, {2, 2, -1}, {0, 9.8, 1}};
  EXPECT_DOUBLE_EQ(scale_to_unit_rms(trace, 1), 3.0);
  for (size_t i = 0; i < 4; ++i)
    EXPECT_DOUBLE_EQ(squared_length(trace[i]), 1.0) << "point " << i;
  EXPECT_TRUE(same_bits(trace[4], {0, 9.8, 1}));
}

TEST(ScaleToUnitRms, TakesTheMeanOfTheSquaresAndNotOfTheLengths) {
  Points trace = on_x({1, 7});  // mean square (1 + 49) / 2 = 25
  EXPECT_EQ(scale_to_unit_rms(trace, 0), 5.0);
  EXPECT_TRUE(same_bits(trace, on_x({0.2, 7 * 0.2})));
}

// 3 * (1 / 5) is not 3 / 5.
TEST(ScaleToUnitRms, MultipliesByTheReciprocal) {
  Points trace = {{3, 4, 0}};
  EXPECT_EQ(scale_to_unit_rms(trace, 0), 5.0);
  EXPECT_EQ(trace[0].x, 0.6000000000000001);
}

TEST(ScaleToUnitRms, AnswersTheReciprocalOfTheFactor) {
  Points trace = on_x({49});
  ASSERT_NE(1.0 / (1.0 / 49.0), 49.0);
  EXPECT_EQ(scale_to_unit_rms(trace, 0), 1.0 / (1.0 / 49.0));
}

TEST(ScaleToUnitRms, AnswersNanWithoutMotionAndMinusZeroBelowThat) {
  Points none;
  EXPECT_TRUE(std::isnan(scale_to_unit_rms(none, 0)));
  Points gravity = {{0, 9.8, 0}};
  EXPECT_TRUE(std::isnan(scale_to_unit_rms(gravity, 1)));
  EXPECT_TRUE(same_bits(gravity[0], {0, 9.8, 0}));

  EXPECT_TRUE(same_bits(scale_to_unit_rms(none, 1), -0.0));
  EXPECT_TRUE(same_bits(scale_to_unit_rms(gravity, 3), -0.0));
  EXPECT_TRUE(same_bits(gravity[0], {0, 9.8, 0}));
}

// The factor is infinite, and 0 times it no number.
TEST(ScaleToUnitRms, TurnsAMotionOfZerosIntoNan) {
  Points trace = {{0, 0, 0}, {0, 0, 0}};
  EXPECT_TRUE(same_bits(scale_to_unit_rms(trace, 0), 0.0));
  EXPECT_TRUE(std::isnan(trace[0].x) && std::isnan(trace[1].z));
}

// As a model file may ask for: the mean is taken over more points than there are.
TEST(ScaleToUnitRms, TouchesNoPointBeyondTheTraceForANegativeK) {
  Points trace = {{3, 0, 0}};
  EXPECT_EQ(scale_to_unit_rms(trace, -8), 1.0);  // sqrt(9 / 9)
  EXPECT_TRUE(same_bits(trace, Points{{3, 0, 0}}));

  trace = {{6, 0, 0}, {0, 8, 0}};
  EXPECT_EQ(scale_to_unit_rms(trace, -2), 5.0);  // sqrt(100 / 4)
  EXPECT_TRUE(same_bits(trace, Points{{6 * 0.2, 0, 0}, {0, 8 * 0.2, 0}}));
  Points reference_trace = {{6, 0, 0}, {0, 8, 0}};
  EXPECT_EQ(reference::normalize(reference_trace, -2), 5.0);
  EXPECT_TRUE(same_bits(trace, reference_trace));
}

TEST(ScaleToUnitRms, GivesTheBitsOfTheLiteralVersion) {
  for (const RandomPoints::Kind kind : kEveryKind) {
    for (std::uint64_t seed = 1; seed <= 1500; ++seed) {
      RandomPoints random(seed);
      const int k = random.integer(0, 1);
      Points trace = random.trace(random.integer(0, 60), kind);
      Points expected = trace;
      const double expected_rms = reference::normalize(expected, k);
      const double rms = scale_to_unit_rms(trace, k);
      ASSERT_TRUE(same_bits(rms, expected_rms) && same_bits(trace, expected))
          << "kind " << static_cast<int>(kind) << ", seed " << seed << ", k " << k << ": "
          << rms << " for " << expected_rms;
    }
  }
}

TEST(DtwSimilarity, IsMinusZeroForIdenticalTraces) {
  for (int n = 2; n <= 12; ++n) {
    const Points trace = RandomPoints(1).trace(n, RandomPoints::Kind::kGaussian);
    EXPECT_TRUE(same_bits(dtw_similarity(trace, trace, 0), -0.0f)) << "n = " << n;
  }
}

// n points of x = 0 against n of x = 1: every cell costs 1, the diagonal wins, and
// its n cells cost n. The length is 2n - 1 less the n - 2 diagonal steps that do not
// leave the first cell: n + 1.
TEST(DtwSimilarity, DoesNotCountTheDiagonalStepOutOfTheFirstCell) {
  for (int n = 2; n <= 8; ++n) {
    const Points zeros(static_cast<size_t>(n), Point3Df{0, 0, 0});
    const Points ones(static_cast<size_t>(n), Point3Df{1, 0, 0});
    EXPECT_EQ(dtw_similarity(zeros, ones, 0), static_cast<float>(-n / (n + 1.0)))
        << "n = " << n;
  }
}

// Every cell costs 1 for the height, and a[2] against b[0] 2. Costs of the rows:
// 1 2 4 and 3 3 3; the path is (2,1), (1,0), a diagonal step into the first row that
// does count: 3 over a length of 4 - 1.
TEST(DtwSimilarity, CountsADiagonalStepIntoTheFirstRow) {
  EXPECT_EQ(dtw_similarity(on_x({0, 0, 1}), on_x({0, 1}, 1.0), 0), -1.0f);
}

// The same, turned.
TEST(DtwSimilarity, CountsADiagonalStepIntoTheFirstColumn) {
  EXPECT_EQ(dtw_similarity(on_x({0, 1}, 1.0), on_x({0, 0, 1}), 0), -1.0f);
}

TEST(DtwSimilarity, OfOnePointEachIsMinusTheirSquaredDistance) {
  const Points a = {{1, -2, 3}};
  EXPECT_EQ(dtw_similarity(a, {{3, -2, 3}}, 0), -4.0f);
  EXPECT_EQ(dtw_similarity(a, {{1, 1, 3}}, 0), -9.0f);
  EXPECT_EQ(dtw_similarity(a, {{1, -2, -2}}, 0), -25.0f);
  EXPECT_EQ(dtw_similarity(a, {{3, 1, -2}}, 0), -38.0f);
}

// A single point is paired with every point of the other: (0 + 1 + 4) / 3.
TEST(DtwSimilarity, OfOnePointWithManyIsMinusTheMean) {
  const float expected = static_cast<float>(-5.0 / 3.0);
  EXPECT_EQ(dtw_similarity(on_x({0}), on_x({0, 1, 2}), 0), expected);
  EXPECT_EQ(dtw_similarity(on_x({0, 1, 2}), on_x({0}), 0), expected);
}

// Every cell costs 1. Into the last cell, the cell above and the diagonal cost 2
// each, and the one to the left 3: by the diagonal to (0,1) the length is 4 - 1; by
// (1,1), whose own diagonal step does not count, it would be 4.
TEST(DtwSimilarity, LetsTheDiagonalWinATieWithUp) {
  EXPECT_EQ(dtw_similarity(on_x({0, 0}), on_x({0, 0, 0}, 1.0), 0), -1.0f);
}

TEST(DtwSimilarity, LetsTheDiagonalWinATieWithLeft) {
  EXPECT_EQ(dtw_similarity(on_x({0, 0, 0}), on_x({0, 0}, 1.0), 0), -1.0f);
}

// Costs, b downwards:
//   0  4  4
//   0  4  4
//   1  1  2
//   1  5  1
//   5  1  5   up = left = 1 and diagonal = 5: left, then the diagonal into the first
//             column: 5 over 7 - 1. Going up, it would meet two diagonal steps: 5 / 5.
TEST(DtwSimilarity, LetsLeftWinATieWithUp) {
  EXPECT_EQ(dtw_similarity(on_x({0, 2, 0}), on_x({0, 0, 1, 0, 2}), 0),
            static_cast<float>(-5.0 / 6.0));
}

// The same pair turned: what was left is now up.
TEST(DtwSimilarity, MayDependOnTheOrderOfTheTraces) {
  EXPECT_EQ(dtw_similarity(on_x({0, 0, 1, 0, 2}), on_x({0, 2, 0}), 0), -1.0f);
}

TEST(DtwSimilarity, AddsTheSquaredDistanceOfTheGravityDirections) {
  const Points motion = on_x({1, 2, 5, 3});
  const Points a = with(motion, {0, 0, 2});
  EXPECT_TRUE(same_bits(dtw_similarity(a, with(motion, {0, 0, 8}), 1), -0.0f));
  EXPECT_EQ(dtw_similarity(a, with(motion, {0, 0, -8}), 1), -4.0f);  // opposite
  EXPECT_EQ(dtw_similarity(a, with(motion, {0, 4, 0}), 1), -2.0f);   // at right angles
  EXPECT_EQ(dtw_similarity(a, with(motion, {16, 0, 0}), 1), -2.0f);
}

// Apart by 1 in each of 2 points (length 3), and opposite in gravity.
TEST(DtwSimilarity, KeepsTheGravityTermOutOfTheMean) {
  EXPECT_EQ(
      dtw_similarity(with(on_x({0, 0}), {0, 1, 0}), with(on_x({1, 1}), {0, -1, 0}), 1),
      -static_cast<float>(2.0 / 3.0 + 4.0));
}

TEST(DtwSimilarity, TakesTheFirstOfSeveralTrailingPointsAsGravity) {
  const Points a = {{1, 0, 0}, {0, 1, 0}, {5, 5, 5}};
  const Points b = {{1, 0, 0}, {0, -1, 0}, {0, 0, 7}};
  EXPECT_EQ(dtw_similarity(a, b, 2), -4.0f);
}

TEST(DtwSimilarity, IsNanForAGravityOfNoLength) {
  const Points motion = on_x({1, 2});
  EXPECT_TRUE(
      std::isnan(dtw_similarity(with(motion, {0, 0, 0}), with(motion, {0, 0, 1}), 1)));
  EXPECT_TRUE(
      std::isnan(dtw_similarity(with(motion, {0, 0, 1}), with(motion, {0, 0, 0}), 1)));
}

TEST(DtwSimilarity, IsMinusInfinityForATraceWithoutMotionOrANegativeK) {
  const Points none;
  const Points one = {{1, 0, 0}};
  const Points two = {{1, 0, 0}, {0, 1, 0}};
  EXPECT_EQ(dtw_similarity(none, two, 0), -kInfinity);
  EXPECT_EQ(dtw_similarity(two, none, 0), -kInfinity);
  EXPECT_EQ(dtw_similarity(none, none, 0), -kInfinity);
  EXPECT_EQ(dtw_similarity(one, two, 1), -kInfinity);
  EXPECT_EQ(dtw_similarity(two, one, 1), -kInfinity);
  EXPECT_EQ(dtw_similarity(two, two, 5), -kInfinity);
  EXPECT_EQ(dtw_similarity(two, two, std::numeric_limits<int>::max()), -kInfinity);
  EXPECT_EQ(dtw_similarity(two, two, -1), -kInfinity);
  EXPECT_EQ(dtw_similarity(two, two, std::numeric_limits<int>::min()), -kInfinity);
}

TEST(DtwSimilarity, IsMinusInfinityBeyondTheRangeOfFloat) {
  EXPECT_EQ(dtw_similarity(on_x({0, 0}), on_x({1e30, 1e30}), 0), -kInfinity);
}

TEST(DtwSimilarity, GivesTheBitsOfTheLiteralVersion) {
  for (const RandomPoints::Kind kind : kEveryKind) {
    for (std::uint64_t seed = 1; seed <= 2000; ++seed) {
      RandomPoints random(seed);
      const int k = random.integer(0, 1);
      // Half of the pairs are short: every shape of a small table occurs.
      const int most = random.integer(0, 1) == 0 ? 6 : 60;
      const Points a = random.trace(k + random.integer(1, most), kind);
      const Points b = random.trace(k + random.integer(1, most), kind);
      const float expected = reference::similarity(a, b, k);
      const float found = dtw_similarity(a, b, k);
      ASSERT_TRUE(same_bits(found, expected))
          << "kind " << static_cast<int>(kind) << ", seed " << seed << ", k " << k
          << ", sizes " << a.size() << " and " << b.size() << ": " << found << " for "
          << expected;
    }
  }
}

// Long traces, and one of a length that no row of a table should be sized by.
TEST(DtwSimilarity, GivesTheBitsOfTheLiteralVersionForLongTraces) {
  RandomPoints random(77);
  const Points a = random.trace(1000, RandomPoints::Kind::kGaussian);
  const Points b = random.trace(313, RandomPoints::Kind::kSmallInts);
  EXPECT_TRUE(same_bits(dtw_similarity(a, b, 1), reference::similarity(a, b, 1)));
  EXPECT_TRUE(same_bits(dtw_similarity(b, a, 1), reference::similarity(b, a, 1)));
  const Points one = random.trace(1, RandomPoints::Kind::kGaussian);
  EXPECT_TRUE(same_bits(dtw_similarity(a, one, 0), reference::similarity(a, one, 0)));
}

// The memory that a matrix takes does not grow with its traces.
TEST(BatchedDtw, HoldsTablesOfUpToAMegabyteOfCosts) {
  const Points trace(512);
  const MotionPoints others[] = {{trace.data(), 512}, {trace.data(), 100}};
  BatchedDtw lanes;
  lanes.set_others(others, std::min(BatchedDtw::width(), size_t{2}));
  EXPECT_TRUE(lanes.holds(256));
  EXPECT_FALSE(lanes.holds(257));
}
