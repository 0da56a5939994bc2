// What is thinned as it comes is what would be thinned at the end.
#include "explanation/drawn_stream.h"

#include <gtest/gtest.h>

#include <cmath>

#include "explanation/series.h"
#include "support/cases.h"
#include "support/packed.h"
#include "support/random_points.h"

using namespace wgr;

TEST(DrawnStream, HoldsTheExtremesOfWhateverLengthItIsGiven) {
  RandomPoints random(5);
  DrawnStream drawn;
  std::vector<double> x;
  std::vector<double> turn;
  size_t next = 100;
  const size_t rounds = slow_here() ? 1 : 3;
  for (size_t n = 1; n <= rounds * DrawnStream::kMostDrawn + 5; ++n) {
    // Few different values, so that the least and the greatest come several times.
    const double value = std::round(3.0 * random.gaussian());
    x.push_back(value);
    turn.push_back(-value);
    drawn.add({0.0, {value, 1.0, 2.0}, {3.0, 4.0, -value}});
    if (n != next && n != DrawnStream::kMostDrawn + 3) continue;
    next = 3 * next + 1;
    EXPECT_EQ(drawn.finest() > 1, n > DrawnStream::kMostDrawn);
    for (size_t bucket = drawn.finest(); bucket <= 256; bucket *= bucket == 1 ? 4 : 2) {
      ASSERT_EQ(drawn.values(0, bucket), extremes(x, bucket)) << n << " by " << bucket;
      ASSERT_EQ(drawn.values(5, bucket), extremes(turn, bucket)) << n;
      ASSERT_LE(drawn.values(0, bucket).size(), DrawnStream::kMostDrawn + 2);
    }
  }
}

static RecordedSample sample_at(size_t i) {
  const double value = static_cast<double>(i);
  return {2.0 + 0.02 * value, {value, 0.0, 0.0}, {0.0, 0.0, -value}};
}

// Stretches that touch are one; what is forgotten cannot be kept any more.
TEST(DrawnStream, KeepsEverySampleOfStretches) {
  DrawnStream drawn;
  for (size_t i = 0; i < 100; ++i) {
    drawn.add(sample_at(i), i >= 30 && i < 33);
    if (i == 39) drawn.keep_whole(33, 5);
    if (i == 60) drawn.keep_whole(0, 55);  // 49 to 54 are still there
    drawn.forget(i < 45 ? 20 : 11);
  }
  drawn.keep_whole(98, 50);
  Packed packed(drawn.stretches());
  const std::vector<std::pair<size_t, size_t>> kept = {{30, 8}, {49, 6}, {98, 2}};
  EXPECT_EQ(drawn.count_stretches(), kept.size());
  for (const auto& [first, count] : kept) {
    packed.whole();  // the block's length
    ASSERT_EQ(packed.whole(), first);
    ASSERT_EQ(packed.whole(), count);
    const std::vector<double> t = packed.series(0.001);
    const std::vector<double> ax = packed.series(kDrawnAccUnit);
    for (int i = 0; i < 4; ++i) packed.series(1.0);
    const std::vector<double> gz = packed.series(kDrawnGyroUnit);
    for (size_t i = 0; i < count; ++i) {
      ASSERT_NEAR(t.at(i), 0.02 * static_cast<double>(first + i), 1e-9);
      ASSERT_DOUBLE_EQ(ax.at(i), static_cast<double>(first + i));
      ASSERT_DOUBLE_EQ(gz.at(i), -static_cast<double>(first + i));
    }
  }
  EXPECT_TRUE(packed.ended());
}
