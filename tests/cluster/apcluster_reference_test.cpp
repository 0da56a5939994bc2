// Clustering against the reference implementation, on random matrices.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "base/points.h"
#include "cluster/apcluster.h"
#include "support/cases.h"
#include "support/files.h"
#include "support/random_points.h"
#include "support/reference_clustering.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr int kUntouched = -77;

namespace {

// One random matrix and the parameters to cluster it with.
struct Case {
  explicit Case(int seed) : random(static_cast<std::uint64_t>(seed)) {
    n = random.integer(1, 3) == 1 ? random.integer(2, 4) : random.integer(2, 40);
    const int limits[] = {1, 2, 5, 20, 80};
    maxits = limits[random.integer(0, 4)];
    convits = limits[random.integer(0, 3)];
    const double preferences[] = {0.0, 0.3, 0.5, 1.0, 1.7, 4.0, 0.0 + random.uniform()};
    preference = preferences[random.integer(0, 6)];
    const double factors[] = {0.5, 0.6, 0.77, 0.9, 0.5 + random.uniform() * 0.4};
    dampfact = factors[random.integer(0, 4)];
    s.resize(static_cast<size_t>(n) * static_cast<size_t>(n));
  }

  RandomPoints random;
  int n;
  int maxits;
  int convits;
  double preference;
  double dampfact;
  std::vector<float> s;
};

// How often each kind of end was met, so that a test can check it saw all.
struct Ends {
  int exemplars = 0;
  int none = 0;
  int not_converged = 0;
  int most_iterations = 0;
  int odd_choices = 0;
};

}  // namespace

// Clusters the case both ways and compares everything. A matrix with NaN has no
// defined median: there the library's own diagonal is taken, when it is one of the
// values times the preference.
static void compare(Case& c, bool with_nan, Ends& ends, const std::string& name) {
  SCOPED_TRACE(name + ": n " + std::to_string(c.n) + ", maxits " +
               std::to_string(c.maxits) + ", convits " + std::to_string(c.convits) +
               ", preference " + std::to_string(c.preference) + ", dampfact " +
               std::to_string(c.dampfact));
  std::vector<float> expected_s = c.s;
  std::vector<int> idx(static_cast<size_t>(c.n), kUntouched);
  Capture capture;
  const int result = AP(c.maxits, c.convits, c.preference, c.dampfact)
                         .cluster(c.s.data(), idx.data(), c.n);
  const std::string printed = capture.finish();

  const std::vector<float> values = reference::off_diagonal(expected_s, c.n);
  float self = 0.0f;
  if (with_nan) {
    self = c.s[0];
    bool possible = false;
    for (const float v : values)
      possible |=
          same_bits(self, static_cast<float>(c.preference * static_cast<double>(v)));
    ASSERT_TRUE(possible) << "diagonal " << self;
  } else {
    const float median = reference::lower_median(values);
    self = static_cast<float>(c.preference * static_cast<double>(median));
  }
  for (int i = 0; i < c.n; ++i) expected_s[static_cast<size_t>(i * c.n + i)] = self;
  ASSERT_TRUE(same_bits(c.s, expected_s));

  const reference::Clustering expected =
      reference::propagate(expected_s, c.n, c.maxits, c.convits, c.dampfact);
  ASSERT_EQ(result, expected.result);
  ASSERT_EQ(printed, expected.printed);
  if (result > 0) {
    ASSERT_EQ(idx, expected.idx);
    ++ends.exemplars;
    ends.odd_choices += expected.odd_choice;
  } else {
    ASSERT_EQ(idx, std::vector<int>(idx.size(), kUntouched));
    ++(result == 0 ? ends.none : ends.not_converged);
  }
  ends.most_iterations = std::max(ends.most_iterations, expected.iterations);
}

