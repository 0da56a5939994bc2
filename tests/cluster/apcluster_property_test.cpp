// Clustering against the reference implementation, on a great many small random matrices.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "cluster/apcluster.h"
#include "support/cases.h"
#include "support/random_points.h"
#include "support/reference_clustering.h"
#include "support/same_bits.h"

static constexpr int kUntouched = -77;

namespace {

// Lets nobody read standard output between begin() and end(): many runs print a warning.
class Silence {
 public:
  Silence()
      : real_(dup(STDOUT_FILENO)), nowhere_(open("/dev/null", O_WRONLY | O_CLOEXEC)) {}
  ~Silence() {
    close(real_);
    close(nowhere_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

  void begin() const { switch_to(nowhere_); }
  void end() const { switch_to(real_); }

 private:
  static void switch_to(int file) {
    std::fflush(stdout);
    dup2(file, STDOUT_FILENO);
  }

  const int real_;
  const int nowhere_;
};

struct Case {
  explicit Case(std::uint64_t seed) : random(seed) {
    // Now and then wider than a vector, and than those that are taken in one turn.
    n = random.integer(1, 200) == 1 ? random.integer(15, 72) : random.integer(2, 7);
    maxits = random.integer(1, 9);
    convits = random.integer(1, 5);
    const double preferences[] = {0.0, 0.5, 1.0, 2.0, random.uniform()};
    preference = preferences[random.integer(0, 4)];
    const double factors[] = {0.5, 0.75, 0.9, 0.5 + random.uniform() * 0.4};
    dampfact = factors[random.integer(0, 3)];

    const int nature = random.integer(0, 5);
    const double scales[] = {1e-44, 1e-38, 1e-20, 1e20, 1e37, 3e38};
    const double scale = scales[random.integer(0, 5)];
    const int one_in = random.integer(2, 40);
    s.resize(static_cast<size_t>(n) * static_cast<size_t>(n));
    for (float& entry : s) {
      const double plain = random.uniform() * 3.0 - 2.5;
      switch (nature) {
        case 0:
          entry = static_cast<float>(random.integer(-3, 1));
          break;
        case 1:
          entry = static_cast<float>(-0.1 * random.integer(0, 3));
          break;
        case 2:
          entry = static_cast<float>(plain * scale / 2.5);
          break;
        case 3:
          entry = random.integer(1, one_in) == 1 ? special() : static_cast<float>(plain);
          break;
        default:
          entry = static_cast<float>(plain);
          break;
      }
    }
  }

  float special() {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float values[] = {
        std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity, -0.0f, 3e38f,
        std::numeric_limits<float>::lowest(),    1e-42f};
    return values[random.integer(0, 6)];
  }

  RandomPoints random;
  int n;
  int maxits;
  int convits;
  double preference;
  double dampfact;
  std::vector<float> s;
};

}  // namespace

TEST(ApProperty, FindsTheGroupsOfTheLiteralVersion) {
  const std::uint64_t cases = property_cases();
  std::uint64_t with_exemplars = 0;
  std::uint64_t without = 0;
  std::uint64_t not_converged = 0;
  const Silence silence;
  for (std::uint64_t seed = 1; seed <= cases; ++seed) {
    Case c(seed);
    std::vector<float> given = c.s;
    std::vector<int> idx(static_cast<size_t>(c.n), kUntouched);
    silence.begin();
    const int result = AP(c.maxits, c.convits, c.preference, c.dampfact)
                           .cluster(c.s.data(), idx.data(), c.n);
    silence.end();

    // With NaN among the values the median may be any of them, and one of several zeros
    // may have either sign: the library's is taken.
    float self = c.s[0];
    const std::vector<float> values = reference::off_diagonal(given, c.n);
    bool with_nan = false;
    for (const float value : values) with_nan |= std::isnan(value);
    if (!with_nan) {
      const double median = static_cast<double>(reference::lower_median(values));
      const float expected_self = static_cast<float>(c.preference * median);
      if (self != 0.0f || expected_self != 0.0f) self = expected_self;
    }
    for (int i = 0; i < c.n; ++i) given[static_cast<size_t>(i * c.n + i)] = self;
    ASSERT_TRUE(same_bits(c.s, given)) << "seed " << seed;

    const reference::Clustering expected =
        reference::propagate(given, c.n, c.maxits, c.convits, c.dampfact);
    ASSERT_EQ(result, expected.result) << "seed " << seed << ", n " << c.n;
    if (result > 0) {
      ASSERT_EQ(idx, expected.idx) << "seed " << seed << ", n " << c.n;
    } else {
      ASSERT_EQ(idx, std::vector<int>(idx.size(), kUntouched)) << "seed " << seed;
    }
    with_exemplars += result > 0;
    without += result == 0;
    not_converged += result < 0;
  }
  if (enough_cases()) {
    EXPECT_GT(with_exemplars, cases / 10);
    EXPECT_GT(without, cases / 100);
    EXPECT_GT(not_converged, cases / 10);
  }
}
