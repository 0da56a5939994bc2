// Similarities against the reference implementation, on a great many small random traces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "classifier/HGR.h"
#include "dtw/similarity.h"
#include "support/cases.h"
#include "support/random_points.h"
#include "support/reference_similarity.h"
#include "support/same_bits.h"
#include "support/special_values.h"

using namespace wgr;

// Motion points of one trace: none or one often enough, now and then so many that an
// its rows fill several vectors.
static int random_length(RandomPoints& random) {
  const int kind = random.integer(1, 64);
  if (kind == 1) return random.integer(12, 40);
  return kind <= 8 ? random.integer(0, 1) : random.integer(1, 9);
}

static int random_k(RandomPoints& random) {
  const int kind = random.integer(1, 64);
  if (kind == 1) return random.integer(-1, 3);
  return kind % 2;
}

static Points random_trace(RandomPoints& random, AwkwardPoints& awkward, int k) {
  Points trace = awkward.trace(random_length(random));
  for (int i = 0; i < k; ++i) trace.push_back(awkward.gravity());
  return trace;
}

TEST(SimilarityProperty, OneWayHasTheBitsOfTheLiteralVersion) {
  const std::uint64_t cases = property_cases();
  for (std::uint64_t seed = 1; seed <= cases; ++seed) {
    RandomPoints random(seed);
    AwkwardPoints awkward(random);
    const int k = random_k(random);
    const Points a = random_trace(random, awkward, k);
    const Points b = random_trace(random, awkward, k);
    const float found = dtw_similarity(a, b, k);
    const float expected = reference::similarity(a, b, k);
    ASSERT_TRUE(same_bits(found, expected))
        << "seed " << seed << ", k " << k << ", sizes " << a.size() << " and " << b.size()
        << ": " << found << " for " << expected;
  }
}

// Whatever the limit: a path that costs as much or less is found, to the bit; what is
// given up costs more.
TEST(SimilarityProperty, ALimitDoesNotShowInWhatIsWithinIt) {
  const std::uint64_t cases = property_cases();
  Dtw warper;
  std::uint64_t given_up = 0;
  for (std::uint64_t seed = 1; seed <= cases; ++seed) {
    RandomPoints random(seed);
    AwkwardPoints awkward(random);
    const Points a = awkward.trace(std::max(random_length(random), 1));
    const Points b = awkward.trace(std::max(random_length(random), 1));
    warper.set_trace(a.data(), a.size());
    const WarpingPath path = warper.warp(b.data(), b.size());
    ASSERT_TRUE(same_bits(score_of(path, 0.0, 0), reference::similarity(a, b, 0)))
        << "seed " << seed;
    const double share[] = {1.0, random.uniform(), 1.0 + random.uniform(), 1e300};
    const double limit = path.cost * share[random.integer(0, 3)];
    const WarpingPath found = warper.warp(b.data(), b.size(), limit);
    const bool gave_up = std::isinf(found.cost) && !std::isinf(path.cost);
    ASSERT_TRUE(gave_up ? !(path.cost <= limit)
                        : same_bits(found.cost, path.cost) &&
                              (std::isinf(found.cost) || found.length == path.length))
        << "seed " << seed;
    given_up += gave_up;
  }
  if (enough_cases()) {
    EXPECT_GT(given_up, cases / 200);
  }
}

// A case is one entry of a matrix. The number of traces varies, and so do the lengths
// within one matrix.
TEST(SimilarityProperty, EveryMatrixEntryHasTheBitsOfTheLiteralVersion) {
  const std::uint64_t cases = property_cases();
  HGR classifier(0);
  std::uint64_t entries = 0;
  std::uint64_t different = 0;
  for (std::uint64_t seed = 1; entries < cases; ++seed) {
    RandomPoints random(seed);
    AwkwardPoints awkward(random);
    const int k = random_k(random);
    const int n =
        random.integer(1, 20) == 1 ? random.integer(0, 40) : random.integer(2, 9);
    std::vector<Points> traces;
    for (int i = 0; i < n; ++i) traces.push_back(random_trace(random, awkward, k));
    const std::unique_ptr<float[]> found(classifier.cal_sim_matrix(traces, k));
    const std::vector<float> expected = reference::similarity_matrix(traces, k);
    for (size_t e = 0; e < expected.size(); ++e) {
      ASSERT_TRUE(same_bits(found[e], expected[e]))
          << "seed " << seed << ", k " << k << ", " << n << " traces, entry " << e << ": "
          << found[e] << " for " << expected[e];
      const size_t count = traces.size();
      different += !same_bits(expected[e], expected[e % count * count + e / count]);
    }
    entries += expected.size();
  }
  // Or nothing would distinguish the two orders of a pair.
  if (enough_cases()) {
    EXPECT_GT(different, cases / 2000);
  }
}