TEST(ApAgainstLiteral, OnSimilaritiesOfPoints) {
  Ends ends;
  for (int seed = 1; seed <= affordable(700); ++seed) {
    Case c(seed);
    const Points points = c.random.trace(c.n, RandomPoints::Kind::kGaussian);
    for (size_t i = 0; i < points.size(); ++i) {
      for (size_t j = 0; j < points.size(); ++j)
        c.s[i * points.size() + j] =
            static_cast<float>(-squared_length(points[i] - points[j]));
    }
    ASSERT_NO_FATAL_FAILURE(compare(c, false, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.exemplars, affordable(100));
  EXPECT_GT(ends.none, 0);
  EXPECT_GT(ends.not_converged, affordable(100));
}

// Nothing is symmetric, and similarities above zero occur. Some points choose one that
// is no exemplar itself; that is an answer too.
TEST(ApAgainstLiteral, OnArbitraryMatrices) {
  Ends ends;
  for (int seed = 1; seed <= affordable(700); ++seed) {
    Case c(seed);
    const double shift = c.random.integer(-3, 1);
    for (float& value : c.s) value = static_cast<float>(c.random.gaussian() + shift);
    ASSERT_NO_FATAL_FAILURE(compare(c, false, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.exemplars, affordable(100));
  EXPECT_GT(ends.not_converged, affordable(100));
  EXPECT_GT(ends.odd_choices, 0);
}

TEST(ApAgainstLiteral, OnMatricesFullOfTies) {
  Ends ends;
  for (int seed = 1; seed <= affordable(1000); ++seed) {
    Case c(seed);
    const int least = c.random.integer(-4, -1);
    const int most = c.random.integer(least, 2);
    for (float& value : c.s) value = static_cast<float>(c.random.integer(least, most));
    ASSERT_NO_FATAL_FAILURE(compare(c, false, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.exemplars, affordable(100));
  EXPECT_GT(ends.none, affordable(20));
  EXPECT_GT(ends.not_converged, affordable(100));
}

TEST(ApAgainstLiteral, OnMatricesWithInfinitiesAndHugeValues) {
  Ends ends;
  const float infinity = std::numeric_limits<float>::infinity();
  const float specials[] = {-infinity, infinity, 3e38f, -3.4028235e+38f, 1e-42f};
  for (int seed = 1; seed <= affordable(700); ++seed) {
    Case c(seed);
    const int one_in = c.random.integer(2, 60);
    for (float& value : c.s) {
      value = static_cast<float>(-1.0 - c.random.uniform());
      if (c.random.integer(1, one_in) == 1) value = specials[c.random.integer(0, 4)];
    }
    ASSERT_NO_FATAL_FAILURE(compare(c, false, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.exemplars, affordable(20));
}

// Whole rows of minus infinity occur, where the largest and the next to it are no more
// than the value that stands for what was taken out.
TEST(ApAgainstLiteral, OnSmallMatricesOfInfinities) {
  Ends ends;
  const float infinity = std::numeric_limits<float>::infinity();
  const float values[] = {-infinity, -infinity, -infinity, -1.0f, -3.0f, infinity};
  for (int seed = 1; seed <= affordable(3000); ++seed) {
    Case c(seed);
    c.n = c.random.integer(2, 5);
    c.s.resize(static_cast<size_t>(c.n) * static_cast<size_t>(c.n));
    const int most = c.random.integer(0, 5);
    for (float& value : c.s) value = values[c.random.integer(0, most)];
    ASSERT_NO_FATAL_FAILURE(compare(c, false, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.exemplars, affordable(20));
  EXPECT_GT(ends.none, affordable(20));
}

TEST(ApAgainstLiteral, OnMatricesWithNans) {
  Ends ends;
  for (int seed = 1; seed <= affordable(700); ++seed) {
    Case c(seed);
    const int one_in = c.random.integer(1, 3) == 1 ? 2 : c.n * c.n;
    for (float& value : c.s) {
      value = static_cast<float>(-1.0 - c.random.uniform());
      if (c.random.integer(1, one_in) == 1)
        value = std::numeric_limits<float>::quiet_NaN();
    }
    ASSERT_NO_FATAL_FAILURE(compare(c, true, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.none, affordable(20));
}

// Long runs: one bit lost in a message would have time to grow.
TEST(ApAgainstLiteral, OnLongRuns) {
  Ends ends;
  for (int seed = 1; seed <= affordable(20); ++seed) {
    Case c(seed);
    c.maxits = 1000;
    c.convits = 400;
    for (float& value : c.s) value = static_cast<float>(c.random.gaussian() - 2.0);
    ASSERT_NO_FATAL_FAILURE(compare(c, false, ends, "seed " + std::to_string(seed)));
  }
  EXPECT_GT(ends.exemplars, affordable(3));
  EXPECT_EQ(ends.most_iterations, 1001);
}
