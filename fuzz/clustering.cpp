// Clustering of any small matrix, compared with the reference implementation.
#include <cmath>
#include <vector>

#include "cluster/apcluster.h"
#include "harness.h"
#include "input.h"
#include "support/reference_clustering.h"
#include "support/same_bits.h"

static constexpr int kUntouched = -77;
// Wider than the lanes that a row is worked in.
static constexpr std::uint32_t kMostPoints = 36;

namespace {

struct Parameters {
  int maxits;
  int convits;
  double preference;
  double dampfact;
};

}  // namespace

// Any that are accepted; others end the process.
static Parameters parameters_of(Input& input) {
  const int maxits = 1 + static_cast<int>(input.choice(24));
  const int convits = 1 + static_cast<int>(input.choice(12));
  const double number = input.number();
  const double preference = number < 0.0 ? -number : number;
  const double dampfact = 0.5 + 0.5 * input.byte() / 256.0;
  return {maxits, convits, preference, dampfact};
}

// The value on the diagonal. With NaN among the values the median may be any of them, and
// one of several zeros may have either sign: then the library's is taken.
static float self_similarity(const std::vector<float>& given, std::size_t n,
                             double preference, float taken) {
  const std::vector<float> values = reference::off_diagonal(given, static_cast<int>(n));
  bool with_nan = false;
  for (const float value : values) with_nan |= std::isnan(value);
  if (with_nan) {
    bool possible = false;
    for (const float value : values) {
      const double self = preference * static_cast<double>(value);
      possible |= same_bits(taken, static_cast<float>(self));
    }
    require(possible, "the median is one of the values");
    return taken;
  }
  const double median = static_cast<double>(reference::lower_median(values));
  const float self = static_cast<float>(preference * median);
  return taken == 0.0f && self == 0.0f ? taken : self;
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  Input input(bytes, size);
  const Parameters p = parameters_of(input);
  const std::size_t n = input.choice(kMostPoints + 1);
  std::vector<float> s(n * n);
  for (float& value : s) value = input.single();
  std::vector<float> given = s;
  std::vector<int> idx(n, kUntouched);
  const int result = AP(p.maxits, p.convits, p.preference, p.dampfact)
                         .cluster(s.data(), idx.data(), static_cast<int>(n));
  if (n < 2) {
    require(result == 0 && same_bits(s, given), "a point alone is not clustered");
    require(idx == std::vector<int>(n, kUntouched), "a point alone has no exemplar");
    return;
  }
  const float self = self_similarity(given, n, p.preference, s[0]);
  for (std::size_t i = 0; i < n; ++i) given[i * n + i] = self;
  require(same_bits(s, given), "the diagonal alone is written");

  const reference::Clustering expected =
      reference::propagate(given, static_cast<int>(n), p.maxits, p.convits, p.dampfact);
  require(result == expected.result, "as many exemplars are found");
  require(idx == (result > 0 ? expected.idx : std::vector<int>(n, kUntouched)),
          "the same exemplars are chosen");
}

static void prepare() {}

static const Registration registration("clustering", run, prepare);
