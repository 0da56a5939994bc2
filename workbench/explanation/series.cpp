#include "explanation/series.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kLargest = 1e9;  // units; what overflows is drawn at the rim

Json series(const std::vector<double>& values, double unit) {
  // One text: an array of as many numbers takes JSON many times as long.
  std::string steps;
  long long last = 0;
  for (const double value : values) {
    const double scaled = std::isnan(value) ? 0.0 : value / unit;
    const long long whole = std::llround(std::clamp(scaled, -kLargest, kLargest));
    if (!steps.empty()) steps += ' ';
    steps += std::to_string(whole - last);
    last = whole;
  }
  return {{"unit", unit}, {"d", steps}};
}

std::vector<double> extremes(const std::vector<double>& values, size_t bucket) {
  if (bucket <= 1) return values;
  std::vector<double> kept;
  for (size_t i = 0; i < values.size(); i += bucket) {
    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(i);
    const auto end =
        values.begin() + static_cast<std::ptrdiff_t>(std::min(i + bucket, values.size()));
    const auto [least, greatest] = std::minmax_element(begin, end);
    kept.push_back(*std::min(least, greatest));
    kept.push_back(*std::max(least, greatest));
  }
  return kept;
}

size_t bucket_for(size_t count, size_t most) {
  return count <= most ? 1 : (2 * count + most - 1) / most;
}

Json axes_json(const Points& points, size_t count, size_t bucket, double unit) {
  Json all = Json::array();
  for (const auto axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
    std::vector<double> values;
    for (size_t i = 0; i < count; ++i) values.push_back(points[i].*axis);
    all.push_back(series(extremes(values, bucket), unit));
  }
  return all;
}

}  // namespace wgr
