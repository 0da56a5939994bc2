// What is filled in to compare two traces: the rows and columns of dtw.h, and room for
// the row that was filled last.
//
// Arrays of columns hold the last column first, so that along an anti-diagonal the points
// of both traces run the same way; and kMargin entries more at either end, for vectors
// that reach beyond.
#pragma once

#include <cstddef>
#include <limits>

#include "base/cpu_dispatch.h"
#include "base/points.h"

namespace wgr {

// Columns that stand before the first, and behind the last.
#ifdef WGR_VECTORS_OF_DOUBLES
inline constexpr size_t kMargin = 24;
#else
inline constexpr size_t kMargin = 0;
#endif

struct Table {
  const double* trace;  // along the columns: all x, all y, all z, stride() entries each;
                        // copies of the first before it, zeros behind the last
  size_t columns;
  const Point3Df* other;  // along the rows
  size_t rows;
  double* cost;           // of the paths into the cells of a row
  std::ptrdiff_t* steps;  // their diagonal steps

  size_t stride() const { return columns + 2 * kMargin; }
  // Where column i is.
  size_t at(size_t i) const { return kMargin + columns - 1 - i; }
  Point3Df point(size_t i) const {
    const double* const x = trace + at(i);
    return {x[0], x[stride()], x[2 * stride()]};
  }
  double distance(size_t i, size_t j) const {
    return squared_length(point(i) - other[j]);
  }
  // What a cell may cost for a path through it to cost `limit` or less: all paths visit
  // the last cell. Rounding takes nothing off.
  double within(double limit) const {
    return limit - distance(columns - 1, rows - 1) +
           4 * std::numeric_limits<double>::epsilon() * limit;
  }
};

// The path into the last cell: its cost, and its diagonal steps (see warping_path()).
struct PathEnd {
  double cost;
  std::ptrdiff_t diagonal_steps;
};

inline constexpr PathEnd kGivenUp = {std::numeric_limits<double>::infinity(), 0};

// Fills the table: several rows at once where the CPU has vectors of doubles
// (wavefront.cpp), else row by row (rows.cpp). Gives up, with kGivenUp, when no path
// costs `limit` or less.
//
// With a limit only the cells are filled that a path within it can visit: M. Herrmann and
// G. I. Webb, "Early abandoning and pruning for elastic distances including dynamic time
// warping", Data Mining and Knowledge Discovery 35 (2021). Costs never fall along a path,
// for sums of terms that are not negative are rounded in order. So
//   (1) a cell that costs more than the limit is on no such path; nor is one that costs
//       more than the limit less the distance in the last cell, which every path visits;
//   (2) left of a row's first cell within the limit, the next row has none;
//   (3) right of a row's last cell within the limit, but for its diagonal neighbour, the
//       next row's cells can be entered from their left alone, and only as far as that
//       is within the limit;
//   (4) when a row has no cell within the limit, no path has.
// A cell that is left out counts as infinite. That changes no choice between cells within
// the limit; but where cells do not compare (not-a-number), one beyond it can be on the
// path in question.
PathEnd sweep(const Table& table, double limit);

}  // namespace wgr
