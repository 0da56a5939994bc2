// Scales a trace to unit root mean square, and scores how alike two traces are.
//
// Points are in m/s² before scaling and without unit after it. The last k points of
// a trace are not part of the motion; the first of them is its gravity vector.
#pragma once

#include "classifier/points.h"

// See HGR::normalize.
double scale_to_unit_rms(Points& trace, int k);

// See HGR::cal_simlarity. Dynamic time warping after Sakoe and Chiba (1978), with
// unit steps and no window.
float dtw_similarity(const Points& a, const Points& b, int k);
