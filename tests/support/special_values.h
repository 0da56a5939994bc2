// Traces that are hard on a fast comparison: full of ties, of near ties, of values that
// do not compare, or so small or large that squares and scores leave their range.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include "support/random_points.h"

class AwkwardPoints {
 public:
  // One nature for all the traces of a case.
  explicit AwkwardPoints(RandomPoints& random)
      : random_(random), nature_(static_cast<Nature>(random.integer(0, kNatures - 1))) {
    // Squares below and above the range of float (1e-45 .. 3e38) and of double
    // (5e-324 .. 2e308), and next to its ends.
    constexpr double kScales[] = {1e-162, 3e-162, 1e-150, 1e-40, 1e-23, 3e-23,  1e-22,
                                  1e-20,  1e-19,  1e-10,  1e10,  1e18,  5e18,   1.8e19,
                                  1e20,   1e75,   1e150,  5e153, 1e154, 1.3e154};
    scale_ = kScales[random.integer(0, 19)];
    for (double& level : levels_) level = random.uniform() - 0.5;
  }

  std::vector<Point3Df> trace(int length) {
    std::vector<Point3Df> points;
    for (int i = 0; i < length; ++i) points.push_back(point());
    return points;
  }

  // A trailing vector: few different ones, so that its distances tie too, and now and
  // then one without length or direction.
  Point3Df gravity() {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Point3Df usual[] = {
        {0, 0, 9.8}, {0, 9.8, 0}, {9.8, 0, 0}, {0, 0, 1}, {0.1, 0, 9.8}};
    const Point3Df odd[] = {{0, 0, 0}, {nan, 0, 1}, {1e200, 0, 0}, {0, 1e-200, 0}};
    if (random_.integer(1, 40) == 1) return odd[random_.integer(0, 3)];
    return usual[random_.integer(0, 4)];
  }

  // The same point, but for about one step of a double or of a float in one coordinate.
  Point3Df nudged(Point3Df p) {
    double* const axes[] = {&p.x, &p.y, &p.z};
    double& value = *axes[random_.integer(0, 2)];
    const double up = random_.integer(0, 1) == 0 ? 1.0 : -1.0;
    switch (random_.integer(0, 2)) {
      case 0:
        value = std::nextafter(value, up * HUGE_VAL);
        break;
      case 1:
        value += up * value * 0x1p-25 * random_.uniform();
        break;
      default:
        value += up * value * 0x1p-21 * random_.uniform();
        break;
    }
    return p;
  }

 private:
  enum Nature {
    kPlain,     // no two values alike
    kInts,      // -2 .. 2: sums are exact and ties abound
    kLine,      // 0 .. 2 on one axis: warping paths tie in every way
    kTenths,    // -0.3 .. 0.3 by tenths: sums that ought to tie differ by their rounding
    kLevels,    // two values and their negatives
    kSpecials,  // plain, with NaN, infinities, zeros and huge values among them
    kScaled,    // plain, all of one size
    kScaledInts,
    kNatures
  };

  Point3Df point() {
    if (nature_ == kLine) return {1.0 * random_.integer(0, 2), 0.0, 0.0};
    const double x = value();
    const double y = value();
    const double z = value();
    return {x, y, z};
  }

  double value() {
    switch (nature_) {
      case kInts:
        return random_.integer(-2, 2);
      case kTenths:
        return 0.1 * random_.integer(-3, 3);
      case kLevels:
        return levels_[random_.integer(0, 1)] * (random_.integer(0, 1) == 0 ? 1.0 : -1.0);
      case kSpecials:
        if (random_.integer(1, 12) == 1) return special();
        return random_.uniform() - 0.5;
      case kScaled:
        return scale_ * (random_.uniform() - 0.5);
      case kScaledInts:
        return scale_ * random_.integer(-2, 2);
      default:
        return random_.uniform() - 0.5;
    }
  }

  double special() {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const double values[] = {std::numeric_limits<double>::quiet_NaN(),
                             kInfinity,
                             -kInfinity,
                             0.0,
                             -0.0,
                             1e150,
                             -1.5e308,
                             1e-310};
    return values[random_.integer(0, 7)];
  }

  RandomPoints& random_;
  const Nature nature_;
  double scale_;
  double levels_[2];
};
