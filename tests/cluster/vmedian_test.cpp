#include "cluster/vmedian.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "support/random_points.h"
#include "support/same_bits.h"

TEST(Vmedian, IsTheMiddleValueOrTheLowerOfTheTwoMiddleOnes) {
  const struct {
    std::vector<float> values;
    float median;
  } cases[] = {
      {{7}, 7},
      {{2, 1}, 1},
      {{1, 2}, 1},
      {{3, 1, 2}, 2},
      {{4, 1, 3, 2}, 2},
      {{5, 4, 3, 2, 1}, 3},
      {{6, 5, 4, 3, 2, 1}, 3},
      {{-1, -2, -3, -4}, -3},
      {{1, 1, 1, 9}, 1},
  };
  for (const auto& c : cases) {
    std::vector<float> values = c.values;
    EXPECT_EQ(vmedian(values.data(), static_cast<int>(values.size())), c.median)
        << ::testing::PrintToString(c.values);
  }
}

TEST(Vmedian, WorksOnOtherTypes) {
  int ints[] = {9, -5, 3, 0};
  EXPECT_EQ(vmedian(ints, 4), 0);
  double doubles[] = {0.3, 0.1, 0.2};
  EXPECT_EQ(vmedian(doubles, 3), 0.2);
}

TEST(Vmedian, OfEveryOrderOfAFewValuesIsTheSame) {
  for (int n = 1; n <= 7; ++n) {
    std::vector<float> order;
    for (int i = 0; i < n; ++i) order.push_back(static_cast<float>(i / 2));  // with ties
    const float median = order[static_cast<size_t>((n - 1) / 2)];
    do {
      std::vector<float> values = order;
      ASSERT_EQ(vmedian(values.data(), n), median) << ::testing::PrintToString(order);
    } while (std::next_permutation(order.begin(), order.end()));
  }
}

TEST(Vmedian, IsTheValueThatSortingPutsInTheMiddle) {
  for (const RandomPoints::Kind kind : kEveryKind) {
    for (std::uint64_t seed = 1; seed <= 500; ++seed) {
      RandomPoints random(seed);
      std::vector<float> values(static_cast<size_t>(random.integer(1, 300)));
      for (float& v : values) {
        do v = static_cast<float>(random.value(kind));
        while (v != v);
      }
      std::vector<float> sorted = values;
      std::sort(sorted.begin(), sorted.end());
      const int n = static_cast<int>(values.size());
      const float median = vmedian(values.data(), n);
      ASSERT_EQ(median, sorted[static_cast<size_t>((n - 1) / 2)])
          << "kind " << static_cast<int>(kind) << ", seed " << seed << ", n " << n;

      // The array is reordered, and nothing but that.
      std::sort(values.begin(), values.end());
      ASSERT_TRUE(same_bits(values, sorted)) << "seed " << seed;
    }
  }
}

// Sorted, reversed, all alike, a sawtooth: shapes that a poor pivot makes slow.
TEST(Vmedian, IsQuickOnRegularArrays) {
  constexpr int kCount = 200000;
  std::vector<float> shapes[4];
  for (int i = 0; i < kCount; ++i) {
    shapes[0].push_back(static_cast<float>(i));
    shapes[1].push_back(static_cast<float>(kCount - i));
    shapes[2].push_back(4.0f);
    shapes[3].push_back(static_cast<float>(i % 2));
  }
  const float medians[] = {99999, 100000, 4, 0};
  for (size_t s = 0; s < 4; ++s)
    EXPECT_EQ(vmedian(shapes[s].data(), kCount), medians[s]) << "shape " << s;
}

TEST(Vmedian, WithNansIsSomeOfTheValuesAndStaysInsideTheArray) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (std::uint64_t seed = 1; seed <= 2000; ++seed) {
    RandomPoints random(seed);
    const int n = random.integer(1, 40);
    const int one_in = random.integer(1, 6);
    std::vector<float> values(static_cast<size_t>(n) + 2, -1e9f);  // a guard at each end
    for (int i = 1; i <= n; ++i) {
      const float v = static_cast<float>(random.integer(0, 9));
      values[static_cast<size_t>(i)] = random.integer(1, one_in) == 1 ? nan : v;
    }
    const auto first = values.begin() + 1;
    const auto last = values.end() - 1;
    const auto equals = [](float a) { return [a](float b) { return same_bits(a, b); }; };
    std::vector<float> before(first, last);

    const float median = vmedian(&*first, n);
    ASSERT_TRUE(std::any_of(before.begin(), before.end(), equals(median)))
        << "seed " << seed << ": " << median;
    for (const float v : before) {
      ASSERT_EQ(std::count_if(first, last, equals(v)),
                std::count_if(before.begin(), before.end(), equals(v)))
          << "seed " << seed << ", value " << v;
    }
    ASSERT_EQ(values.front(), -1e9f) << "seed " << seed;
    ASSERT_EQ(values.back(), -1e9f) << "seed " << seed;
  }
}

TEST(Vmedian, OfNothingIsZero) {
  EXPECT_EQ(vmedian<float>(nullptr, 0), 0.0f);
  EXPECT_EQ(vmedian<float>(nullptr, -3), 0.0f);
}
