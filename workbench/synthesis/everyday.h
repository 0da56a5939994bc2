// What wrists do all day that is no gesture.
//
// Each function adds movement from `begin` to `end` (s) around the placement at which
// the wrist is; it is there again at the end.
#pragma once

#include "synthesis/person.h"

namespace wgr {

// The arm hangs and swings with the steps; of someone with a posture it is jolted by
// them.
void add_walk(double begin, double end, const Person& person, Random& random,
              WristMotion& motion);

// Reaches for things, holds on, and comes back.
void add_reaches(double begin, double end, const Person& person, Random& random,
                 WristMotion& motion);

// Aimless small movement in all directions.
void add_fidget(double begin, double end, const Person& person, Random& random,
                WristMotion& motion);

// Quick and tiny: hands on a keyboard.
void add_typing(double begin, double end, const Person& person, Random& random,
                WristMotion& motion);

// The hand never holds quite still.
void add_tremor(double begin, double end, Random& random, WristMotion& motion);

}  // namespace wgr
