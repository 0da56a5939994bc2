#include "input.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

static constexpr double kInfinity = std::numeric_limits<double>::infinity();

static constexpr double kOddNumbers[kFirstQuarter] = {
    0.0,       -0.0,       std::numeric_limits<double>::quiet_NaN(),
    kInfinity, -kInfinity, DBL_MAX,
    -DBL_MAX,  DBL_MIN,    std::numeric_limits<double>::denorm_min(),
    -1e-310,   1e154,      -1e200,
    1e-160,    9.8,        10.0,
    1.0 / 3.0};

static constexpr int kOddInts[kFirstSmallInt] = {
    0,    -1,  INT_MAX, INT_MIN, INT_MAX - 1, INT_MIN + 1, 50,        10000,
    9999, 250, 1 << 29, 65536,   -10000,      11930465,    429496730, 100};

std::uint8_t Input::byte() {
  if (left_ == 0) return 0;
  --left_;
  return *next_++;
}

// The little-endian bytes of a T.
template <class T>
T Input::raw() {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bits |= static_cast<std::uint64_t>(byte()) << (8 * i);
  }
  T value;
  if constexpr (sizeof(T) == sizeof bits) {
    std::memcpy(&value, &bits, sizeof value);
  } else {
    const std::uint32_t low = static_cast<std::uint32_t>(bits);
    std::memcpy(&value, &low, sizeof value);
  }
  return value;
}

std::uint32_t Input::word32() { return raw<std::uint32_t>(); }

int Input::integer() {
  const int kind = byte();
  if (kind < kFirstSmallInt) return kOddInts[kind];
  if (kind < kFirstInt) return kind - kSmallIntBias;
  return raw<int>();
}

double Input::number() {
  const int kind = byte();
  if (kind < kFirstQuarter) return kOddNumbers[kind];
  if (kind < kFirstScaled) return 0.25 * (kind - 72);
  if (kind < kFirstWord) {
    const auto digits = static_cast<std::int8_t>(byte());
    return std::ldexp(digits, 4 * (kind - 160));
  }
  if (kind < kFirstDouble) {
    const int low = byte();
    const int high = static_cast<std::int8_t>(byte());
    return (high * 256 + low) / 256.0;
  }
  return raw<double>();
}

float Input::single() {
  const int kind = byte();
  if (kind < kFirstQuarter) {
    constexpr float kLargest = std::numeric_limits<float>::max();
    constexpr float kOdd[kFirstQuarter] = {
        0.0f,      -0.0f,      std::numeric_limits<float>::quiet_NaN(),
        HUGE_VALF, -HUGE_VALF, kLargest,
        -kLargest, 1e-42f,     -1e-42f,
        -1.0f,     -1.0f,      -2.0f,
        -0.1f,     -0.2f,      -0.3f,
        3e38f};
    return kOdd[kind];
  }
  if (kind < kFirstDouble) return 0.125f * static_cast<float>(kind - 180);
  return raw<float>();
}

Point3Df Input::point() {
  const double x = number();
  const double y = number();
  const double z = number();
  return {x, y, z};
}
