// Reconstruction against the reference implementation, on a great many small random
// motions.
#include "engine/reconstruction.h"

#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/random_points.h"
#include "support/reference_reconstruction.h"
#include "support/same_bits.h"
#include "support/special_values.h"

using namespace wgr;

TEST(ReconstructionProperty, HasTheBitsOfTheLiteralVersion) {
  const std::uint64_t cases = property_cases();
  std::uint64_t with_stretch = 0;
  for (std::uint64_t seed = 1; seed <= cases; ++seed) {
    RandomPoints random(seed);
    AwkwardPoints awkward(random);
    Points trace = awkward.trace(random.integer(1, 14));
    // A motion that starts slow and takes back all its speed keeps its middle.
    if (random.integer(0, 1) == 0) {
      const size_t last = trace.size() - 1;
      for (size_t i = 0; i < trace.size() / 2; ++i) {
        if (i < 2) trace[i] = 1e-3 * trace[i];
        trace[last - i] = -1.0 * trace[i];
      }
    }
    const int rate = random.integer(1, 16) == 1 ? random.integer(-1, 2) : 50;
    Points expected = trace;
    Points expected_velocity, expected_position, velocity, position;
    reference::reconstruct(rate, expected, expected_velocity, expected_position);
    reconstruct(trace, rate, velocity, position);
    ASSERT_TRUE(same_bits(trace, expected) && same_bits(velocity, expected_velocity) &&
                same_bits(position, expected_position))
        << "seed " << seed << ", rate " << rate;
    with_stretch += !trace.empty();
  }
  if (enough_cases()) {
    EXPECT_GT(with_stretch, cases / 10);
  }
}
