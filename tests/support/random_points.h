// Seeded random numbers and traces: a seed names the same values on every machine.
#pragma once

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "WgrTypes.h"

class RandomPoints {
 public:
  enum class Kind {
    kGaussian,   // no two values alike
    kSmallInts,  // -2 .. 2: sums are exact and ties abound
    kSpecials,   // gaussian, with NaN, infinities, zeros and huge values among them
  };

  explicit RandomPoints(std::uint64_t seed) : bits_(seed) {}

  // From `least` to `most`, both included.
  int integer(int least, int most) {
    const std::uint64_t span = static_cast<std::uint64_t>(most - least) + 1;
    return least + static_cast<int>(bits_() % span);
  }

  // From 0 to below 1.
  double uniform() { return static_cast<double>(bits_() >> 11) / 9007199254740992.0; }

  // Mean 0, standard deviation 1. A sum of twelve, for the standard distribution is
  // not the same on every machine.
  double gaussian() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) sum += uniform();
    return sum;
  }

  double value(Kind kind) {
    if (kind == Kind::kSmallInts) return integer(-2, 2);
    if (kind == Kind::kSpecials && integer(1, 40) == 1) {
      constexpr double kInfinity = std::numeric_limits<double>::infinity();
      const double specials[] = {std::numeric_limits<double>::quiet_NaN(),
                                 kInfinity,
                                 -kInfinity,
                                 0.0,
                                 1e200,
                                 -1e30,
                                 1.5e308,
                                 -1.5e308};
      return specials[integer(0, 7)];
    }
    return gaussian();
  }

  std::vector<Point3Df> trace(int length, Kind kind) {
    std::vector<Point3Df> points;
    for (int i = 0; i < length; ++i) {
      const double x = value(kind);
      const double y = value(kind);
      const double z = value(kind);
      points.push_back({x, y, z});
    }
    return points;
  }

 private:
  std::mt19937_64 bits_;
};

inline constexpr RandomPoints::Kind kEveryKind[] = {RandomPoints::Kind::kGaussian,
                                                    RandomPoints::Kind::kSmallInts,
                                                    RandomPoints::Kind::kSpecials};
