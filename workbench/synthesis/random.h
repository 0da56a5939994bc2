// A random number generator of our own: the same seed gives the same numbers on every
// machine, which the standard library's distributions do not promise.
//
// S. Vigna, SplitMix64. Only additions and products that are exact or rounded by the
// IEEE rules lead from the generator's bits to the numbers.
#pragma once

#include <cstdint>

namespace wgr {

class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  // An independent generator; `topic` distinguishes those of one seed.
  Random fork(uint64_t topic) const {
    Random mixed(state_ ^ (topic * 0xD1342543DE82EF95u + 0x2545F4914F6CDD1Du));
    return Random(mixed.next());
  }

  uint64_t next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }

  double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }  // [0, 1)
  double uniform(double low, double high) { return low + (high - low) * uniform(); }
  int below(int n) { return static_cast<int>(uniform() * n); }
  bool chance(double share) { return uniform() < share; }

  // Mean 0, variance 1, never beyond 6: twelve uniform numbers need no logarithm, whose
  // last digit differs between mathematical libraries.
  double gaussian() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) sum += uniform();
    return sum;
  }

 private:
  uint64_t state_;
};

}  // namespace wgr
