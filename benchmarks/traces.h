// Traces to measure with, all of unit root mean square, followed by a gravity vector.
//
// Noise: every point on its own, so nothing foretells which way a warping path turns.
// Gestures: smooth curves of a few classes, each time performed a little differently,
// with some noise on them; the processor foresees much of their paths, which helps the
// reference implementations alone.
#pragma once

#include "base/points.h"
#include "dtw/best_match.h"
#include "support/random_points.h"

inline constexpr int kClasses = 8;

// All with `points` points before the gravity vector.
wgr::Points noise(RandomPoints& random, int points);
wgr::Points gesture(RandomPoints& random, int kind, int points);
wgr::Points any_gesture(RandomPoints& random, int points);

// Templates of all classes in turn, 40 to 80 points each.
wgr::Templates templates(RandomPoints& random, int count);

// Templates for `trace`, none of which can be given up: all start and end where the trace
// does, as far as can be known beforehand the first is the best, and each in truth is
// better than those before it.
wgr::Templates deceptive_templates(RandomPoints& random, const wgr::Points& trace,
                                   int count);
