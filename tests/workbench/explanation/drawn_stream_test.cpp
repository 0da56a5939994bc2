// What is thinned as it comes is what would be thinned at the end.
#include "explanation/drawn_stream.h"

#include <gtest/gtest.h>

#include <cmath>

#include "explanation/series.h"
#include "support/random_points.h"

using namespace wgr;

TEST(DrawnStream, HoldsTheExtremesOfWhateverLengthItIsGiven) {
  RandomPoints random(5);
  DrawnStream drawn;
  std::vector<double> x;
  std::vector<double> turn;
  size_t next = 100;
  for (size_t n = 1; n <= 3 * DrawnStream::kMostDrawn + 5; ++n) {
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
