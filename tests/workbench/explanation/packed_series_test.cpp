// What is packed for a page is read back as it was, to a unit.
#include "explanation/packed_series.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/packed.h"
#include "support/random_points.h"

using namespace wgr;

static std::string packed(const std::vector<double>& values, double unit) {
  std::string bytes;
  append_series(bytes, values, unit);
  return bytes;
}

TEST(PackedSeries, IsReadBackToAUnit) {
  RandomPoints random(7);
  std::vector<double> noise;
  std::vector<double> smooth;
  for (int i = 0; i < 1000; ++i) {
    noise.push_back(random.gaussian());
    smooth.push_back(30.0 * std::sin(0.05 * i));
  }
  for (const std::vector<double>& values : {noise, smooth, std::vector<double>()}) {
    const std::vector<double> back = Packed(packed(values, 0.01)).series(0.01);
    ASSERT_EQ(back.size(), values.size());
    for (size_t i = 0; i < values.size(); ++i) ASSERT_NEAR(back[i], values[i], 0.0051);
  }
}

TEST(PackedSeries, TakesTheDifferencesThatAreSmallest) {
  EXPECT_EQ(Packed(packed({5, -5, 5, -5}, 1.0)).whole() % 3, 0u);
  EXPECT_EQ(Packed(packed({100, 101, 100, 101}, 1.0)).whole() % 3, 1u);
  EXPECT_EQ(Packed(packed({0, 100, 200, 300, 400}, 1.0)).whole() % 3, 2u);
  // A clock that is regular takes hardly more than a byte a sample.
  std::vector<double> clock;
  for (int i = 0; i < 1000; ++i) clock.push_back(0.02 * i);
  EXPECT_LT(packed(clock, 0.001).size(), 1010u);
}

TEST(PackedSeries, KeepsToItsRangeWhateverTheNumber) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<double> back =
      Packed(packed({infinity, std::nan(""), -infinity, 3.0}, 1.0)).series(1.0);
  EXPECT_EQ(back, (std::vector<double>{1e12, 0.0, -1e12, 3.0}));
}
