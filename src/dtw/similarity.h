// Scales a trace to unit root mean square, and scores how alike two traces are.
//
// Points are in m/s² before scaling and without unit after it. The last k points of
// a trace are not part of the motion; the first of them is its gravity vector.
#pragma once

#include "base/points.h"
#include "dtw/dtw.h"

namespace wgr {

// See HGR::normalize.
double scale_to_unit_rms(Points& trace, int k);

// See HGR::cal_simlarity.
float dtw_similarity(const Points& a, const Points& b, int k);

// The pieces of a score, for callers that compare one trace with many.

// Number of motion points; 0 when there are none, or k is negative.
size_t motion_points(const Points& trace, int k);

// Squared distance of the two gravity directions, 0 to 4; 0 when k is 0. Not a number
// for a gravity vector without length. Both traces have more than k points.
double gravity_distance(const Points& a, const Points& b, int k);

// Minus the mean cost of the path's points, less the gravity distance.
float score_of(const WarpingPath& path, double gravity, int k);

}  // namespace wgr
