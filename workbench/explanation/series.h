// Numbers as a page holds them to be drawn: whole multiples of a unit, and no more of
// them than a screen can show.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "base/points.h"

namespace wgr {

// How fine series are drawn that several pages, or parts of one, have.
inline constexpr double kTimeUnit = 0.001;  // s
inline constexpr double kAccUnit = 0.01;    // m/s²

// And where all samples of long stretches are drawn.
inline constexpr double kDrawnAccUnit = 0.05;  // m/s²
inline constexpr double kDrawnGyroUnit = 1.0;  // deg/s

// {"unit", "d"}: a text of whole numbers with blanks between them, each but the first the
// difference to the one before. What is not a number is drawn as 0.
nlohmann::ordered_json series(const std::vector<double>& values, double unit);

// The least and the greatest of every `bucket` values, in the order they came in.
std::vector<double> extremes(const std::vector<double>& values, size_t bucket);

// How many values share a bucket where `count` are drawn as `most`.
size_t bucket_for(size_t count, size_t most);

// The series of x, y and z of the first `count` points.
nlohmann::ordered_json axes_json(const Points& points, size_t count, size_t bucket,
                                 double unit);

}  // namespace wgr
