// The five gestures, as movements of a forearm that is held ready ahead of the body.
//
//   0 swing   the hand swings across and back, twice, about the elbow
//   1 raise   the hand is thrown up and comes down again
//   2 twist   the palm is turned up and down again, twice, about the forearm
//   3 push    the hand is pushed straight ahead and drawn back
//   4 circle  the hand draws one upright circle in front of the body
//
// Everything is written for the left wrist; the right one mirrors it.
#pragma once

#include <array>

#include "synthesis/person.h"

namespace wgr {

inline constexpr int kGestures = 5;
inline constexpr std::array<const char*, kGestures> kGestureNames = {
    "swing", "raise", "twist", "push", "circle"};

// How long a repetition of the gesture is, s; about 0.8 to 1.4.
double gesture_length(int label, const Person& person, Random& random);

// Adds one repetition. The arm is held ready before and after it.
void add_gesture(int label, double begin, double end, const Person& person,
                 Random& random, WristMotion& motion);

}  // namespace wgr
