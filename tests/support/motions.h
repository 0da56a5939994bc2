// Streams of sample pairs whose judgement by the rest test can be worked out by hand,
// for a rest window of ten samples (a rate of 50).
//
// A resting pair is (0, 0, 10) m/s² with a small, constant, non-zero rate. A moving
// pair is enough to put a window of ten out of rest even when the other nine rest, so
// motion is judged from the first moving pair to the ninth pair after the last one.
#pragma once

#include <vector>

#include "WgrTypes.h"
#include "classifier/Gmodel.h"
#include "support/random_points.h"

struct Pair {
  Point3Df acc;   // m/s²
  Point3Df gyro;  // deg/s
};
using Stream = std::vector<Pair>;

inline constexpr Pair kRestPair = {{0.0, 0.0, 10.0}, {0.5, 0.25, -0.5}};

Stream rest(int samples);

// Rest after motion: as many resting pairs as it takes for the tenth to be the first
// sample judged at rest.
inline constexpr int kSettle = 10;

// `judged` samples that are judged in motion, 10 or more of them, and one more that is
// judged at rest again; to be fed after at least ten resting pairs.
Stream motion(int judged);

// The same with a shape: the hand is pushed along x for `half` samples at +strength
// m/s² and stopped for `half` samples at -strength, then rests for ten samples. It
// starts and ends slow, so most of it outlasts the cut to the active stretch.
Stream gesture(int half, double strength);

// A steady lift that never stops. Freed of its mean, the four resting samples before it
// fall at 1.3 m/s² and the lift is as slow as that fall: the first step is fast.
Stream lifted();

Stream operator+(Stream a, const Stream& b);

// Rests and motions of random lengths, strengths and sensors, with now and then a
// sample that is not finite when `wild`.
Stream random_stream(RandomPoints& random, int samples, bool wild);

// A model of one class with one template of three points, two of motion and one of
// gravity. `threshold` (never above zero makes sense) is the class's.
Gmodel small_model(int label, double threshold, int normalize = 0, int havegravity = 1);
