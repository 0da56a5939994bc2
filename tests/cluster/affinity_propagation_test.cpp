#include "cluster/affinity_propagation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "cluster/apcluster.h"
#include "support/files.h"

using namespace wgr;

using ::testing::Each;
using ::testing::ElementsAre;

static constexpr int kUntouched = -77;

struct Clustered {
  int result;
  std::vector<int> idx;
  std::vector<float> s;
  std::string printed;
};

static Clustered clustered(std::vector<float> s, int n, int iterations) {
  Clustered made = {0, std::vector<int>(static_cast<size_t>(n), kUntouched), {}, ""};
  Capture printing;
  made.result =
      affinity_propagation({iterations, 5, 1.0, 0.5}, s.data(), made.idx.data(), n);
  made.printed = printing.finish();
  made.s = s;
  return made;
}

// Minus the squared distances of 0, 1, 3 and 10, 12 on a line.
static const std::vector<float> kOnALine = {
    0,   -1,  -9,   -100, -144, -1, 0,  -4,   -81,  -121, -9, -4, 0,
    -49, -81, -100, -81,  -49,  0,  -4, -144, -121, -81,  -4, 0};

TEST(AffinityPropagationTest, PrintsNothingHoweverItEnds) {
  const Clustered two = clustered(kOnALine, 5, 200);
  EXPECT_EQ(two.result, 2);
  EXPECT_THAT(two.idx, ElementsAre(1, 1, 1, 3, 3));
  EXPECT_EQ(two.printed, "");

  const Clustered none = clustered(std::vector<float>(9, 0.0f), 3, 20);
  EXPECT_EQ(none.result, 0);
  EXPECT_THAT(none.idx, Each(kUntouched));
  EXPECT_EQ(none.printed, "");

  const Clustered hasty = clustered(kOnALine, 5, 6);
  EXPECT_EQ(hasty.result, kNotConverged);
  EXPECT_THAT(hasty.idx, Each(kUntouched));
  EXPECT_EQ(hasty.printed, "");
}

// The class differs by what it prints alone. The diagonal is the median, the lower of -49
// and -81.
TEST(AffinityPropagationTest, IsWhatTheClassDoes) {
  for (const int iterations : {1, 6, 200}) {
    const Clustered made = clustered(kOnALine, 5, iterations);
    std::vector<float> s = kOnALine;
    std::vector<int> idx(5, kUntouched);
    Capture printing;
    const int result = AP(iterations, 5, 1.0, 0.5).cluster(s.data(), idx.data(), 5);
    EXPECT_EQ(printing.finish().empty(), result > 0) << iterations;
    EXPECT_EQ(made.result, result) << iterations;
    EXPECT_EQ(made.idx, idx) << iterations;
    EXPECT_EQ(made.s, s) << iterations;
    EXPECT_EQ(s[0], -81.0f);
  }
}
