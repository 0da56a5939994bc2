#include "explanation/packed_series.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace wgr {

static constexpr double kLargest = 1e12;  // units; what overflows is drawn at the rim
static constexpr unsigned kBits = 7;      // of a byte
static constexpr size_t kOrders = 3;      // of differences: none, first, second

using Wholes = std::vector<long long>;

void append_whole(std::string& bytes, unsigned long long value) {
  while (value >> kBits != 0) {
    bytes += static_cast<char>((value & 0x7f) | 0x80);
    value >>= kBits;
  }
  bytes += static_cast<char>(value);
}

static Wholes differences(const Wholes& values) {
  Wholes steps(values);
  for (size_t i = steps.size(); i-- > 1;) steps[i] -= steps[i - 1];
  return steps;
}

static double size_of(const Wholes& values) {
  double sum = 0.0;
  for (const long long value : values) sum += std::abs(static_cast<double>(value));
  return sum;
}

void append_series(std::string& bytes, const std::vector<double>& values, double unit) {
  Wholes best;
  for (const double value : values) {
    const double scaled = std::isnan(value) ? 0.0 : value / unit;
    best.push_back(std::llround(std::clamp(scaled, -kLargest, kLargest)));
  }
  size_t order = 0;
  Wholes steps = best;
  for (size_t next = 1; next < kOrders; ++next) {
    steps = differences(steps);
    if (size_of(steps) >= size_of(best)) continue;
    best = steps;
    order = next;
  }
  append_whole(bytes, kOrders * values.size() + order);
  for (const long long value : best) {
    const auto twice = 2 * static_cast<unsigned long long>(std::llabs(value));
    append_whole(bytes, value < 0 ? twice - 1 : twice);
  }
}

void append_block(std::string& bytes, const std::string& block) {
  append_whole(bytes, block.size());
  bytes += block;
}

}  // namespace wgr
